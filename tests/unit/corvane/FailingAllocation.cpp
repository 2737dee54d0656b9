#include "FailingAllocation.h"

#include <cstdlib>
#include <new>

namespace {

struct Plan {
    bool active = false;
    std::size_t spared = 0;
    std::size_t size = 0;
    bool andAllLater = false;
    std::size_t failures = 0;
};

thread_local Plan plan;

bool failsNow(std::size_t size) {
    if (!plan.active || size < plan.size) {
        return false;
    }
    if (plan.spared > 0) {
        --plan.spared;
        return false;
    }
    if (plan.failures > 0 && !plan.andAllLater) {
        return false;
    }
    ++plan.failures;
    return true;
}

}  // namespace

// Replaces the allocation of the whole program, the library under test included.
void* operator new(std::size_t size) {
    void* memory = failsNow(size) ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

namespace ponmgr::test {

FailingAllocation::FailingAllocation(std::size_t spared, std::size_t size, bool andAllLater) {
    plan = Plan{true, spared, size, andAllLater, 0};
}

FailingAllocation::~FailingAllocation() {
    plan = Plan{};
}

bool FailingAllocation::hasFailed() const {
    return plan.failures > 0;
}

}  // namespace ponmgr::test
