#pragma once

#include <functional>
#include <string>
#include <vector>

namespace ponmgr::test {

/// Runs `body` with a new standard output and returns the writes that have left the stream by its
/// end, each as one text. The stream is fully buffered at first, as that of a process whose output
/// is no terminal.
std::vector<std::string> writesOf(const std::function<void()>& body);

/// All that `body` has written to standard output, whether it has left the stream or not.
std::string textOf(const std::function<void()>& body);

}  // namespace ponmgr::test
