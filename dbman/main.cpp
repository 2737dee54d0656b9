#include <langinfo.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "dbman/CommandLine.h"
#include "dbman/StateDirectory.h"

namespace {

std::string historyFile() {
    const auto directory = ponmgr::dbman::stateDirectory();
    return directory.empty() ? "" : directory + "/dbman_history";
}

ponmgr::dbman::Surroundings surroundingsOfProcess() {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): there is one thread yet
    std::setlocale(LC_CTYPE, "");
    ponmgr::dbman::Surroundings surroundings{std::cout, std::cerr};
    surroundings.input = isatty(STDIN_FILENO) == 1 ? STDIN_FILENO : -1;
    surroundings.output = isatty(STDOUT_FILENO) == 1 ? STDOUT_FILENO : -1;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): there is one thread yet
    surroundings.unicode = std::string_view(nl_langinfo(CODESET)) == "UTF-8";
    surroundings.historyFile = historyFile();
    return surroundings;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
        return static_cast<int>(ponmgr::dbman::runDbman(arguments, surroundingsOfProcess()));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "dbman: %s\n", error.what());
        return static_cast<int>(ponmgr::dbman::ExitCode::failed);
    }
}
