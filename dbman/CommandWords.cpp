#include "dbman/CommandWords.h"

#include <algorithm>
#include <string_view>

#include "dbman/Text.h"

namespace ponmgr::dbman {

namespace {

constexpr std::size_t kMostWords = 2;
constexpr std::size_t kShownWordBytes = 60;

/// The first two words that are no options.
std::vector<std::string> firstWords(const std::vector<std::string>& arguments) {
    std::vector<std::string> words;
    for (std::size_t place = 0; place < arguments.size() && words.size() < kMostWords; ++place) {
        const auto& argument = arguments[place];
        if (argument == "--control") {
            // Its value is the next one.
            ++place;
        } else if (!argument.starts_with('-')) {
            words.push_back(argument);
        }
    }
    return words;
}

bool isGroup(const std::string& word) {
    const auto groups = groupTable();
    return std::any_of(groups.begin(), groups.end(),
                       [&word](const Group& row) { return row.name == word; });
}

/// The first words of all commands, each once; of a group its commands.
std::string listOfCommands(const std::string& group) {
    std::vector<std::string> names;
    for (const auto& command : commandTable()) {
        const std::string_view first = command.group == nullptr ? command.name : command.group;
        if (group.empty() && std::find(names.begin(), names.end(), first) == names.end()) {
            names.emplace_back(first);
        } else if (group == first) {
            names.push_back(fullName(command));
        }
    }
    std::string text;
    for (const auto& name : names) {
        text += (text.empty() ? "" : ", ") + name;
    }
    return text;
}

}  // namespace

CommandWords findCommand(const std::vector<std::string>& arguments) {
    const auto words = firstWords(arguments);
    if (words.empty()) {
        return {nullptr, "a command is needed; there are: " + listOfCommands("")};
    }
    const bool inGroup = isGroup(words[0]);
    if (inGroup && words.size() == 1) {
        return {nullptr, "\"" + words[0] +
                             "\" needs a further word; there are: " + listOfCommands(words[0])};
    }
    const auto name = inGroup ? words[0] + " " + words[1] : words[0];
    const auto commands = commandTable();
    const auto found = std::find_if(commands.begin(), commands.end(),
                                    [&name](const Command& row) { return fullName(row) == name; });
    if (found != commands.end()) {
        return {&*found, ""};
    }
    return {nullptr, "unknown command \"" + printable(name, kShownWordBytes) +
                         "\"; there are: " + listOfCommands(inGroup ? words[0] : "")};
}

}  // namespace ponmgr::dbman
