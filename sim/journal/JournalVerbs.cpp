#include "sim/journal/JournalVerbs.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>

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

/// The entry behind which the newest `most` stand.
std::uint64_t beginOfNewest(const Journal& journal, const Selection& wanted) {
    std::size_t found = 0;
    auto number = journal.lastNumber();
    for (; number >= journal.firstNumber() && found < wanted.most; --number) {
        found += wanted.holds(*journal.find(number)) ? 1U : 0U;
    }
    return number;
}

std::size_t hexDigitsOf(const JournalEntry& entry) {
    return 2 * (entry.bytes.size() + (entry.cardBytes ? entry.cardBytes->size() : 0));
}

/// Returns the number of the last entry that was looked at.
std::uint64_t addFollowing(const Journal& journal, const Selection& wanted, std::uint64_t after,
                           Json& rows) {
    const auto most = std::min(wanted.most, kJournalPage);
    auto seen = std::min(after, journal.lastNumber());
    auto number = std::max(seen + 1, journal.firstNumber());
    std::size_t digits = 0;
    for (; number <= journal.lastNumber() && rows.size() < most && digits < kJournalPageDigits;
         ++number) {
        const auto& entry = *journal.find(number);
        if (wanted.holds(entry)) {
            rows.push_back(journalRow(entry));
            digits += hexDigitsOf(entry);
        }
        seen = number;
    }
    return seen;
}

}  // namespace

Json readJournal(const Journal& journal, Chassis& chassis, const Json& request) {
    const auto wanted = selectionOf(chassis, request);
    auto rows = Json::array();
    const auto after = wanted.after ? *wanted.after : beginOfNewest(journal, wanted);
    const auto seen = addFollowing(journal, wanted, after, rows);
    return {{"entries", rows}, {"seen", seen}, {"newest", journal.lastNumber()}};
}

}  // namespace ponmgr::sim
