#include "sim/faults/FaultTable.h"

#include <algorithm>
#include <utility>

#include "sim/ControlJson.h"

namespace ponmgr::sim {

Fault& FaultTable::add(FaultSettings settings) {
    if (faults.size() >= kMostFaults) {
        throw ControlError("there are " + std::to_string(kMostFaults) +
                           " faults already, those that have ended included; remove some");
    }
    faults.push_back(std::make_unique<Fault>(++lastId, std::move(settings), now(), seed));
    return *faults.back();
}

bool FaultTable::remove(std::uint32_t id) {
    return std::erase_if(faults, [id](const auto& fault) { return fault->id() == id; }) > 0;
}

Fault* FaultTable::find(std::uint32_t id) const {
    const auto found = std::ranges::find(faults, id, [](const auto& fault) { return fault->id(); });
    return found == faults.end() ? nullptr : found->get();
}

}  // namespace ponmgr::sim
