#include "dbman/NotificationReceiver.h"

#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

#include "Corvane.h"
#include "dbman/DaemonLink.h"
#include "dbman/Errors.h"

namespace ponmgr::dbman {

namespace {

using std::chrono::milliseconds;

// A link that fails again and again must neither burn the processor nor flood the output.
constexpr int kFailuresInARow = 3;
constexpr milliseconds kPauseAfterFailures(200);
constexpr milliseconds kWakeUpPause(50);
constexpr int kWakeUps = 20;

}  // namespace

struct NotificationReceiver::State {
    // Constant after construction.
    Handler onMessage;
    Handler onError;
    // Used by the receiving thread from start() on, before by its owner.
    std::optional<Corvane> socket;
    // Held while a handler runs.
    std::mutex mutex;
    std::condition_variable stopped;
    // Guarded by mutex.
    bool stopping = false;
};

NotificationReceiver::NotificationReceiver(Handler onMessage, Handler onError)
    : state(std::make_shared<State>()) {
    state->onMessage = std::move(onMessage);
    state->onError = std::move(onError);
}

NotificationReceiver::~NotificationReceiver() {
    stop();
}

void NotificationReceiver::listen() {
    auto& socket = state->socket.emplace(kNotificationLink);
    if (!socket.createSocket() || !socket.bind(kNotificationPath)) {
        const std::string why = socket.getErrorMessage();
        state->socket.reset();
        throw Failure(std::string("can't listen at ") + kNotificationPath + ": " + why);
    }
}

void NotificationReceiver::start() {
    thread.start("dbman-receive", [kept = state] { run(*kept); });
}

void NotificationReceiver::run(State& state) {
    std::string text;
    int failures = 0;
    while (true) {
        const int length = state.socket->recv(text);
        std::unique_lock lock(state.mutex);
        if (!state.stopping && length >= 0) {
            failures = 0;
            state.onMessage(text);
        } else if (!state.stopping) {
            state.onError(state.socket->getErrorMessage());
            if (++failures >= kFailuresInARow) {
                state.stopped.wait_for(lock, kPauseAfterFailures,
                                       [&state] { return state.stopping; });
            }
        }
        if (state.stopping) {
            break;
        }
    }
    // Closed here, so that whoever is blocked in a send to us, wakeUp() too, is let go.
    state.socket.reset();
}

void NotificationReceiver::wakeUp() {
    Corvane waker(kNotificationLink);
    if (waker.createSocket() && waker.connect(kNotificationPath)) {
        waker.send("");
    }
}

void NotificationReceiver::stop() {
    if (thread.isLeftBehind()) {
        return;
    }
    {
        const std::lock_guard lock(state->mutex);
        state->stopping = true;
    }
    state->stopped.notify_all();
    // The thread sits in recv, which only a message ends. One that can't be reached, because
    // somebody has taken our path away, hands nothing on any more and is left behind.
    for (int attempt = 0; attempt < kWakeUps && !thread.finishWithin(milliseconds(0)); ++attempt) {
        wakeUp();
        if (thread.finishWithin(kWakeUpPause)) {
            break;
        }
    }
    if (thread.finishWithin(milliseconds(0))) {
        state->socket.reset();
    } else {
        thread.leaveBehind();
    }
}

}  // namespace ponmgr::dbman
