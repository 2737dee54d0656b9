#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "model/JsonHelper.h"
#include "model/ReadWriteLock.h"

namespace ponmgr {

/// The one record of the system: string values by key, lists of child records by name, a modified
/// flag, and JSON in and out. Numbers travel as their text. A new record holds "id" = "0". A name
/// is either a key or a list, never both.
///
/// Threads: getValue, hasText, setValue, getJsonData and setcJsonData lock the values and may be
/// called by any thread, as may the modified flag. Everything else lays a record out or changes its
/// lists and belongs to the one thread that owns the record; it must not run beside other threads'
/// calls.
class Container {
public:
    using List = std::vector<std::unique_ptr<Container>>;

    Container();
    Container(const Container&) = delete;
    Container& operator=(const Container&) = delete;
    virtual ~Container();

    /// The record as one JSON object: the values in key order, or only the `count` keys given, in
    /// their order; then the lists in name order as arrays of objects. Every value is a JSON
    /// string. Throws "Key '...' not found" for a given key that the record lacks.
    virtual std::string getJsonData(bool unformatted, const std::string* keys, std::size_t count);

    /// Parses `text` and updates the record by it; see setcJsonData. Throws "Impossible to parse
    /// json".
    virtual bool setJsonData(const std::string& text, bool takeId);

    /// Updates what the record has already: string members whose key exists (exact spelling), and
    /// the items of existing lists by position. Creates and removes nothing; ignores everything
    /// else. "id" is taken only with `takeId`, and never inside lists. Returns whether any member
    /// was a key of the record, changed or not. Throws the nested failure's text.
    virtual bool setcJsonData(const cJSON* object, bool takeId);

    /// getJsonData, compact, everything.
    virtual std::string getJsonFile();

    /// Whether a value has changed since the flag was last cleared.
    virtual bool getHasModified();
    virtual void clearHasModified();

    bool hasKey(std::string_view key) const;

    /// Throws "Key '...' not found".
    std::string getValue(std::string_view key) const;

    /// Whether there is such a key, and its value isn't empty. Takes no memory.
    bool hasText(std::string_view key) const;

    /// Stores a value that differs and marks the record modified. A key that the record lacks is
    /// not created: "Key '...' not found" is thrown when it `mustExist`, else nothing happens.
    void setValue(std::string_view key, std::string_view value, bool mustExist);

    /// Creates or overwrites without marking the record modified: the layout of a record. Throws
    /// "Can't convert list '...' to a object" for the name of a list.
    void setNewValue(std::string_view key, std::string value);

    /// "id" as a number; a leading 0x is read as hexadecimal, a leading 0 as octal.
    unsigned long getId() const;
    void setId(unsigned long id);

    bool hasList(std::string_view name) const;
    /// 0 when there is no such list.
    std::size_t getListSize(std::string_view name) const;
    /// The list itself, which stays the record's. Throws "Key '...' not found".
    List& getList(std::string_view name);
    /// Appends, with the list made on first use. Throws "Can't convert object '...' to a list" for
    /// the name of a value.
    void addItemToList(std::string_view name, std::unique_ptr<Container> item);
    /// Removes the item and hands it to the caller; null when list or item don't exist.
    std::unique_ptr<Container> takeItemFromList(std::string_view name, std::size_t index);
    /// Deletes the items; the list stays, and is made when it wasn't there.
    void clearList(std::string_view name);
    /// Deletes all lists and values but "id", which is "0" again. The modified flag stays.
    void clear();

protected:
    /// In the order of their names; std::less<> finds one without a std::string made for it.
    template <typename Value>
    using ByName = std::map<std::string, Value, std::less<>>;

    ByName<std::string> values;

private:
    void addListsTo(cJSON* object);
    bool updateFrom(const cJSON* object, bool takeId);
    bool updateValue(const cJSON* member, bool takeId);
    void updateList(const cJSON* member);
    List& listToFill(std::string_view name);

    ByName<List> lists;
    mutable ReadWriteLock lock;
    std::atomic<bool> hasModified = false;
};

}  // namespace ponmgr
