#include "dbman/UntilInterrupted.h"

#include <optional>

#include "dbman/Errors.h"
#include "dbman/Interruption.h"

namespace ponmgr::dbman {

void runUntilInterrupted(const Surroundings& surroundings,
                         const std::function<void(const Surroundings&)>& body) {
    std::optional<Interruption> own;
    Surroundings interruptible = surroundings;
    if (interruptible.interruption == nullptr) {
        interruptible.interruption = &own.emplace();
    }
    try {
        body(interruptible);
    } catch (const Cancelled&) {
        // Ctrl-C is how it ends.
    }
}

}  // namespace ponmgr::dbman
