// JSON into every record of the daemon, and back.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "RecordRoundTrip.h"
#include "Require.h"
#include "app/Exception.h"
#include "model/Container.h"
#include "model/ModuleOltTableRow.h"
#include "model/OltAlarmTableRow.h"
#include "model/OnuLink.h"
#include "model/PONCard.h"

using ponmgr::fuzz::require;

namespace {

constexpr const char* kUnchanged = "a refused text changes nothing";

/// Takes the text, prints, takes what was printed, prints again.
template <typename Record>
void roundTrip(Record& record, const std::string& text) {
    const std::string before = record.getJsonData();
    try {
        record.setJsonData(text);
    } catch (const ponmgr::Exception&) {
        require(record.getJsonData() == before, kUnchanged);
    }
    const std::string printed = record.getJsonData();
    record.setJsonData(printed);
    require(record.getJsonData() == printed, "a record that was parsed prints the same again");
}

void roundTripWithId(ponmgr::Container& record, const std::string& text) {
    const std::string before = record.getJsonFile();
    try {
        record.setJsonData(text, true);
    } catch (const ponmgr::Exception&) {
        require(record.getJsonFile() == before, kUnchanged);
    }
    ponmgr::fuzz::requireRoundTrip(record);
}

/// A record with a list in a list, as a tree of its own.
void nestedRecord(const std::string& text) {
    ponmgr::Container record;
    record.setNewValue("name", "");
    for (int i = 0; i < 2; i++) {
        auto item = std::make_unique<ponmgr::Container>();
        item->setNewValue("value", "");
        item->addItemToList("rows", std::make_unique<ponmgr::OltAlarmTableRow>());
        record.addItemToList("list", std::move(item));
    }
    roundTripWithId(record, text);
    require(record.getListSize("list") == 2, "JSON makes and removes no items");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    ponmgr::fuzz::silenceOutput();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    ponmgr::OnuLink link("00:0d:b6:00:00:03");
    roundTrip(link, text);
    (void)link.getHexMacAddress();
    ponmgr::PONCard card;
    roundTrip(card, text);
    ponmgr::OltAlarmTableRow alarm;
    roundTripWithId(alarm, text);
    ponmgr::ModuleOltTableRow module;
    roundTripWithId(module, text);
    nestedRecord(text);
    return 0;
}
