#include "benchmarks/codec/Allocations.h"

#include <cjson/cJSON.h>

#include <cstdlib>
#include <new>

namespace {

// The benchmarks run in one thread; a plain number is what disturbs them least.
std::uint64_t allocations = 0;

void* countedAllocation(std::size_t size) {
    allocations++;
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
    return std::malloc(size);
}

void release(void* memory) noexcept {
    std::free(memory);  // NOLINT(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
}

}  // namespace

// The C++ library's other forms of new and delete call these four.
void* operator new(std::size_t size) {
    void* const memory = countedAllocation(size == 0 ? 1 : size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return countedAllocation(size == 0 ? 1 : size);
}

void operator delete(void* memory) noexcept {
    release(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    release(memory);
}

namespace ponmgr::bench {

void countAllocations() {
    cJSON_Hooks hooks{};
    hooks.malloc_fn = &countedAllocation;
    hooks.free_fn = &release;
    cJSON_InitHooks(&hooks);
}

AllocationCount::AllocationCount(benchmark::State& measured, std::size_t bytesOfOne)
    : state(measured), bytes(bytesOfOne), before(allocations) {}

AllocationCount::~AllocationCount() {
    state.counters["allocations"] = benchmark::Counter(static_cast<double>(allocations - before),
                                                       benchmark::Counter::kAvgIterations);
    state.counters["bytes"] = static_cast<double>(bytes);
}

}  // namespace ponmgr::bench
