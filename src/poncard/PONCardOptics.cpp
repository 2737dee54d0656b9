// Optical levels of the ONUs and of the card's own PON ports.

#include <array>

#include "app/Exception.h"
#include "poncard/PONCardHelper.h"
#include "poncard/PayloadTable.h"
#include "tk/TKHelper.h"

namespace ponmgr {

namespace {

using Conversion = std::string (*)(const std::string& raw);

/// A reading of the ONU's diagnosis: its key in the answer, its unit, and where it goes.
struct OnuReading {
    const char* key;
    Conversion convert;
    void (OnuLink::*store)(const std::string& text);
};
constexpr OnuReading kOnuReadings[] = {
    {"transceiver_temperature", &TKHelper::toCelsius_Temperature, &OnuLink::setTemperature},
    {"supply_vcc", &TKHelper::toVoltage_VCC, &OnuLink::setSupplyVoltage},
    {"tx_bias_current", &TKHelper::toMiliAmps_Current, &OnuLink::setTxBiasCurrent},
    {"tx_power_out", &TKHelper::todBm_Power, &OnuLink::setTxPowerOutput},
    {"tx_power_in", &TKHelper::todBm_Power, &OnuLink::setTxPowerInput},
};

/// A reading of the card's statistics: its element number, its unit, and its key in the module row.
/// In the order in which the row is filled.
struct PortReading {
    int element;
    Conversion convert;
    const char* key;
};
constexpr std::array kPortReadings = {
    PortReading{6, &TKHelper::toMiliAmps_Current, "ucOpticModuleOltTxBias"},
    PortReading{4, &TKHelper::todBm_Power, "ucOpticModuleOltTxPower"},
    PortReading{5, &TKHelper::toVoltage_VCC, "ucOpticModuleOltVcc"},
    PortReading{7, &TKHelper::toCelsius_Temperature, "ucOpticModuleOltTemperature"},
};
constexpr const char* kNoReading = "-";

/// Behind target and port: which statistics are asked for.
constexpr PayloadField kStatisticsSelector[] = {u16Field(11), u8Field(255), u8Field(4)};

constexpr std::uint16_t kPonPorts = 2;

using PortTexts = std::array<std::string, kPortReadings.size()>;

/// The readings found in the answer, in the order of kPortReadings; of several with one element the
/// last counts.
PortTexts readPort(const Container::List& statistics) {
    PortTexts texts;
    texts.fill(kNoReading);
    for (const auto& statistic : statistics) {
        const int element = std::stoi(statistic->getValue("result_id_val_element"));
        for (std::size_t i = 0; i < kPortReadings.size(); i++) {
            if (kPortReadings[i].element == element) {
                texts[i] = kPortReadings[i].convert(statistic->getValue("result_value"));
            }
        }
    }
    return texts;
}

}  // namespace

bool PONCardHelper::doGetAllOnuOpticsPower() {
    return guarded(__func__, [this] {
        clear();
        for (std::size_t i = 0; i < onuLinks.size(); i++) {
            OnuLink* const link = onuLinks.getOnuLinkFromIndex(i);
            if (link->getOnlineStatus() && doGetOnuOpticsPower(link)) {
                link->setStatusReported(false);
            }
        }
    });
}

bool PONCardHelper::doGetOnuOpticsPower(OnuLink* link) {
    const char* operation = __func__;
    return guarded(operation, [&] {
        TKMPayload payload;
        payload.addHex(link->getHexMacAddress());
        Container* const answer =
            exchange(&RequestMessage::addGetCTC21OpticalTransceiverDiagnosis, payload);
        if (answer == nullptr) {
            PONMGR_THROW_FROM("Container can't be null", operation);
        }
        if (answer->getValue("result") != "0") {
            return false;
        }
        link->clearHasModified();
        for (const OnuReading& reading : kOnuReadings) {
            (link->*reading.store)(reading.convert(answer->getValue(reading.key)));
        }
        return link->getHasModified();
    });
}

bool PONCardHelper::doGetAllOltOpticsPower() {
    return guarded(__func__, [this] {
        clear();
        for (std::uint16_t port = 0; port < kPonPorts; port++) {
            // Reported after every reading, changed or not: the database manager takes it for the
            // module's sign of life.
            if (doGetOltOpticsPower(port)) {
                card.setStatusReported(false);
            }
        }
    });
}

bool PONCardHelper::doGetOltOpticsPower(std::uint16_t port) {
    const char* operation = __func__;
    return guarded(operation, [&] {
        TKMPayload payload;
        payload.addU8Number(static_cast<std::uint8_t>(TKEntityTagId::OltPort));
        payload.addHex(card.getHexMacAddress()).addU16Number(port);
        addFields(payload, kStatisticsSelector);
        Container* const answer = exchange(&RequestMessage::addGetStatistics, payload);
        if (answer == nullptr) {
            PONMGR_THROW_FROM("Container can't be null", operation);
        }
        if (answer->getValue("result") != "0" || !answer->hasList("result_list_stats")) {
            return false;
        }
        ModuleOltTableRow* const row = card.getModuleOltTable(port);
        const PortTexts texts = readPort(answer->getList("result_list_stats"));
        for (std::size_t i = 0; i < texts.size(); i++) {
            row->setValue(kPortReadings[i].key, texts[i], false);
        }
        if (row->getHasModified()) {
            card.setStatusReported(false);
        }
        return true;
    });
}

}  // namespace ponmgr
