#include "sim/ScenarioPlayer.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace ponmgr::sim {

/// Takes the reply to one step.
class ScenarioPlayer::StepChannel : public ReplyChannel {
public:
    explicit StepChannel(ScenarioPlayer& owner) : player(owner) {}

    void reply(const Json& message) override { player.finish(message); }

private:
    ScenarioPlayer& player;
};

namespace {

std::string withoutLastLineEnd(std::string text) {
    if (text.ends_with('\n')) {
        text.pop_back();
    }
    return text;
}

double seconds(Duration duration) {
    return std::chrono::duration<double>(duration).count();
}

}  // namespace

ScenarioPlayer::ScenarioPlayer(Scenario played, double times, TimerQueue& queue,
                               ControlVerbs& controlVerbs, Show output)
    : scenario(std::move(played)),
      speed(times),
      timers(queue),
      verbs(controlVerbs),
      show(std::move(output)) {}

ScenarioPlayer::~ScenarioPlayer() {
    timers.cancel(timer);
}

void ScenarioPlayer::start(std::function<void()> callback) {
    whenEnded = std::move(callback);
    started = timers.now();
    phaseBegin = started;
    schedule();
}

void ScenarioPlayer::schedule() {
    const auto due =
        phaseBegin + std::chrono::duration_cast<Duration>(
                         std::chrono::duration<double, Duration::period>(current().at) / speed);
    const auto delay = current().beginsPhase ? Duration::zero() : due - timers.now();
    timer = timers.after(std::max(delay, Duration::zero()), [this] { begin(); });
}

void ScenarioPlayer::begin() {
    const auto& step = current();
    if (step.request.is_null()) {
        record({});
        return;
    }
    channel = std::make_shared<StepChannel>(*this);
    verbs.handle(step.request.dump(-1, ' ', false, Json::error_handler_t::replace), channel);
}

void ScenarioPlayer::finish(const Json& reply) {
    const auto error = reply.find("error");
    if (error != reply.end()) {
        record({false, error->is_string() ? error->get<std::string>() : error->dump()});
    } else {
        record({true, withoutLastLineEnd(current().print(reply))});
    }
}

void ScenarioPlayer::record(StepResult result) {
    const auto& step = current();
    auto line = elapsed() + "line " + std::to_string(step.line) + ": " + step.text;
    if (!step.request.is_null()) {
        line += (result.ok ? ": " : ": FAILED: ") + result.text;
    }
    if (step.beginsPhase) {
        phaseBegin = timers.now();
    }
    results.push_back(std::move(result));
    show(line);
    if (hasEnded()) {
        end();
    } else {
        schedule();
    }
}

void ScenarioPlayer::end() {
    show(elapsed() + scenario.name + " ended: " + std::to_string(results.size()) + " steps, " +
         std::to_string(failures()) + " failed");
    if (whenEnded) {
        whenEnded();
    }
}

std::string ScenarioPlayer::elapsed() const {
    char text[32];
    (void)std::snprintf(text, sizeof text, "scenario %6.1f s ", seconds(timers.now() - started));
    return text;
}

std::size_t ScenarioPlayer::failures() const {
    return static_cast<std::size_t>(std::ranges::count(results, false, &StepResult::ok));
}

Json ScenarioPlayer::status() const {
    auto list = Json::array();
    for (std::size_t i = 0; i < results.size(); ++i) {
        const auto& step = scenario.steps[i];
        list.push_back({{"line", step.line},
                        {"what", step.text},
                        {"ok", results[i].ok},
                        {"result", results[i].text}});
    }
    Json status{{"state", hasEnded() ? "ended" : "running"},
                {"scenario", scenario.name},
                {"speed", speed},
                {"seconds", seconds(timers.now() - started)},
                {"steps", scenario.steps.size()},
                {"done", results.size()},
                {"failed", failures()}};
    status["next"] = hasEnded() ? Json(nullptr)
                                : Json{{"line", current().line},
                                       {"at", seconds(current().at)},
                                       {"what", current().text}};
    status["results"] = std::move(list);
    return status;
}

}  // namespace ponmgr::sim
