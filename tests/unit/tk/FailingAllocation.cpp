// Replaces the global allocation functions of the test binary. All of the usual forms are replaced,
// so that what one of them allocates another of them frees.

#include "FailingAllocation.h"

#include <cstdlib>
#include <new>

namespace {

thread_local int noThrowFailures = 0;
thread_local int throwingFailures = 0;
thread_local int sparedAllocations = 0;
thread_local bool oneHasFailed = false;

bool shallFail(int& failures) {
    if (failures == 0) {
        return false;
    }
    if (sparedAllocations > 0) {
        sparedAllocations--;
        return false;
    }
    if (failures > 0) {
        failures--;
    }
    oneHasFailed = true;
    return true;
}

void* allocate(std::size_t size) noexcept {
    return std::malloc(size == 0 ? 1 : size);
}

void* allocateOrThrow(std::size_t size) {
    void* block = shallFail(throwingFailures) ? nullptr : allocate(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void* allocateOrNull(std::size_t size) noexcept {
    return shallFail(noThrowFailures) ? nullptr : allocate(size);
}

}  // namespace

namespace ponmgr::test {

FailingAllocation::FailingAllocation(Kind kind, int count, int spared) {
    sparedAllocations = spared;
    oneHasFailed = false;
    (kind == Kind::NoThrow ? noThrowFailures : throwingFailures) = count;
}

FailingAllocation::~FailingAllocation() {
    noThrowFailures = 0;
    throwingFailures = 0;
}

bool FailingAllocation::hasFailed() const {
    return oneHasFailed;
}

}  // namespace ponmgr::test

void* operator new(std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocateOrNull(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocateOrNull(size);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
