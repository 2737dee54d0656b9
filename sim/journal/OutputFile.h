#pragma once

#include <span>
#include <string>
#include <string_view>

#include "sim/FileDescriptor.h"

namespace ponmgr::sim {

/// A file that is written from its beginning to its end.
class OutputFile {
public:
    enum class Mode : bool { replace, append };

    /// Throws std::runtime_error that says which `what` can't be written where, and why: also when
    /// it is a pipe or a device, on which a write may have to wait.
    OutputFile(std::string what, std::string path, Mode mode);

    void write(std::string_view bytes);
    /// Hands everything to the system. When it takes no more, that is said once on the standard
    /// error, and nothing is written from then on.
    void flush();

private:
    std::string what;
    std::string path;
    FileDescriptor file;
    std::string waiting;
    bool broken = false;
};

}  // namespace ponmgr::sim
