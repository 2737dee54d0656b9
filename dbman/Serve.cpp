#include "dbman/Serve.h"

#include <cstdlib>
#include <utility>

#include "dbman/DaemonLink.h"
#include "dbman/Errors.h"
#include "dbman/Signals.h"

namespace ponmgr::dbman {

Server::Server(ServeOptions serveOptions, std::ostream& stream)
    : options(std::move(serveOptions)),
      output(stream, options.quiet),
      counters(Notifications::uris()),
      events(output.now()),
      store(
          options.store, state, [this] { return output.now(); },
          [this](const std::string& line) { output.warn(line); }),
      sender(options.senderTiming),
      dispatch(
          sender, counters, output, [this](HistoryRow row) { store.post(std::move(row)); },
          [this] { control.wake(); }, options.commandTiming),
      notifications(
          state, counters, output, [this](HistoryRow row) { store.post(std::move(row)); },
          [this] { dispatch.sendPatiently(addressMessages(state.slots.configuration())); }),
      commands({state, events, counters, output, dispatch, store}),
      receiver(
          [this](const std::string& text) {
              store.waitForRoom();
              notifications.handle(text);
          },
          [this](const std::string& error) { reportLinkError(error); }),
      control(
          options.controlPath, [this](const std::string& line) { return commands.answer(line); },
          [this](const std::string& error) { reportLinkError(error); }) {
    output.setListener([this](Time time, EventKind kind, const std::string& line) {
        store.post(events.add(time, kind, line));
    });
}

Server::~Server() {
    stop();
}

void Server::start() {
    try {
        receiver.listen();
    } catch (const Failure& error) {
        throw Failure(std::string(error.what()) + " (is another dbman running?)");
    }
    control.listen();
    loadState();
    // Before anybody is told that we are ready and starts the daemon.
    const bool asks = isDaemonToBeAsked();
    output.start();
    output.announce(readyLine());
    store.start();
    sender.start();
    if (asks) {
        // It says nothing of a card that has gone meanwhile and that it has told of already.
        state.inventory.setAllCardsOffline();
        output.note(EventKind::command, "a daemon runs already; it is to report everything anew");
        dispatch.sendPatiently(addressMessages(state.slots.configuration()));
    }
    receiver.start();
    control.start();
}

void Server::reportLinkError(const std::string& error) {
    counters.countLinkError();
    output.warn("link error: " + error);
}

void Server::loadState() {
    const auto stored = store.open();
    areSlotsIgnored = options.areSlotsGiven && !stored.slots.empty();
    if (stored.slots.empty()) {
        state.slots.configure(options.configuration);
    } else {
        state.slots.load(stored.slots);
    }
    for (const auto& [slot, address] : state.slots.configuration()) {
        state.inventory.setAddress(slot, address);
    }
    state.inventory.load(stored.cards, stored.onus);
    state.alarms.load(stored.alarms);
    events.load(stored.events);
    // Slots that were configured right now.
    store.wake();
}

// A daemon that starts from here on finds us listening and asks for the addresses by itself. Only
// one that runs already has told nobody what has happened meanwhile.
bool Server::isDaemonToBeAsked() const {
    return options.announces && CommandSender::isDaemonThere();
}

std::string Server::readyLine() const {
    return std::string("dbman ready: notifications at ") + kNotificationPath + ", commands to " +
           kCommandPath + ", control at " + options.controlPath + ", database " +
           options.store.file + ", slots " + listSlots(state.slots.configuration()) +
           (areSlotsIgnored ? " of the database (the slot options count only for a new one)" : "");
}

bool Server::stop() {
    receiver.stop();
    // First, so that a client whose message waits for the daemon is still told that it isn't sent.
    sender.stop();
    control.stop();
    store.stop();
    return output.stop();
}

void serveUntilSignal(const ServeOptions& options, std::ostream& stream) {
    const StopSignals signals;
    Server server(options, stream);
    server.start();
    signals.wait();
    if (!server.stop()) {
        // The usual way out flushes the stream and would wait for its reader too.
        std::_Exit(EXIT_SUCCESS);
    }
}

}  // namespace ponmgr::dbman
