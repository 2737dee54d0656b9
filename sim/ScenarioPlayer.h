#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "sim/ControlVerbs.h"
#include "sim/Scenario.h"
#include "sim/TimerQueue.h"

namespace ponmgr::sim {

/// Plays a scenario: asks what its steps say at their times, one after the other. A step whose time
/// has come waits until the one before it has its reply. One thread, that of the timer queue.
class ScenarioPlayer {
public:
    /// Takes one line without its end.
    using Show = std::function<void(const std::string& line)>;

    /// `verbs` and `timers` must outlive the player; `speed` is more than 0.
    ScenarioPlayer(Scenario scenario, double speed, TimerQueue& timers, ControlVerbs& verbs,
                   Show show);
    ScenarioPlayer(const ScenarioPlayer&) = delete;
    ScenarioPlayer& operator=(const ScenarioPlayer&) = delete;
    ~ScenarioPlayer();

    /// The time of the first phase runs from now; `whenEnded` is called after the last step.
    void start(std::function<void()> whenEnded);

    bool hasEnded() const { return results.size() == scenario.steps.size(); }
    std::size_t failures() const;
    /// What the verb "scenario" replies.
    Json status() const;

private:
    class StepChannel;

    struct StepResult {
        bool ok = true;
        std::string text;
    };

    const ScenarioStep& current() const { return scenario.steps[results.size()]; }
    void schedule();
    void begin();
    void finish(const Json& reply);
    void record(StepResult result);
    void end();
    std::string elapsed() const;

    Scenario scenario;
    double speed;
    TimerQueue& timers;
    ControlVerbs& verbs;
    Show show;
    std::function<void()> whenEnded;

    TimePoint started{};
    /// When the times of the current phase begin to count.
    TimePoint phaseBegin{};
    TimerQueue::Timer timer;
    /// Of the steps that are done, in order.
    std::vector<StepResult> results;
    std::shared_ptr<ReplyChannel> channel;
};

}  // namespace ponmgr::sim
