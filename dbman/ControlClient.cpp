#include "dbman/ControlClient.h"

#include <poll.h>

#include <array>
#include <string_view>

#include "dbman/Errors.h"
#include "dbman/Interruption.h"
#include "dbman/LocalSocket.h"

namespace ponmgr::dbman {

namespace {

/// Returns when the connection can be read. False: nothing came in time.
bool waitForAnswer(const Descriptor& connection, Interruption& interruption) {
    std::array<pollfd, 2> polled = {
        {{connection.get(), POLLIN, 0}, {interruption.descriptor(), POLLIN, 0}}};
    while (polled[0].revents == 0) {
        if (poll(polled.data(), polled.size(), kAnswerSeconds * 1000) == 0) {
            return false;
        }
        const auto arrived = interruption.take();
        if (arrived.cancel || arrived.end) {
            throw Cancelled("cancelled; what was asked for may be done all the same");
        }
    }
    return true;
}

}  // namespace

std::string askDbman(const std::string& path, const std::string& line, Interruption* interruption) {
    const auto connection = connectLocal(path, kAnswerSeconds);
    const std::string request = line + "\n";
    // A dbman that refuses us may close before it has read all; its answer is still there to read.
    for (std::size_t done = 0; done < request.size();) {
        const auto sent = sendSome(connection, std::string_view(request).substr(done));
        if (!sent || *sent == 0) {
            break;
        }
        done += *sent;
    }
    std::string answer;
    while (answer.find('\n') == std::string::npos) {
        const bool came = interruption == nullptr || waitForAnswer(connection, *interruption);
        const auto received = came ? receiveSome(connection, answer) : 0;
        if (!received) {
            throw Failure("the dbman at " + path + " has ended the connection without an answer");
        }
        if (*received == 0) {
            throw Failure("the dbman at " + path + " doesn't answer");
        }
    }
    return answer.substr(0, answer.find('\n'));
}

}  // namespace ponmgr::dbman
