#include <chrono>

#include "dbman/Arguments.h"
#include "dbman/AskCommand.h"
#include "dbman/CommandActions.h"
#include "dbman/CommandRequest.h"
#include "dbman/Errors.h"
#include "dbman/Given.h"
#include "dbman/Interruption.h"
#include "dbman/PictureTerminal.h"
#include "dbman/Surroundings.h"
#include "dbman/Text.h"
#include "dbman/UntilInterrupted.h"
#include "dbman/WatchPicture.h"

namespace ponmgr::dbman {

namespace {

using Clock = std::chrono::steady_clock;

/// Throws what asking throws; `watched` is then unchanged.
void fetch(Watched& watched, const std::string& path, const Surroundings& surroundings) {
    const auto fetched = [&](const Json& request) { return ask(path, request, surroundings).json; };
    const auto events = eventsShown(screenOf(surroundings));
    Watched fresh;
    fresh.cards = fetched({{"command", "card list"}});
    fresh.onus = fetched({{"command", "onu list"}});
    fresh.alarms = fetched({{"command", "alarm list"}, {"active", true}});
    fresh.events = fetched({{"command", "events"}, {"limit", events}});
    fresh.status = fetched({{"command", "status"}});
    fresh.time = formatUtc(std::chrono::system_clock::now());
    watched = std::move(fresh);
}

void showOnce(const std::string& path, const Surroundings& surroundings) {
    Watched watched;
    fetch(watched, path, surroundings);
    Screen screen = screenOf(surroundings);
    screen.rows = 0;
    for (const auto& line : drawWatch(watched, screen)) {
        surroundings.out << line << '\n';
    }
    surroundings.out << std::flush;
}

/// Keeps what was known when there is nothing newer, and says why.
void refresh(Watched& watched, const std::string& path, const Surroundings& surroundings) {
    try {
        fetch(watched, path, surroundings);
    } catch (const NotRunning&) {
        watched.trouble = "dbman at " + path + " has gone; waiting for it";
    } catch (const Failure& error) {
        watched.trouble = error.what();
    } catch (const MalformedMessage& error) {
        watched.trouble = std::string("dbman's answer: ") + error.what();
    }
}

/// Waits until it is time for the next picture, a key other than "q" asks for it, or the window has
/// another size. False: somebody wants to end.
bool waitForNext(PictureTerminal& terminal, Interruption& interruption, Clock::time_point next,
                 bool& resized) {
    resized = false;
    while (Clock::now() < next && !resized) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now());
        const auto arrived = interruption.wait(left, terminal.input());
        const char key = terminal.takeKey();
        if (arrived.cancel || arrived.end || key == 'q' || key == 'Q') {
            return false;
        }
        if (key != 0) {
            return true;
        }
        resized = arrived.resized;
    }
    return true;
}

void showAlways(const std::string& path, std::chrono::seconds interval,
                const Surroundings& surroundings) {
    PictureTerminal terminal(surroundings.input, surroundings.output);
    Watched watched;
    bool resized = false;
    bool goesOn = true;
    while (goesOn) {
        const auto begin = Clock::now();
        if (!resized) {
            refresh(watched, path, surroundings);
        }
        goesOn = terminal.show(drawWatch(watched, screenOf(surroundings))) &&
                 waitForNext(terminal, *surroundings.interruption, begin + interval, resized);
    }
}

}  // namespace

void watchCards(const Command&, const Given& given, const Surroundings& surroundings) {
    const auto interval = parseDuration(given.text("--interval", "1s"));
    const auto path = controlPath(given, surroundings);
    if (surroundings.output < 0 || given.has("--once")) {
        showOnce(path, surroundings);
        return;
    }
    runUntilInterrupted(surroundings, [&](const Surroundings& interruptible) {
        showAlways(path, interval, interruptible);
    });
}

}  // namespace ponmgr::dbman
