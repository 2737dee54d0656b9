#include "RecordedOutput.h"

#include <sys/types.h>

#include <cstdio>
#include <mutex>
#include <numeric>
#include <stdexcept>

namespace ponmgr::test {

namespace {

using Writes = std::vector<std::string>;

// The stream's own lock keeps its writers apart already, but the thread sanitizer can't see it.
std::mutex writeMutex;

ssize_t keepWrite(void* writes, const char* data, std::size_t size) {
    const std::lock_guard lock(writeMutex);
    static_cast<Writes*>(writes)->emplace_back(data, size);
    return static_cast<ssize_t>(size);
}

// In place of standard output while it lives.
class Recording {
public:
    explicit Recording(Writes& writes)
        : stream(fopencookie(&writes, "w",
                             cookie_io_functions_t{nullptr, &keepWrite, nullptr, nullptr})),
          original(stdout) {
        if (stream == nullptr) {
            throw std::runtime_error("no stream to record standard output with");
        }
        stdout = stream;
    }
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;
    ~Recording() {
        stdout = original;
        std::fclose(stream);
    }

private:
    FILE* stream;
    FILE* original;
};

}  // namespace

std::vector<std::string> writesOf(const std::function<void()>& body) {
    Writes writes;
    const Recording recording(writes);
    body();
    return Writes(writes);  // a copy: the end of the recording adds what is still buffered
}

std::string textOf(const std::function<void()>& body) {
    Writes writes;
    {
        const Recording recording(writes);
        body();
    }
    return std::accumulate(writes.begin(), writes.end(), std::string());
}

}  // namespace ponmgr::test
