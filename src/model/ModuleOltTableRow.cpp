#include "model/ModuleOltTableRow.h"

#include <array>

namespace ponmgr {

namespace {

constexpr std::array kIndexes = {"ucOpticModuleOltSlotIndex", "ucOpticModuleOltPonIndex"};
constexpr std::array kReadings = {"ucOpticModuleOltTxPower", "ucOpticModuleOltVcc",
                                  "ucOpticModuleOltTxBias", "ucOpticModuleOltTemperature"};

}  // namespace

ModuleOltTableRow::ModuleOltTableRow() {
    for (const char* key : kIndexes) {
        values[key] = "";
    }
    initDefaultValues();
}

void ModuleOltTableRow::initDefaultValues() {
    for (const char* key : kReadings) {
        values[key] = "-";
    }
}

}  // namespace ponmgr
