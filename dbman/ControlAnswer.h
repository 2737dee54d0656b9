#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace ponmgr::dbman {

/// What a line at the control socket is answered: a line that is there already, or one that comes
/// later, so that others are answered meanwhile.
class ControlAnswer {
public:
    using Clock = std::chrono::steady_clock;
    /// Returns the answer once it is there, and no value before; not asked again after it.
    using Later = std::function<std::optional<std::string>()>;

    // Implicit: a line is an answer.
    ControlAnswer(std::string line) : later([line = std::move(line)] { return line; }) {}

    /// `whenThere` has an answer at `answerLimit` at the latest.
    ControlAnswer(Later whenThere, Clock::time_point answerLimit)
        : later(std::move(whenThere)), waitLimit(answerLimit) {}

    std::optional<std::string> take() const { return later(); }
    Clock::time_point limit() const { return waitLimit; }

private:
    Later later;
    Clock::time_point waitLimit;
};

}  // namespace ponmgr::dbman
