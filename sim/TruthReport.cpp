#include "sim/TruthReport.h"

#include <nlohmann/json.hpp>

namespace ponmgr::sim {

namespace {

/// The only cards that a manager takes on.
constexpr Chassis::ProductCode kManagedProductCode{0x37, 0x23};

Json cardOf(const Card& card) {
    return {{"slot", card.slot},
            {"mac", toText(card.identity.mac)},
            {"online", card.present && !card.resetting},
            {"managed", card.identity.productCode == kManagedProductCode}};
}

Json onuOf(const Onu& onu) {
    return {{"onu", toText(onu.address)},
            {"mac", toText(onu.mac)},
            {"slot", onu.slot},
            {"port", onu.port},
            {"online", onu.discovered}};
}

}  // namespace

Json truth(Chassis& chassis, const Json&) {
    auto cards = Json::array();
    auto onus = Json::array();
    for (const auto& card : chassis.cards()) {
        cards.push_back(cardOf(card));
        for (const auto& onu : card.onus) {
            onus.push_back(onuOf(onu));
        }
    }
    return {{"cards", cards}, {"onus", onus}};
}

}  // namespace ponmgr::sim
