#include "dbman/Serve.h"

#include <utility>

#include "dbman/DaemonLink.h"
#include "dbman/Errors.h"
#include "dbman/Signals.h"

namespace ponmgr::dbman {

Server::Server(ServeOptions serveOptions, std::ostream& stream)
    : options(std::move(serveOptions)),
      output(stream, options.quiet),
      counters(Notifications::uris()),
      inventory(options.configuration),
      sender(options.senderTiming),
      dispatch(sender, counters, output, options.commandTiming),
      notifications(inventory, counters, output,
                    [this] { dispatch.sendPatiently(addressMessages(options.configuration)); }),
      commands(options.configuration, inventory, counters, dispatch),
      receiver([this](const std::string& text) { notifications.handle(text); },
               [this](const std::string& error) {
                   counters.countLinkError();
                   output.warn("link error: " + error);
               }),
      control(options.controlPath,
              [this](const std::string& line) { return commands.answer(line); }) {}

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
    output.announce(std::string("dbman ready: notifications at ") + kNotificationPath +
                    ", commands to " + kCommandPath + ", control at " + options.controlPath +
                    ", slots " + listSlots(options.configuration));
    sender.start();
    receiver.start();
    control.start();
}

void Server::stop() {
    receiver.stop();
    // Lets a client's request go that waits for the daemon, so that the control thread can end.
    sender.stop();
    control.stop();
}

void serveUntilSignal(const ServeOptions& options, std::ostream& stream) {
    const StopSignals signals;
    Server server(options, stream);
    server.start();
    signals.wait();
    server.stop();
}

}  // namespace ponmgr::dbman
