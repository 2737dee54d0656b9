#include "OpenSockets.h"

#include <arpa/inet.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace ponmgr::test {

namespace {

constexpr unsigned kPort = 14113;
constexpr const char* kDescriptors = "/proc/self/fd";

/// An address and port as the kernel's table writes them: the address as the number that it is in
/// memory.
std::string tableAddress(const std::string& ip) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%08X:%04X", inet_addr(ip.c_str()), kPort);
    return text.data();
}

}  // namespace

std::vector<unsigned long> tkSocketsBoundTo(const std::string& ip) {
    const std::string wanted = tableAddress(ip);
    std::ifstream table("/proc/self/net/udp");
    std::vector<unsigned long> sockets;
    std::string line;
    std::getline(table, line);  // the headings
    while (std::getline(table, line)) {
        std::istringstream columns(line);
        std::array<std::string, 10> column;  // slot, local address, ..., inode
        for (std::string& text : column) {
            columns >> text;
        }
        if (column[1] == wanted) {
            sockets.push_back(std::stoul(column[9]));
        }
    }
    return sockets;
}

int descriptorOf(unsigned long socket) {
    const std::string wanted = "socket:[" + std::to_string(socket) + "]";
    for (const auto& entry : std::filesystem::directory_iterator(kDescriptors)) {
        std::error_code closedMeanwhile;
        if (std::filesystem::read_symlink(entry.path(), closedMeanwhile) == wanted) {
            return std::stoi(entry.path().filename().string());
        }
    }
    return -1;
}

std::size_t openDescriptorCount() {
    std::size_t count = 0;
    for (auto entry = std::filesystem::directory_iterator(kDescriptors);
         entry != std::filesystem::directory_iterator(); ++entry) {
        count++;
    }
    return count;
}

}  // namespace ponmgr::test
