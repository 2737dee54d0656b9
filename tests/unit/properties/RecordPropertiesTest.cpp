// Records, printed as JSON and read into another record of the same layout.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <memory>
#include <string>
#include <utility>

#include "Property.h"
#include "model/Container.h"
#include "model/JsonHelper.h"
#include "model/ModuleOltTableRow.h"
#include "model/OltAlarmTableRow.h"
#include "model/OnuLinkList.h"
#include "model/PONCard.h"

namespace ponmgr {
namespace {

using test::any;
using test::anyNumber;
using test::anyText;
using test::inRandomCases;
using test::require;
using test::requireEqual;

constexpr int kCases = 200;
constexpr std::size_t kPorts[] = {0, 1};

/// A text of a record, and a flag of one.
template <typename Record>
struct TextField {
    void (Record::*set)(const std::string&);
    std::string (Record::*get)() const;
    const char* key;
};
template <typename Record>
struct FlagField {
    void (Record::*set)(bool);
    bool (Record::*get)() const;
    const char* key;
};

constexpr TextField<OnuLink> kLinkTexts[] = {
    {&OnuLink::setPonPort, &OnuLink::getPonPort, "pon_port"},
    {&OnuLink::setTemperature, &OnuLink::getTemperature, "temperature"},
    {&OnuLink::setSupplyVoltage, &OnuLink::getSupplyVoltage, "supply_voltage"},
    {&OnuLink::setTxBiasCurrent, &OnuLink::getTxBiasCurrent, "tx_bias_current"},
    {&OnuLink::setTxPowerInput, &OnuLink::getTxPowerInput, "tx_power_input"},
    {&OnuLink::setTxPowerOutput, &OnuLink::getTxPowerOutput, "tx_power_output"},
    {&OnuLink::setDownstreamQueue, &OnuLink::getDownstreamQueue, "downstream_queue"},
    {&OnuLink::setUpstreamQueue, &OnuLink::getUpstreamQueue, "upstream_queue"},
    {&OnuLink::setMultiCastQueue, &OnuLink::getMultiCastQueue, "mcast_queue"},
    {&OnuLink::addAlarmMessage, &OnuLink::getAlarmMessage, "alarm_message"},
    {&OnuLink::setSlotId, &OnuLink::getSlotId, "slot_id"},
};
constexpr FlagField<OnuLink> kLinkFlags[] = {
    {&OnuLink::setIsGigabit, &OnuLink::getIsGigabit, "is_gigabit"},
    {&OnuLink::setEthernetUpStatus, &OnuLink::getEthernetUpStatus, "ether_up_status"},
    {&OnuLink::setOnlineStatus, &OnuLink::getOnlineStatus, "online_status"},
    {&OnuLink::setStatusReported, &OnuLink::getStatusReported, "status_reported"},
};

constexpr TextField<PONCard> kCardTexts[] = {
    {&PONCard::setMacAddress, &PONCard::getMacAddress, "mac_address"},
    {&PONCard::setSlotId, &PONCard::getSlotId, "slot_id"},
    {&PONCard::setAppVersion, &PONCard::getAppVersion, "app_version"},
};
constexpr FlagField<PONCard> kCardFlags[] = {
    {&PONCard::setOnlineStatus, &PONCard::getOnlineStatus, "online_status"},
    {&PONCard::setStatusReported, &PONCard::getStatusReported, "status_reported"},
    {&PONCard::setNVSEnabled, &PONCard::getNVSEnabled, "nvs_enabled"},
};
constexpr const char* kModuleTexts[] = {
    "ucOpticModuleOltSlotIndex", "ucOpticModuleOltPonIndex", "ucOpticModuleOltTxPower",
    "ucOpticModuleOltVcc",       "ucOpticModuleOltTxBias",   "ucOpticModuleOltTemperature",
};
constexpr const char* kAlarmTexts[] = {"label", "alarm", "state", "slot_id", "datetime"};

template <typename Record, typename Texts, typename Flags>
void fill(Record& record, const Texts& texts, const Flags& flags) {
    for (const auto& field : texts) {
        (record.*field.set)(anyText(field.key));
    }
    for (const auto& field : flags) {
        (record.*field.set)(any<bool>(field.key));
    }
}

/// Both say the same through their getters, and so does the JSON when another library reads it.
template <typename Record, typename Texts, typename Flags>
void requireSame(const Record& read, const Record& written, const nlohmann::json& json,
                 const Texts& texts, const Flags& flags) {
    for (const auto& field : texts) {
        const auto text = (written.*field.get)();
        requireEqual((read.*field.get)(), text, field.key);
        requireEqual(json.at(field.key).template get<std::string>(), text, field.key);
    }
    for (const auto& field : flags) {
        const bool flag = (written.*field.get)();
        requireEqual((read.*field.get)(), flag, field.key);
        requireEqual(json.at(field.key).template get<std::string>(), flag ? "1" : "0", field.key);
    }
}

void fillRow(Container& row, const auto& keys) {
    for (const char* key : keys) {
        row.setValue(key, anyText(key), true);
    }
}

void requireSameRow(const Container& read, const Container& written, const nlohmann::json& json,
                    const auto& keys) {
    for (const char* key : keys) {
        const auto text = written.getValue(key);
        requireEqual(read.getValue(key), text, key);
        requireEqual(json.at(key).template get<std::string>(), text, key);
    }
}

TEST(RecordProperties, AnOnuLinkIsReadBackFromItsJson) {
    inRandomCases(kCases, [] {
        OnuLink written(anyText("mac_address"));
        fill(written, kLinkTexts, kLinkFlags);
        const auto text = written.getJsonData();
        OnuLink read("00:00:00:00:00:00");
        require(read.setJsonData(text), "keys are found");
        const auto json = nlohmann::json::parse(text);
        requireSame(read, written, json, kLinkTexts, kLinkFlags);
        requireEqual(read.getMacAddress(), written.getMacAddress(), "mac_address");
        requireEqual(json.at("mac_address").get<std::string>(), written.getMacAddress(),
                     "mac_address");
        requireEqual(read.getJsonData(), text, "the JSON printed again");
    });
}

TEST(RecordProperties, AnOnuLinkListIsReadBackLinkByLink) {
    inRandomCases(kCases, [] {
        OnuLinkList list;
        for (auto left = anyNumber("links", 0, 4); left > 0; --left) {
            list.addOnuLink(anyText("mac_address"));
        }
        for (std::size_t i = 0; i < list.size(); i++) {
            list.getOnuLinkFromIndex(i)->setSlotId(anyText("slot_id"));
            list.getOnuLinkFromIndex(i)->setOnlineStatus(any<bool>("online_status"));
        }
        const auto tree = JsonHelper::parseJObject(list.getJsonData());
        const cJSON* rows = cJSON_GetObjectItemCaseSensitive(tree.get(), "onulist");
        requireEqual(static_cast<std::uint64_t>(cJSON_GetArraySize(rows)), list.size(), "links");
        for (std::size_t i = 0; i < list.size(); i++) {
            OnuLink read("00:00:00:00:00:00");
            read.setJsonData(
                JsonHelper::toString(cJSON_GetArrayItem(rows, static_cast<int>(i)), true));
            requireEqual(read.getJsonData(), list.getOnuLinkFromIndex(i)->getJsonData(), "a link");
        }
    });
}

TEST(RecordProperties, ACardIsReadBackFromItsJsonWithItsModules) {
    inRandomCases(kCases, [] {
        PONCard written;
        fill(written, kCardTexts, kCardFlags);
        for (const auto port : kPorts) {
            fillRow(*written.getModuleOltTable(port), kModuleTexts);
        }
        const auto text = written.getJsonData();
        PONCard read;
        require(read.setJsonData(text), "keys are found");
        const auto json = nlohmann::json::parse(text);
        requireSame(read, written, json, kCardTexts, kCardFlags);
        for (const auto port : kPorts) {
            requireSameRow(*read.getModuleOltTable(port), *written.getModuleOltTable(port),
                           json.at("module_olt_table").at(port), kModuleTexts);
        }
        requireEqual(read.getJsonData(), text, "the JSON printed again");
    });
}

template <typename Row>
void checkRow(const auto& keys) {
    Row written;
    fillRow(written, keys);
    written.setId(any<std::uint32_t>("id"));
    const auto text = written.getJsonData(any<bool>("compact"), nullptr, 0);
    Row read;
    require(read.setJsonData(text, true), "keys are found");
    requireSameRow(read, written, nlohmann::json::parse(text), keys);
    requireEqual(read.getId(), written.getId(), "id");
    requireEqual(read.getJsonFile(), written.getJsonFile(), "the JSON printed again");
}

TEST(RecordProperties, AModuleRowIsReadBackFromItsJson) {
    inRandomCases(kCases, [] { checkRow<ModuleOltTableRow>(kModuleTexts); });
}

TEST(RecordProperties, AnAlarmRowIsReadBackFromItsJson) {
    inRandomCases(kCases, [] { checkRow<OltAlarmTableRow>(kAlarmTexts); });
}

constexpr unsigned kDepth = 3;

/// A name that the record has neither as a key nor as a list.
std::string newName(const Container& record, const char* name) {
    auto text = anyText(name);
    while (record.hasKey(text) || record.hasList(text)) {
        text += '+';
    }
    return text;
}

/// Gives both records the same keys and lists; `written` with values, `blank` without. Returns the
/// JSON that `written` should print.
nlohmann::json fillAlike(Container& written, Container& blank, unsigned depth) {
    nlohmann::json json{{"id", "0"}};
    for (auto left = anyNumber("values", 0, 4); left > 0; --left) {
        const auto key = newName(written, "key");
        const auto value = anyText("value");
        written.setNewValue(key, value);
        blank.setNewValue(key, "");
        json[key] = value;
    }
    for (auto left = depth == 0 ? 0 : anyNumber("lists", 0, 2); left > 0; --left) {
        const auto list = newName(written, "list");
        written.clearList(list);
        blank.clearList(list);
        json[list] = nlohmann::json::array();
        for (auto items = anyNumber("items", 0, 2); items > 0; --items) {
            auto item = std::make_unique<Container>();
            auto blankItem = std::make_unique<Container>();
            json[list].push_back(fillAlike(*item, *blankItem, depth - 1));
            written.addItemToList(list, std::move(item));
            blank.addItemToList(list, std::move(blankItem));
        }
    }
    return json;
}

void requireJson(const std::string& text, const nlohmann::json& expected) {
    require(nlohmann::json::parse(text) == expected,
            "the JSON is\n" + text + "\nand should be\n" + expected.dump());
}

TEST(RecordProperties, ARecordOfAnyLayoutIsReadBackFromItsJson) {
    inRandomCases(kCases, [] {
        Container written;
        Container read;
        auto json = fillAlike(written, read, kDepth);
        written.setId(any<std::uint32_t>("id"));
        const bool takeId = any<bool>("take the id");
        const auto text = written.getJsonData(any<bool>("compact"), nullptr, 0);
        read.setJsonData(text, takeId);
        json["id"] = written.getValue("id");
        requireJson(text, json);
        json["id"] = takeId ? written.getValue("id") : "0";
        requireJson(read.getJsonFile(), json);
    });
}

TEST(RecordProperties, ARecordIsMarkedModifiedOnlyWhenItsJsonSaysAnotherThing) {
    inRandomCases(kCases, [] {
        OltAlarmTableRow written;
        OltAlarmTableRow read;
        for (const char* key : kAlarmTexts) {
            const auto text = anyText(key);
            written.setValue(key, text, true);
            read.setValue(key, any<bool>("the same") ? text : anyText(key), true);
        }
        read.clearHasModified();
        const bool differs = read.getJsonFile() != written.getJsonFile();
        read.setJsonData(written.getJsonFile(), false);
        requireEqual(read.getHasModified(), differs, "modified");
        requireEqual(read.getJsonFile(), written.getJsonFile(), "the JSON printed again");
    });
}

}  // namespace
}  // namespace ponmgr
