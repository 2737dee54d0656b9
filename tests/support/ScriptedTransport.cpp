#include "support/ScriptedTransport.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>
#include <utility>

namespace ponmgr::test {

namespace {

constexpr std::chrono::milliseconds kPollPause{1};

/// Whether the thread is in an interruptible sleep, by the state letter behind its name in
/// parentheses. Once send() has returned, the wait for the response is where it sleeps. A thread
/// that has ended counts as asleep: what is left for it is late, and nobody waits for it.
bool isAsleep(long thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string line;
    std::getline(file, line);
    const std::size_t nameEnd = line.rfind(") ");
    return nameEnd == std::string::npos || line[nameEnd + 2] == 'S';
}

}  // namespace

using Step = ScriptedTransport::Step;

Step& Step::deliverInsideSend(std::string_view datagram) {
    inside.push_back(bytes(datagram));
    return *this;
}

Step& Step::deliver(std::string_view datagram) {
    later.push_back(bytes(datagram));
    return *this;
}

Step& Step::accept() {
    later.push_back(acceptanceOf(request));
    return *this;
}

Step& Step::failToSend() {
    fails = true;
    return *this;
}

ScriptedTransport::ScriptedTransport()
    : card([this](const std::stop_token& stop) { deliverPending(stop); }) {}

ScriptedTransport::~ScriptedTransport() {
    card.request_stop();
    card.join();
    for (const Step& step : script) {
        ADD_FAILURE() << "never sent: " << hexText(step.request);
    }
}

Step& ScriptedTransport::expect(std::string_view datagram) {
    const std::lock_guard lock(mutex);
    Step& step = script.emplace_back();
    step.request = bytes(datagram);
    return step;
}

void ScriptedTransport::answerTheRest(Responder answers) {
    const std::lock_guard lock(mutex);
    responder = std::move(answers);
}

void ScriptedTransport::acceptTheRest() {
    answerTheRest([](const Bytes& request) { return std::vector<Bytes>{acceptanceOf(request)}; });
}

Bytes ScriptedTransport::acceptanceOf(const Bytes& request) {
    constexpr unsigned char kLengthAndResult[] = {0x00, 0x02, 0x00, 0x00};
    Bytes response(request.begin(), request.begin() + 4);  // id and ctag
    response.insert(response.end(), std::begin(kLengthAndResult), std::end(kLengthAndResult));
    return response;
}

bool ScriptedTransport::deliverNow(std::string_view datagram) {
    return handOver(bytes(datagram));
}

std::vector<ScriptedTransport::Sent> ScriptedTransport::getSent() const {
    const std::lock_guard lock(mutex);
    return sent;
}

std::vector<std::string> ScriptedTransport::getSentDatagrams() const {
    std::vector<std::string> datagrams;
    for (const Sent& one : getSent()) {
        datagrams.push_back(one.datagram);
    }
    return datagrams;
}

std::vector<ScriptedTransport::Delivery> ScriptedTransport::getDeliveries() const {
    const std::lock_guard lock(mutex);
    return deliveries;
}

std::size_t ScriptedTransport::getReceiverCount() const {
    const std::lock_guard lock(receiversMutex);
    return receivers.size();
}

void ScriptedTransport::setDone(bool isDone) {
    const std::lock_guard lock(mutex);
    done = isDone;
}

bool ScriptedTransport::hasDone() const {
    const std::lock_guard lock(mutex);
    return done;
}

void ScriptedTransport::registerUDPSocket(DatagramReceiver* receiver) {
    const std::lock_guard lock(receiversMutex);
    receivers.push_back(receiver);
}

void ScriptedTransport::unregisterUDPSocket(DatagramReceiver* receiver) {
    const std::lock_guard lock(receiversMutex);
    std::erase(receivers, receiver);
}

void ScriptedTransport::send(const TKMessage& message, const sockaddr_in& destination) {
    const Bytes request(message.getMessage(), message.getMessage() + message.getSize());
    {
        const std::lock_guard lock(mutex);
        sent.push_back({hexText(request), destination, std::chrono::system_clock::now()});
    }
    Step step = takeStep(request);
    for (const Bytes& datagram : step.inside) {
        handOver(datagram);
    }
    if (step.fails) {
        throw std::runtime_error("the script lets this send fail");
    }
    const std::lock_guard lock(mutex);
    for (Bytes& datagram : step.later) {
        pending.push_back({std::move(datagram), syscall(SYS_gettid)});
    }
    pendingChanged.notify_all();
}

Step ScriptedTransport::takeStep(const Bytes& request) {
    const std::lock_guard lock(mutex);
    if (!script.empty()) {
        if (script.front().request != request) {
            ADD_FAILURE() << "sent " << hexText(request) << "\ninstead of "
                          << hexText(script.front().request);
            return {};
        }
        Step step = std::move(script.front());
        script.pop_front();
        return step;
    }
    Step step;
    if (responder) {
        step.later = responder(request);
    } else {
        ADD_FAILURE() << "sent after the end of the script: " << hexText(request);
    }
    return step;
}

bool ScriptedTransport::handOver(const Bytes& datagram) {
    bool taken = false;
    {
        const std::lock_guard lock(receiversMutex);
        for (DatagramReceiver* receiver : receivers) {
            auto message = std::make_unique<TKMessage>(datagram.data(),
                                                       static_cast<std::uint16_t>(datagram.size()));
            taken = receiver->processRxQueue(message) || taken;
        }
    }
    const std::lock_guard lock(mutex);
    deliveries.push_back({hexText(datagram), taken});
    return taken;
}

void ScriptedTransport::deliverPending(const std::stop_token& stop) {
    for (;;) {
        Pending next;
        {
            std::unique_lock lock(mutex);
            if (!pendingChanged.wait(lock, stop, [this] { return !pending.empty(); })) {
                return;
            }
            next = std::move(pending.front());
            pending.pop_front();
        }
        while (!isAsleep(next.senderThread)) {
            if (stop.stop_requested()) {
                return;
            }
            std::this_thread::sleep_for(kPollPause);
        }
        handOver(next.datagram);
    }
}

}  // namespace ponmgr::test
