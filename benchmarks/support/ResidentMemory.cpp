#include "benchmarks/support/ResidentMemory.h"

#include <unistd.h>

#include <fstream>
#include <stdexcept>

namespace ponmgr::bench {

std::size_t residentBytes() {
    std::ifstream statm("/proc/self/statm");
    std::size_t whole = 0;
    std::size_t resident = 0;
    if (!(statm >> whole >> resident)) {
        throw std::runtime_error("can't read /proc/self/statm");
    }
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace ponmgr::bench
