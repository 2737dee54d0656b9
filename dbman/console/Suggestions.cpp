#include "dbman/console/Suggestions.h"

#include <algorithm>
#include <span>

#include "dbman/CommandTable.h"

namespace ponmgr::dbman {

namespace {

using Words = std::vector<std::string>;

Words firstWords(const Words& further) {
    Words words;
    for (const auto& group : groupTable()) {
        words.emplace_back(group.name);
    }
    for (const auto& command : commandTable()) {
        if (command.group == nullptr) {
            words.emplace_back(command.name);
        }
    }
    words.insert(words.end(), further.begin(), further.end());
    return words;
}

/// The names within a group; none when there is no such group.
Words namesIn(const std::string& group) {
    Words words;
    for (const auto& command : commandTable()) {
        if (command.group != nullptr && group == command.group) {
            words.emplace_back(command.name);
        }
    }
    return words;
}

/// The command that `words` begin with, and how many words its name has.
const Command* findCommand(const Words& words, std::size_t& length) {
    for (const auto& command : commandTable()) {
        const bool grouped = command.group != nullptr;
        length = grouped ? 2 : 1;
        if (words.size() >= length && (!grouped || words[0] == command.group) &&
            words[length - 1] == command.name) {
            return &command;
        }
    }
    return nullptr;
}

/// Where a command line stands behind the words that are there.
struct Place {
    /// The option whose value comes next.
    const Argument* waiting = nullptr;
    std::size_t placed = 0;
    Words options;
};

Place placeBehind(std::span<const std::string> words, const std::vector<Argument>& arguments) {
    Place place;
    for (const auto& word : words) {
        if (place.waiting != nullptr) {
            place.waiting = nullptr;
        } else if (word.starts_with('-')) {
            const auto option =
                std::find_if(arguments.begin(), arguments.end(),
                             [&](const Argument& argument) { return word == argument.name; });
            place.waiting =
                option != arguments.end() && option->kind != Kind::flag ? &*option : nullptr;
            place.options.push_back(word);
        } else {
            ++place.placed;
        }
    }
    return place;
}

Words valuesOf(Kind kind, const MacAddressSource& macAddresses) {
    return kind == Kind::macAddress ? macAddresses() : valuesOffered(kind);
}

Words unusedOptions(const std::vector<Argument>& arguments, const Place& place) {
    Words words;
    for (const auto& argument : arguments) {
        const bool used = std::find(place.options.begin(), place.options.end(), argument.name) !=
                          place.options.end();
        if (isOption(argument) && !used) {
            words.emplace_back(argument.name);
        }
    }
    words.emplace_back("--help");
    return words;
}

Words argumentWords(const Command& command, std::span<const std::string> behind,
                    const std::string& partial, const MacAddressSource& macAddresses) {
    const auto arguments = argumentsOf(command);
    const auto place = placeBehind(behind, arguments);
    if (place.waiting != nullptr) {
        return valuesOf(place.waiting->kind, macAddresses);
    }
    if (!partial.starts_with('-')) {
        std::size_t number = 0;
        for (const auto& argument : arguments) {
            const bool repeated = argument.kind == Kind::keyValue && place.placed >= number;
            if (!isOption(argument) && (number++ == place.placed || repeated)) {
                return valuesOf(argument.kind, macAddresses);
            }
        }
    }
    return unusedOptions(arguments, place);
}

}  // namespace

std::vector<std::string> suggestWords(const std::vector<std::string>& before,
                                      const std::string& partial,
                                      const std::vector<std::string>& first,
                                      const MacAddressSource& macAddresses) {
    Words words;
    std::size_t length = 0;
    if (before.empty()) {
        words = firstWords(first);
    } else if (const auto* command = findCommand(before, length)) {
        words = argumentWords(*command, std::span(before).subspan(length), partial, macAddresses);
    } else if (before.size() == 1) {
        words = namesIn(before[0]);
    }
    std::erase_if(words, [&](const std::string& word) { return !word.starts_with(partial); });
    std::sort(words.begin(), words.end());
    return words;
}

std::string commonBeginning(const std::vector<std::string>& words) {
    std::string common = words.empty() ? "" : words.front();
    for (const auto& word : words) {
        const auto ends = std::mismatch(common.begin(), common.end(), word.begin(), word.end());
        common.erase(ends.first, common.end());
    }
    return common;
}

}  // namespace ponmgr::dbman
