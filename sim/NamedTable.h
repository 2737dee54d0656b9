#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace ponmgr::sim {

/// "a, b, c", for texts that say what exists.
inline std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const auto& word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

template <typename Entry, std::size_t size>
std::string namesIn(const Entry (&table)[size]) {
    std::vector<std::string> names;
    for (const auto& entry : table) {
        names.emplace_back(entry.name);
    }
    return joined(names);
}

/// The entry of a table that is called `name`; throws an `Error` that says which there are.
template <typename Error, typename Entry, std::size_t size>
const Entry& entryNamed(const Entry (&table)[size], const std::string& name,
                        const std::string& what) {
    for (const auto& entry : table) {
        if (name == entry.name) {
            return entry;
        }
    }
    throw Error("unknown " + what + " '" + name + "'; there are: " + namesIn(table));
}

}  // namespace ponmgr::sim
