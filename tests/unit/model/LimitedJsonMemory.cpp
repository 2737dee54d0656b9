#include "LimitedJsonMemory.h"

#include <cjson/cJSON.h>

#include <cstdlib>

namespace ponmgr::test {

namespace {

std::size_t left = 0;
bool refused = false;

void* allocate(std::size_t size) {
    if (left == 0) {
        refused = true;
        return nullptr;
    }
    left--;
    return std::malloc(size);
}

}  // namespace

LimitedJsonMemory::LimitedJsonMemory(std::size_t allowed) {
    left = allowed;
    refused = false;
    cJSON_Hooks hooks{&allocate, &std::free};
    cJSON_InitHooks(&hooks);
}

LimitedJsonMemory::~LimitedJsonMemory() {
    cJSON_InitHooks(nullptr);
}

bool LimitedJsonMemory::hasRefused() const {
    return refused;
}

}  // namespace ponmgr::test
