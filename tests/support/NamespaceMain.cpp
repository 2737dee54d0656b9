// Runs all tests of a binary in a network and mount namespace of the process's own. ctest starts
// one process a test, so any number of them run side by side on the same ports and paths.

#include <gmock/gmock.h>

#include <filesystem>
#include <iostream>

#include "support/PrivateNamespace.h"

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    try {
        if (!GTEST_FLAG_GET(list_tests)) {
            const auto program = std::filesystem::read_symlink("/proc/self/exe");
            ponmgr::test::enterPrivateNamespace(program.parent_path().c_str());
        }
    } catch (const std::exception& error) {
        std::cerr << "can't make a private namespace: " << error.what() << "\n";
        return 1;
    }
    return RUN_ALL_TESTS();
}
