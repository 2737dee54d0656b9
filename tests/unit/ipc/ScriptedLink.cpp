#include "ScriptedLink.h"

#include <unistd.h>

#include <map>
#include <memory>

#include "Corvane.h"
#include "app/LogLine.h"
#include "unit/corvane/FailingAllocation.h"

namespace ponmgr::test {

LinkScript& linkScript(int link) {
    // Both links from the start: the worker's threads make theirs at the same time.
    static std::map<int, LinkScript> scripts = [] {
        std::map<int, LinkScript> both;
        both[2001];
        both[2010];
        return both;
    }();
    return scripts.at(link);
}

namespace {

template <typename Step>
std::optional<Step> takeStep(std::deque<Step>& steps) {
    if (steps.empty()) {
        return std::nullopt;
    }
    std::optional<Step> step = std::move(steps.front());
    steps.pop_front();
    return step;
}

}  // namespace

}  // namespace ponmgr::test

using ponmgr::printLine;
using ponmgr::test::LinkScript;
using ponmgr::test::takeStep;

class Corvane::Implementation {
public:
    explicit Implementation(int link)
        : script(ponmgr::test::linkScript(link)), number(std::to_string(link)) {}

    void print(const std::string& call) const { printLine(number + " " + call); }

    bool perform(const std::string& operation, bool fails) {
        error = operation + " failed";
        return !fails;
    }

    LinkScript& script;
    std::string error;

private:
    std::string number;
};

Corvane::Corvane(int link) : implementation(std::make_unique<Implementation>(link)) {
    implementation->print("made");
}

Corvane::~Corvane() = default;

bool Corvane::createSocket() {
    implementation->print("createSocket");
    return implementation->perform("createSocket", implementation->script.createFails);
}

bool Corvane::bind(const char* path) {
    implementation->print(std::string("bind ") + path);
    return implementation->perform("bind", implementation->script.attachFails);
}

bool Corvane::connect(const char* path) {
    implementation->print(std::string("connect ") + path);
    return implementation->perform("connect", implementation->script.attachFails);
}

ssize_t Corvane::send(const std::string& text) {
    using Send = LinkScript::Send;
    implementation->print("send " + text);
    const Send step = takeStep(implementation->script.sent).value_or(Send::succeeds);
    if (step == Send::leavesNoMemory) {
        static std::optional<ponmgr::test::FailingAllocation> failure;
        failure.emplace(0, ponmgr::test::kFailingLength);
    }
    return implementation->perform("send", step == Send::fails) ? static_cast<ssize_t>(text.size())
                                                                : -1;
}

int Corvane::recv(std::string& text) {
    implementation->print(text.empty() ? "recv" : "recv into what was there");
    const auto step = takeStep(implementation->script.received);
    if (!step) {
        for (;;) {
            pause();
        }
    }
    text = step->value_or("");
    return implementation->perform("recv", !step->has_value()) ? static_cast<int>(text.size()) : -1;
}

const char* Corvane::getErrorMessage() {
    return implementation->error.c_str();
}
