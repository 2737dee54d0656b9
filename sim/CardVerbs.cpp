#include "sim/CardVerbs.h"

#include <nlohmann/json.hpp>

#include <optional>

#include "sim/CardReport.h"
#include "sim/ControlMembers.h"
#include "sim/NamedTable.h"
#include "sim/OptionValues.h"

namespace ponmgr::sim {

namespace {

struct StorageState {
    const char* name;
    Chassis::Storage storage;
};

constexpr StorageState kStorageStates[] = {
    {"as-it-was", Chassis::Storage::asItWas},
    {"factory", Chassis::Storage::factory},
};

Chassis::Storage storageMember(const Json& request) {
    if (!request.contains("storage")) {
        return Chassis::Storage::asItWas;
    }
    return entryNamed<ControlError>(kStorageStates, textMember(request, "storage"), "storage")
        .storage;
}

std::optional<Chassis::ProductCode> productCodeMember(const Json& request) {
    if (!request.contains("product_code")) {
        return std::nullopt;
    }
    return parseProductCode("product_code", textMember(request, "product_code"));
}

}  // namespace

Json pullCard(Chassis& chassis, const Json& request) {
    auto& card = cardMember(request, chassis);
    requirePresent(card);
    chassis.pull(card);
    return cardRow(card);
}

Json insertCard(Chassis& chassis, const Json& request) {
    auto& card = cardMember(request, chassis);
    if (card.present) {
        throw ControlError("slot " + std::to_string(card.slot) +
                           " holds a card; pull it first, or swap it");
    }
    const auto productCode = productCodeMember(request);
    chassis.insert(card, storageMember(request), productCode);
    return cardRow(card);
}

Json swapCard(Chassis& chassis, const Json& request) {
    auto& card = cardMember(request, chassis);
    chassis.swap(card, productCodeMember(request));
    return cardRow(card);
}

}  // namespace ponmgr::sim
