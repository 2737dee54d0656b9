#pragma once

#include <sys/types.h>

#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "support/Bytes.h"

namespace ponmgr::test {

/// A card behind a real socket. Each kind of request has one answer; what isn't given one is
/// accepted. Ids, answers and requests are literal hexadecimal text.
///
/// An exchange forgets a response that comes before its thread waits, so an answer is sent only
/// when the thread that made this object sleeps: it is the one that must send the requests.
class LoopbackCard {
public:
    /// Opens `address` at the port of the protocol. Throws std::system_error.
    explicit LoopbackCard(const char* address);
    LoopbackCard(const LoopbackCard&) = delete;
    LoopbackCard& operator=(const LoopbackCard&) = delete;
    ~LoopbackCard();

    /// Answers requests of this id with their id and ctag and the given rest: length, result, data.
    void answer(const std::string& id, const std::string& rest);
    /// Doesn't answer requests of this id.
    void beSilentTo(const std::string& id);

    /// Sends an event right before the next answer, so that it is there when the exchange ends.
    void sendBeforeNextAnswer(const std::string& event);

    /// The requests since the last call, in order; one that is sent again because it found no
    /// answer stands here once.
    std::vector<std::string> takeRequests();

private:
    void run(const std::stop_token& stop);
    void waitUntilAskerSleeps(const std::stop_token& stop) const;
    /// Notes the request. Empty for silence.
    Bytes answerTo(const Bytes& request);
    std::vector<Bytes> takeEvents();

    const pid_t asker;
    int descriptor;

    std::mutex mutex;
    std::map<std::string, std::string> answers;  // guarded by mutex
    std::set<std::string> silent;                // guarded by mutex
    std::vector<std::string> requests;           // guarded by mutex
    std::vector<Bytes> events;                   // guarded by mutex
    std::string last;                            // guarded by mutex

    std::jthread thread;
};

}  // namespace ponmgr::test
