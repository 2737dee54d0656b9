#include "dbman/ControlClient.h"

#include <string_view>

#include "dbman/Errors.h"
#include "dbman/LocalSocket.h"

namespace ponmgr::dbman {

namespace {

constexpr int kAnswerSeconds = 30;

}  // namespace

std::string askDbman(const std::string& path, const std::string& line) {
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
        const auto received = receiveSome(connection, answer);
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
