#include "RecordedOutput.h"

#include <sys/types.h>

#include <algorithm>
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

struct Disk {
    std::string text;
    std::size_t room;
};

ssize_t writeToDisk(void* disk, const char* data, std::size_t size) {
    auto& written = *static_cast<Disk*>(disk);
    const std::size_t count = std::min(size, written.room);
    written.text.append(data, count);
    written.room -= count;
    return static_cast<ssize_t>(count);
}

// In place of standard output while it lives.
class Recording {
public:
    Recording(void* cookie, cookie_write_function_t* write)
        : stream(fopencookie(cookie, "w", cookie_io_functions_t{nullptr, write, nullptr, nullptr})),
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
    const Recording recording(&writes, &keepWrite);
    body();
    return Writes(writes);  // a copy: the end of the recording adds what is still buffered
}

std::string textOnDiskOf(std::size_t room,
                         const std::function<void(const std::function<void(std::size_t)>&)>& body) {
    Disk disk{{}, room};
    {
        const Recording recording(&disk, &writeToDisk);
        body([&](std::size_t more) { disk.room += more; });
    }
    return disk.text;
}

std::string textOf(const std::function<void()>& body) {
    Writes writes;
    {
        const Recording recording(&writes, &keepWrite);
        body();
    }
    return std::accumulate(writes.begin(), writes.end(), std::string());
}

}  // namespace ponmgr::test
