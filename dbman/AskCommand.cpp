#include "dbman/AskCommand.h"

#include "dbman/CommandActions.h"
#include "dbman/CommandRequest.h"
#include "dbman/ControlClient.h"
#include "dbman/Errors.h"
#include "dbman/Given.h"
#include "dbman/Surroundings.h"
#include "dbman/Views.h"

namespace ponmgr::dbman {

std::string controlPath(const Given& given, const Surroundings& surroundings) {
    return given.text("--control", surroundings.control);
}

Answer ask(const std::string& path, const Json& request, const Surroundings& surroundings) {
    Answer answer;
    answer.text = askDbman(path, printJson(request), surroundings.interruption);
    answer.json = parseJson(answer.text);
    if (!answer.json.is_object()) {
        throw Failure("dbman answered something that isn't an object");
    }
    if (answer.json.contains("error")) {
        throw Failure(stringMember(answer.json, "error"));
    }
    return answer;
}

void askAndShow(const Command& command, const Given& given, const Surroundings& surroundings) {
    const auto request = requestOf(command, given);
    const auto answer = ask(controlPath(given, surroundings), request, surroundings);
    surroundings.out << (given.has("--json") ? answer.text + "\n"
                                             : command.view(answer.json, screenOf(surroundings)))
                     << std::flush;
}

void sendAndShow(const Command& command, const Given& given, const Surroundings& surroundings) {
    const auto request = requestOf(command, given);
    const auto answer = ask(controlPath(given, surroundings), request, surroundings);
    surroundings.out << (given.has("--json") ? answer.text + "\n"
                                             : viewSent(OrderedJson::parse(answer.text)))
                     << std::flush;
}

}  // namespace ponmgr::dbman
