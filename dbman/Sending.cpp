#include "dbman/Sending.h"

#include <algorithm>
#include <utility>

namespace ponmgr::dbman {

namespace {

constexpr auto kNotTaken = "the daemon listens but takes no message; it may get it later";

bool isThere(const std::future<std::string>& result) {
    return result.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

}  // namespace

Sending::Sending(std::vector<std::future<std::string>> messageResults, Clock::time_point limit)
    : results(std::move(messageResults)), waitLimit(limit) {}

bool Sending::isSettled() const {
    return Clock::now() >= waitLimit || std::all_of(results.begin(), results.end(), isThere);
}

std::string Sending::takeFailure() {
    std::size_t failures = 0;
    std::string why;
    for (auto& result : results) {
        const auto error = isThere(result) ? result.get() : kNotTaken;
        failures += error.empty() ? 0 : 1;
        why = why.empty() ? error : why;
    }
    if (failures == 0) {
        return "";
    }
    if (results.size() == 1) {
        return "not sent: " + why;
    }
    return std::to_string(failures) + " of " + std::to_string(results.size()) +
           " messages not sent: " + why;
}

}  // namespace ponmgr::dbman
