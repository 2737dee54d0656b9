#include <utility>

#include "dbman/AskCommand.h"
#include "dbman/Columns.h"
#include "dbman/CommandActions.h"
#include "dbman/CommandRequest.h"
#include "dbman/Errors.h"
#include "dbman/Given.h"
#include "dbman/Interruption.h"
#include "dbman/Surroundings.h"
#include "dbman/UntilInterrupted.h"

namespace ponmgr::dbman {

namespace {

class EventReader {
public:
    EventReader(const Command& readCommand, const Given& readGiven, const Surroundings& readFrom)
        : command(readCommand),
          given(readGiven),
          surroundings(readFrom),
          request(requestOf(command, given)) {}

    /// Shows what is new since the last call; at first the last events.
    void show() {
        const auto answer = ask(controlPath(given, surroundings), request, surroundings);
        const bool first = !request.contains("after");
        wasGone = false;
        const bool empty = arrayOf(answer.json, "events").empty();
        if (first || !empty) {
            surroundings.out << (given.has("--json")
                                     ? answer.text + "\n"
                                     : command.view(answer.json, screenOf(surroundings)))
                             << std::flush;
        }
        // More than the first answer's limit may come between two questions.
        request.erase("limit");
        if (answer.json.contains("last_id")) {
            request["after"] = answer.json["last_id"];
        }
    }

    /// The same, and when dbman has gone says so once: it may come back.
    void showOrWait() {
        try {
            show();
        } catch (const NotRunning&) {
            sayOnce("dbman at " + controlPath(given, surroundings) + " has gone; waiting for it");
        } catch (const Failure& error) {
            // One that ends in the midst of an answer may come back too.
            sayOnce(error.what());
        }
    }

    bool canGoOn() const { return surroundings.out.good() && request.contains("after"); }

private:
    void sayOnce(const std::string& trouble) {
        if (!std::exchange(wasGone, true)) {
            surroundings.err << trouble << '\n' << std::flush;
        }
    }

    const Command& command;
    const Given& given;
    const Surroundings& surroundings;
    Json request;
    bool wasGone = false;
};

}  // namespace

void showEvents(const Command& command, const Given& given, const Surroundings& surroundings) {
    if (!given.has("--follow")) {
        EventReader(command, given, surroundings).show();
        return;
    }
    runUntilInterrupted(surroundings, [&](const Surroundings& interruptible) {
        EventReader reader(command, given, interruptible);
        reader.show();
        while (reader.canGoOn()) {
            const auto arrived = interruptible.interruption->wait(surroundings.followInterval);
            if (arrived.cancel || arrived.end) {
                return;
            }
            reader.showOrWait();
        }
    });
}

}  // namespace ponmgr::dbman
