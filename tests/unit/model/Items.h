#pragma once

#include <functional>
#include <memory>
#include <string>

#include "model/Container.h"

namespace ponmgr::test {

/// A record with one value more than its id.
inline std::unique_ptr<Container> itemOf(const std::string& key, const std::string& value) {
    auto item = std::make_unique<Container>();
    item->setNewValue(key, value);
    return item;
}

/// A record that counts its destruction.
class CountedItem : public Container {
public:
    explicit CountedItem(int& count) : destroyed(count) {}
    ~CountedItem() override { destroyed++; }

private:
    int& destroyed;
};

/// A record that does as it is told when its JSON is asked for.
class PrintedItem : public Container {
public:
    explicit PrintedItem(std::function<std::string()> function) : print(std::move(function)) {}
    std::string getJsonData(bool /*unformatted*/, const std::string* /*keys*/,
                            std::size_t /*count*/) override {
        return print();
    }

private:
    std::function<std::string()> print;
};

/// A record that does as it is told when it is to be updated from JSON.
class UpdatedItem : public Container {
public:
    explicit UpdatedItem(std::function<bool(const cJSON*, bool)> function)
        : update(std::move(function)) {}
    bool setcJsonData(const cJSON* object, bool takeId) override { return update(object, takeId); }

private:
    std::function<bool(const cJSON*, bool)> update;
};

}  // namespace ponmgr::test
