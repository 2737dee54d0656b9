#include "dbman/CommandSender.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "Corvane.h"
#include "dbman/DaemonLink.h"

namespace ponmgr::dbman {

namespace {

using Clock = std::chrono::steady_clock;

struct Pending {
    std::string text;
    Clock::time_point limit;
    CommandSender::Done done;
    /// Empty once it was told.
    CommandSender::Done triedAgain;
};

constexpr auto kStopping = "dbman is stopping";
constexpr auto kTooMany = "too many messages wait for the daemon";

}  // namespace

struct CommandSender::State {
    // Constant after construction.
    Timing timing;

    // Used by the sending thread only; without a value while there is no connection.
    std::optional<Corvane> socket;

    // Held by the sending thread while it tells results. Taken before `mutex`.
    std::mutex telling;
    // Guarded by telling.
    bool leftBehind = false;

    std::mutex mutex;
    std::condition_variable changed;
    // Guarded by mutex.
    std::deque<Pending> waiting;
    bool posted = false;
    bool stopping = false;

    /// One try; the empty text when it was sent. Sending thread only, without a lock.
    std::string send(const std::string& text);

    /// Takes out of the queue what a try has settled and tells it, and that the others are tried
    /// again. False: nobody listens any more to the results.
    bool settle(const std::string& error);

    /// Needs mutex. The first message when it was sent, else all whose time is over.
    std::vector<Pending> takeSettled(bool sent);

    /// Needs mutex. Who of those that wait is to be told that a try has failed.
    std::vector<Done> takeTried();
};

std::string CommandSender::State::send(const std::string& text) {
    if (!socket) {
        auto& fresh = socket.emplace(kCommandLink);
        if (!fresh.createSocket() || !fresh.connect(kCommandPath)) {
            const std::string error = fresh.getErrorMessage();
            socket.reset();
            return "can't reach the daemon, is ponmgrd running? " + error;
        }
    }
    if (socket->send(text) < 0) {
        const std::string error = socket->getErrorMessage();
        socket.reset();
        return "the daemon didn't take it: " + error;
    }
    return "";
}

std::vector<Pending> CommandSender::State::takeSettled(bool sent) {
    std::vector<Pending> settled;
    if (sent) {
        settled.push_back(std::move(waiting.front()));
        waiting.pop_front();
        return settled;
    }
    const auto now = Clock::now();
    std::deque<Pending> kept;
    for (auto& message : waiting) {
        if (message.limit <= now) {
            settled.push_back(std::move(message));
        } else {
            kept.push_back(std::move(message));
        }
    }
    waiting = std::move(kept);
    return settled;
}

std::vector<CommandSender::Done> CommandSender::State::takeTried() {
    std::vector<Done> tried;
    for (auto& message : waiting) {
        if (message.triedAgain) {
            tried.push_back(std::exchange(message.triedAgain, nullptr));
        }
    }
    return tried;
}

bool CommandSender::State::settle(const std::string& error) {
    const std::lock_guard tellingLock(telling);
    if (leftBehind) {
        return false;
    }
    std::vector<Pending> settled;
    std::vector<Done> tried;
    {
        const std::lock_guard lock(mutex);
        settled = takeSettled(error.empty());
        if (!error.empty()) {
            tried = takeTried();
        }
    }
    for (const auto& message : settled) {
        message.done(error);
    }
    for (const auto& tell : tried) {
        tell(error);
    }
    return true;
}

bool CommandSender::isDaemonThere() {
    Corvane probe(kCommandLink);
    return probe.createSocket() && probe.connect(kCommandPath);
}

CommandSender::CommandSender() : CommandSender(Timing{}) {}

CommandSender::CommandSender(Timing timing) : state(std::make_shared<State>()) {
    state->timing = timing;
}

CommandSender::~CommandSender() {
    stop();
}

void CommandSender::start() {
    thread.start("dbman-send", [kept = state] { run(*kept); });
}

void CommandSender::run(State& state) {
    std::string error;
    while (true) {
        std::unique_lock lock(state.mutex);
        if (!error.empty()) {
            // A new message is tried at once: it may have no patience.
            state.changed.wait_for(lock, state.timing.retryPause,
                                   [&state] { return state.stopping || state.posted; });
        }
        state.changed.wait(lock, [&state] { return state.stopping || !state.waiting.empty(); });
        if (state.stopping) {
            return;
        }
        state.posted = false;
        const std::string text = state.waiting.front().text;
        lock.unlock();
        error = state.send(text);
        if (!state.settle(error)) {
            return;
        }
    }
}

void CommandSender::post(std::string text, std::chrono::milliseconds patience, Done done,
                         Done triedAgain) {
    std::unique_lock lock(state->mutex);
    if (state->stopping || state->waiting.size() >= kMaximumWaiting) {
        const auto* refusal = state->stopping ? kStopping : kTooMany;
        lock.unlock();
        done(refusal);
        return;
    }
    state->waiting.push_back(
        {std::move(text), Clock::now() + patience, std::move(done), std::move(triedAgain)});
    state->posted = true;
    lock.unlock();
    state->changed.notify_all();
}

void CommandSender::stop() {
    {
        const std::lock_guard lock(state->mutex);
        state->stopping = true;
    }
    state->changed.notify_all();
    if (!thread.finishWithin(state->timing.stopLimit)) {
        thread.leaveBehind();
        const std::lock_guard lock(state->telling);
        state->leftBehind = true;
    }
    std::deque<Pending> unsent;
    {
        const std::lock_guard lock(state->mutex);
        unsent.swap(state->waiting);
    }
    for (const auto& message : unsent) {
        message.done(kStopping);
    }
}

}  // namespace ponmgr::dbman
