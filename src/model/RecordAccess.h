#pragma once

#include <span>
#include <string>
#include <string_view>

#include "model/Container.h"
#include "model/Helper.h"

namespace ponmgr {

// The rules by which the inventory records lay out, read and write their Container.

/// A key and what it holds at first.
struct RecordDefault {
    const char* key;
    const char* value;
};

/// Creates the keys with their first values.
inline void layOut(Container& record, std::span<const RecordDefault> defaults) {
    for (const auto& [key, value] : defaults) {
        record.setNewValue(key, value);
    }
}

/// "1" for true, "0" for false.
inline void setFlag(Container& record, std::string_view key, bool value) {
    record.setValue(key, value ? "1" : "0", false);
}

/// True for exactly "1"; "-" and "" are false.
inline bool getFlag(const Container& record, std::string_view key) {
    return record.getValue(key) == "1";
}

/// A MAC address as requests take it: its hex digits without the colons.
inline std::string toHexMac(const std::string& mac) {
    return Helper::replaceAll(mac, ":", "");
}

}  // namespace ponmgr
