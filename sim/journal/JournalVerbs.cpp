#include "sim/journal/JournalVerbs.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>
#include <vector>

#include "sim/ControlMembers.h"
#include "sim/journal/JournalReport.h"

namespace ponmgr::sim {

namespace {

struct Selection {
    std::optional<int> slot;
    std::optional<std::uint32_t> fault;
    std::size_t most = kUsualJournalEntries;
    /// Those behind this one, the oldest first; without it, the newest.
    std::optional<std::uint64_t> after;

    bool holds(const JournalEntry& entry) const {
        return (!slot || entry.slot == *slot) &&
               (!fault || std::ranges::find(entry.faults, *fault) != entry.faults.end());
    }
};

Selection selectionOf(Chassis& chassis, const Json& request) {
    Selection wanted;
    if (request.contains("card")) {
        wanted.slot = cardMember(request, chassis).slot;
    }
    if (request.contains("fault")) {
        wanted.fault = static_cast<std::uint32_t>(numberMember(request, "fault", UINT32_MAX));
    }
    if (request.contains("last")) {
        wanted.most = static_cast<std::size_t>(
            numberMember(request, "last", static_cast<std::int64_t>(Journal::kLargestCapacity)));
    }
    if (request.contains("after")) {
        wanted.after = static_cast<std::uint64_t>(numberMember(request, "after", INT64_MAX));
    }
    return wanted;
}

/// Returns the number of the last entry that was looked at.
std::uint64_t addFollowing(const Journal& journal, const Selection& wanted, Json& rows) {
    auto seen = std::min(*wanted.after, journal.lastNumber());
    auto number = std::max(seen + 1, journal.firstNumber());
    for (; number <= journal.lastNumber() && rows.size() < wanted.most; ++number) {
        const auto& entry = *journal.find(number);
        if (wanted.holds(entry)) {
            rows.push_back(journalRow(entry));
        }
        seen = number;
    }
    return seen;
}

void addNewest(const Journal& journal, const Selection& wanted, Json& rows) {
    std::vector<const JournalEntry*> found;
    for (auto number = journal.lastNumber();
         number >= journal.firstNumber() && found.size() < wanted.most; --number) {
        const auto* const entry = journal.find(number);
        if (entry != nullptr && wanted.holds(*entry)) {
            found.push_back(entry);
        }
    }
    for (auto entry = found.rbegin(); entry != found.rend(); ++entry) {
        rows.push_back(journalRow(**entry));
    }
}

}  // namespace

Json readJournal(const Journal& journal, Chassis& chassis, const Json& request) {
    const auto wanted = selectionOf(chassis, request);
    auto rows = Json::array();
    auto seen = journal.lastNumber();
    if (wanted.after) {
        seen = addFollowing(journal, wanted, rows);
    } else {
        addNewest(journal, wanted, rows);
    }
    return {{"entries", rows}, {"seen", seen}};
}

}  // namespace ponmgr::sim
