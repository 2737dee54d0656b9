#include "sim/PrintedResult.h"

#include <cerrno>
#include <ostream>
#include <system_error>

namespace ponmgr::sim {

Finished unwritableOutput() {
    const std::error_code reason(errno, std::generic_category());
    const std::string why = reason ? ": " + reason.message() : "";
    return failure(kExitFailed, "can't write to the standard output" + why, false);
}

int printResult(const Finished& finished, std::ostream& output, std::ostream& errors) {
    errno = 0;
    output << finished.output << std::flush;
    auto end = finished;
    if (!output.good()) {
        const auto refused = unwritableOutput();
        end.errorOutput += refused.errorOutput;
        // A mistake stays one.
        end.status = finished.status == kExitOk ? refused.status : finished.status;
    }
    errors << end.errorOutput;
    return end.status;
}

}  // namespace ponmgr::sim
