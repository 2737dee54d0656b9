#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace ponmgr::test {

/// A program named ping that is found before the system's own while this lives. It notes how it is
/// called and answers as it is told. One at a time, in a process with a /tmp of its own.
class FakePing {
public:
    enum Outcome { Answered, Lost };

    FakePing();
    FakePing(const FakePing&) = delete;
    FakePing& operator=(const FakePing&) = delete;
    ~FakePing();

    /// The outcomes of the next calls, in order; every call after them is answered.
    void plan(const std::vector<Outcome>& outcomes);

    /// How often it has been called.
    std::size_t getCallCount() const;
    /// The arguments of all calls, each in angle brackets, a call a line.
    std::string getArguments() const;

private:
    std::string read(const char* name) const;

    std::filesystem::path folder;
    std::string previousPath;
};

}  // namespace ponmgr::test
