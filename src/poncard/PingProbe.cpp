#include "poncard/PingProbe.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <memory>
#include <string_view>

#include "model/Helper.h"

namespace ponmgr {

namespace {

struct PipeCloser {
    void operator()(FILE* pipe) const { pclose(pipe); }
};

bool isPlain(char character) {
    constexpr std::string_view kOthers = ".:-_";
    return std::isalnum(static_cast<unsigned char>(character)) != 0 ||
           kOthers.find(character) != std::string_view::npos;
}

/// The text as one word of a shell command; an ordinary address as it is.
std::string shellWord(const std::string& text) {
    if (std::all_of(text.begin(), text.end(), isPlain)) {
        return text;
    }
    return "'" + Helper::replaceAll(text, "'", "'\\''") + "'";
}

}  // namespace

std::string pingCommand(const std::string& interface, const std::string& address) {
    // An address such as "-f" would be an option of ping.
    const char* optionsEnd = address.starts_with('-') ? "-- " : "";
    return "ping -w 1 -I " + shellWord(interface) + " " + optionsEnd + shellWord(address) +
           " | grep ' 100% packet loss' | wc -l";
}

bool isAnswering(const std::string& command) {
    // "e": the pipe isn't inherited by another slot's probe that starts at the same moment.
    const std::unique_ptr<FILE, PipeCloser> pipe(popen(command.c_str(), "re"));
    if (!pipe) {
        return true;
    }
    std::array<char, 2> output{};
    const std::size_t length = std::fread(output.data(), 1, output.size(), pipe.get());
    return length == 0 || output[0] == '0';
}

}  // namespace ponmgr
