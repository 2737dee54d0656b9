#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace ponmgr::test {

// All of these read /proc and leave the sockets themselves alone: another thread may be closing
// them.

/// The IPv4 UDP sockets of this network namespace that are bound to this address and the TK port,
/// by inode, which tells a socket from one that is opened later.
std::vector<unsigned long> tkSocketsBoundTo(const std::string& ip);

/// This process's descriptor of a socket; -1 when it has none.
int descriptorOf(unsigned long socket);

/// How many descriptors the process has open.
std::size_t openDescriptorCount();

}  // namespace ponmgr::test
