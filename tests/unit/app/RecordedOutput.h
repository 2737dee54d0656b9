#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace ponmgr::test {

/// Runs `body` with a new standard output and returns the writes that have left the stream by its
/// end, each as one text. The stream is fully buffered at first, as that of a process whose output
/// is no terminal.
std::vector<std::string> writesOf(const std::function<void()>& body);

/// The text that is on a disk with so many bytes of room, when standard output goes to it while
/// `body` runs. `body` gets a function that makes that much more room.
std::string textOnDiskOf(std::size_t room,
                         const std::function<void(const std::function<void(std::size_t)>&)>& body);

/// All that `body` has written to standard output, whether it has left the stream or not.
std::string textOf(const std::function<void()>& body);

}  // namespace ponmgr::test
