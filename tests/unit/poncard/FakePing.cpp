#include "FakePing.h"

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace ponmgr::test {

namespace {

// $0 is its whole path: the shell has found it through PATH.
constexpr const char* kScript = R"script(#!/bin/sh
folder=${0%/*}
printf '<%s>' "$@" >> "$folder/arguments"
echo >> "$folder/arguments"
echo call >> "$folder/calls"
number=$(grep -c . "$folder/calls")
if [ "$(sed -n "${number}p" "$folder/plan")" = lost ]; then
    echo "1 packets transmitted, 0 received, 100% packet loss, time 0ms"
else
    echo "1 packets transmitted, 1 received, 0% packet loss, time 0ms"
fi
)script";

void write(const std::filesystem::path& path, const std::string& text) {
    std::ofstream(path) << text;
}

}  // namespace

FakePing::FakePing() : folder("/tmp/fake-ping"), previousPath(std::getenv("PATH")) {
    std::filesystem::create_directory(folder);
    write(folder / "ping", kScript);
    std::filesystem::permissions(folder / "ping", std::filesystem::perms::owner_all);
    for (const char* name : {"arguments", "calls", "plan"}) {
        write(folder / name, "");
    }
    setenv("PATH", (folder.string() + ":" + previousPath).c_str(), 1);
}

FakePing::~FakePing() {
    setenv("PATH", previousPath.c_str(), 1);
    std::filesystem::remove_all(folder);
}

void FakePing::plan(const std::vector<Outcome>& outcomes) {
    std::string text;
    for (std::size_t past = getCallCount(); past > 0; past--) {
        text += "past\n";
    }
    for (const Outcome outcome : outcomes) {
        text += outcome == Lost ? "lost\n" : "answered\n";
    }
    write(folder / "plan", text);
}

std::size_t FakePing::getCallCount() const {
    return read("calls").size() / std::string("call\n").size();
}

std::string FakePing::getArguments() const {
    return read("arguments");
}

std::string FakePing::read(const char* name) const {
    std::ifstream file(folder / name);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace ponmgr::test
