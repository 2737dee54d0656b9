#include <cstdio>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "dbman/CommandLine.h"

int main(int argc, char** argv) {
    try {
        const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
        return static_cast<int>(ponmgr::dbman::runDbman(arguments, std::cout, std::cerr));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "dbman: %s\n", error.what());
        return static_cast<int>(ponmgr::dbman::ExitCode::failed);
    }
}
