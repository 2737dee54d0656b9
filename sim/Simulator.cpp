#include "sim/Simulator.h"

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <stdexcept>
#include <system_error>

#include "sim/DatagramLine.h"
#include "sim/journal/JournalFile.h"
#include "sim/journal/PcapFile.h"

namespace ponmgr::sim {

namespace {

/// The largest datagram there is.
constexpr std::size_t kReceiveBufferSize = 65536;
/// Datagrams of one card in a row, so that a flood at one doesn't keep the others waiting.
constexpr int kMostInARow = 64;

sigset_t endSignals() {
    sigset_t set{};
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

/// One line a datagram on the standard output.
class VerboseLines final : public JournalSink {
public:
    explicit VerboseLines(OutputLines& destination) : lines(destination) {}
    void write(const JournalEntry& entry) override { lines.add(describeDatagram(entry)); }
    void flush() override { lines.flush(); }

private:
    OutputLines& lines;
};

}  // namespace

void prepareSignals() {
    const auto set = endSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, nullptr);
    sigaction(SIGXFSZ, &ignore, nullptr);
}

Simulator::Simulator(const ServeOptions& given)
    : options(given),
      output(STDOUT_FILENO, loop.timers()),
      chassis(options.chassis, loop.timers(),
              [this](const Card& card, Endpoint to, std::span<const std::uint8_t> datagram) {
                  return wire.path().send(card.slot, card.address, to, datagram);
              }),
      wire(
          options.journalEntries, options.chassis.seed, loop.timers(), chassis,
          [this](Endpoint local) { return sockets.open(local); },
          [this](Endpoint local, Endpoint to, std::span<const std::uint8_t> datagram) {
              return sockets.send(local, to, datagram);
          }),
      verbs(chassis, loop.timers(), &wire),
      receiveBuffer(kReceiveBufferSize) {
    addJournalSinks();
    bindCards();
    control = std::make_unique<ControlServer>(loop, options.controlPath, verbs);
    loop.setAfterBatch([this] {
        verbs.check();
        wire.journal().flush();
    });
    watchSignals();
}

Simulator::~Simulator() {
    for (const auto& socket : cardSockets) {
        loop.remove(socket->descriptor());
    }
    wire.journal().flush();
}

void Simulator::addJournalSinks() {
    if (options.verbose) {
        wire.journal().addSink(std::make_unique<VerboseLines>(output));
    }
    if (!options.journalFile.empty()) {
        wire.journal().addSink(std::make_unique<JournalFile>(options.journalFile));
    }
    if (!options.pcapFile.empty()) {
        wire.journal().addSink(std::make_unique<PcapFile>(options.pcapFile));
    }
}

void Simulator::bindCards() {
    for (auto& card : chassis.cards()) {
        try {
            cardSockets.push_back(sockets.open(card.address));
        } catch (const std::system_error& error) {
            throw std::runtime_error("can't bind the card in slot " + std::to_string(card.slot) +
                                     " to " + toText(card.address) + ": " + error.code().message());
        }
        const auto& socket = *cardSockets.back();
        loop.add(socket.descriptor(), EPOLLIN,
                 [this, &card, &socket](std::uint32_t) { receiveAll(card, socket); });
    }
}

void Simulator::receiveAll(Card& card, const UdpEndpoint& socket) {
    for (int i = 0; i < kMostInARow; ++i) {
        Endpoint from;
        const auto size = socket.receive(receiveBuffer, from);
        if (!size) {
            return;
        }
        wire.path().receive(card.slot, card.address, from, std::span(receiveBuffer).first(*size));
    }
}

void Simulator::watchSignals() {
    const auto set = endSignals();
    signals = FileDescriptor(signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC), "signalfd");
    loop.add(signals.get(), EPOLLIN, [this](std::uint32_t) { loop.stop(); });
}

std::string Simulator::readyLine() const {
    std::string slots;
    for (const auto slot : options.chassis.slots) {
        slots += slots.empty() ? "" : ",";
        slots += std::to_string(slot);
    }
    return "chassis-sim ready: slots " + slots + " at " + addressText(options.chassis.base) +
           " + slot, port " + std::to_string(options.chassis.port) + ", control " +
           options.controlPath + ", seed " + std::to_string(options.chassis.seed);
}

void Simulator::show(const std::string& line) {
    output.add(line);
    output.flush();
}

void Simulator::run() {
    loop.run();
}

}  // namespace ponmgr::sim
