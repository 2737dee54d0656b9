#pragma once

#include <map>
#include <string>
#include <vector>

namespace ponmgr::dbman {

/// What a command line gives, before it is checked: each argument's texts by its name, "slot" or
/// "--slot". A flag that was given has one text.
class Given {
public:
    void add(const std::string& name, const std::string& text) { values[name].push_back(text); }

    bool has(const std::string& name) const { return values.count(name) != 0; }

    /// The first text given, or `otherwise` when there is none.
    std::string text(const std::string& name, const std::string& otherwise = "") const {
        const auto found = values.find(name);
        return found == values.end() ? otherwise : found->second.front();
    }

    /// Everything given, in the order in which it was.
    std::vector<std::string> texts(const std::string& name) const {
        const auto found = values.find(name);
        return found == values.end() ? std::vector<std::string>() : found->second;
    }

private:
    std::map<std::string, std::vector<std::string>> values;
};

}  // namespace ponmgr::dbman
