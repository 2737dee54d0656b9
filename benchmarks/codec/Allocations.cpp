#include "benchmarks/codec/Allocations.h"

#include <cjson/cJSON.h>

#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

// The benchmarks run in one thread; a plain number is what disturbs them least. It goes on while
// they are timed: an addition for each use of new, beside the hundred or so of malloc itself.
std::uint64_t allocations = 0;

void* countedAllocation(std::size_t size) {
    allocations++;
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
    return std::malloc(size);
}

void release(void* memory) noexcept {
    std::free(memory);  // NOLINT(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
}

/// cJSON counts as long as this lives. It takes from malloc all the same, so that what it took may
/// be given back afterwards.
class CountedCJson {
public:
    CountedCJson() {
        cJSON_Hooks hooks{};
        hooks.malloc_fn = &countedAllocation;
        hooks.free_fn = &release;
        cJSON_InitHooks(&hooks);
    }
    CountedCJson(const CountedCJson&) = delete;
    CountedCJson& operator=(const CountedCJson&) = delete;
    // With hooks of any kind cJSON doesn't use realloc.
    ~CountedCJson() { cJSON_InitHooks(nullptr); }
};

}  // namespace

// The C++ library's forms for arrays call these four. Those for types that are aligned more
// strictly than malloc's memory don't, and aren't counted: no record or message has such a type.
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

double allocationsOf(const std::function<void()>& work) {
    constexpr int kCounted = 16;
    const CountedCJson counted;
    work();  // whatever it keeps for its next turn
    const std::uint64_t before = allocations;
    for (int i = 0; i < kCounted; i++) {
        work();
    }
    return static_cast<double>(allocations - before) / kCounted;
}

}  // namespace ponmgr::bench
