#include "sim/CommandOptions.h"

#include <algorithm>
#include <iterator>

#include "sim/ControlCommand.h"
#include "sim/OptionValues.h"
#include "sim/faults/FaultOptions.h"

namespace ponmgr::sim {

namespace {

/// Besides --card, which it shares with the faults.
constexpr CommandOption kJournalOptions[] = {
    {"last", "N", "journal: the most entries; 100"},
    {"fault", "ID", "journal: what the fault has hit"},
    {"follow", nullptr, "journal: go on with what comes"},
};

constexpr CommandOption kCardOptions[] = {
    {"product-code", "XXXX", "card N insert, swap: the product code"},
    {"factory", nullptr, "card N insert: as the factory made it"},
    {"as-it-was", nullptr, "card N insert: with what its storage holds (the default)"},
};

std::string dashed(const std::vector<std::string>& names) {
    std::string text;
    for (const auto& name : names) {
        text += text.empty() ? "--" : ", --";
        text += name;
    }
    return text;
}

}  // namespace

std::vector<CommandOption> commandOptions() {
    std::vector<CommandOption> options;
    for (const auto& option : faultOptions()) {
        options.push_back({option.name, option.value, option.description});
    }
    options.insert(options.end(), std::begin(kJournalOptions), std::end(kJournalOptions));
    options.insert(options.end(), std::begin(kCardOptions), std::end(kCardOptions));
    return options;
}

void requireNoOptions(const ControlOptions& options, const std::vector<std::string>& taken) {
    const auto foreign = std::ranges::find_if(options.named, [&taken](const auto& given) {
        return std::ranges::find(taken, given.first) == taken.end();
    });
    if (foreign == options.named.end()) {
        return;
    }
    const std::string command = options.words.empty() ? "ctl" : options.words.front();
    throw UsageError(command + " takes no --" + foreign->first +
                     "; its options: " + (taken.empty() ? "none" : dashed(taken)));
}

}  // namespace ponmgr::sim
