// The ONU links of the card: found, provisioned once, reported, and dropped.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "app/Exception.h"
#include "ipc/IPCWorker.h"
#include "poncard/PONCardHelper.h"
#include "poncard/PayloadTable.h"

namespace ponmgr {

namespace {

/// What a link says of its PON port until the card has been asked.
constexpr const char* kPortUnknown = "-";

/// The service level of every link and queue; its last field is the caller's.
constexpr PayloadField kServiceLevel[] = {
    u32Field(0),       u16Field(0xFFFF), u8Field(0xFF), u16Field(0xFFFF),
    u32Field(1000000), u16Field(200),    u8Field(2),
};
constexpr std::uint16_t kServiceLevelLast = 16;

constexpr PayloadField kLinkServiceTail[] = {u8Field(1), u8Field(2), u32Field(0), u32Field(0)};

/// Behind the ONU's MAC: its first Ethernet port, up.
constexpr PayloadField kEthernetPortUp[] = {
    u8Field(0x80), u8Field(1), u8Field(1), u8Field(0), u16Field(1),
    u8Field(1),    u8Field(1), u8Field(1), u8Field(1),
};

/// The dump file is written on one call in six.
constexpr unsigned kDumpCountdown = 5;

struct FileCloser {
    void operator()(FILE* file) const { std::fclose(file); }
};

/// Opens the dump file, emptied; null when that isn't possible. In /tmp anybody may have put
/// something else in its place: a symbolic link is not followed, so that no other file is emptied,
/// and a pipe, at which a write would wait for a reader, isn't written to.
FILE* openDump(const std::string& path) {
    constexpr mode_t kEverybodyReads = 0644;
    const int descriptor =
        open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
             kEverybodyReads);
    if (descriptor < 0) {
        return nullptr;
    }
    struct stat status {};
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        close(descriptor);
        return nullptr;
    }
    FILE* const opened = fdopen(descriptor, "w+");
    if (opened == nullptr) {
        close(descriptor);
    }
    return opened;
}

void addServiceLevel(TKMPayload& payload) {
    addFields(payload, kServiceLevel);
    payload.addU16Number(kServiceLevelLast);
}

/// The service level of one queue; its index is always 0, whatever the card's list says.
void addQueueServiceLevel(RequestMessage& requests, const std::string& endpoint) {
    TKMPayload payload;
    payload.addHex(endpoint).addU16Number(0);
    addServiceLevel(payload);
    requests.addSetQueueSLA(&payload);
}

/// The MAC addresses that an answer lists; none without an answer.
std::vector<std::string> linksListedIn(Container* answer) {
    std::vector<std::string> macs;
    if (answer != nullptr && answer->hasList("link_macs")) {
        for (const auto& item : answer->getList("link_macs")) {
            macs.push_back(item->getValue("mac_address"));
        }
    }
    return macs;
}

void printLinkNotFound(const char* operation, const std::string& mac) {
    printUnended(operation, " - ONU not found: ", mac);
}

}  // namespace

bool PONCardHelper::doGetAllOnuKnown(bool clearList) {
    const char* operation = __func__;
    return guarded(operation, [&] {
        isGetAllOnuKnown = false;
        clear();
        requests.addGetListOfAllKnownLogicalLinks();
        requests.addGetListOfDiscoveredLinks();
        sendRequestMessage();
        // By position: first the known links, then the discovered ones, which are on-line.
        const std::vector<std::string> known = linksListedIn(responses.getContainer(0));
        const std::vector<std::string> discovered = linksListedIn(responses.getContainer(1));
        const std::set<std::string> onlineLinks(discovered.begin(), discovered.end());
        if (clearList) {
            onuLinks.clear();
        }
        noteLinks(operation, known, onlineLinks);
        noteLinks(operation, discovered, onlineLinks);
        isGetAllOnuKnown = true;
    });
}

void PONCardHelper::noteLinks(const char* operation, const std::vector<std::string>& macs,
                              const std::set<std::string>& onlineLinks) {
    for (const std::string& mac : macs) {
        // Each gets its state at once. Were all known links off-line until the discovered ones are
        // gone through, a lack of memory in between would leave links in service to be cleared.
        const bool online = onlineLinks.contains(mac);
        onuLinks.addOnuLink(mac);
        OnuLink* const link = onuLinks.getOnuLinkFromMAC(mac);
        if (link == nullptr) {
            printLinkNotFound(operation, mac);
            continue;
        }
        // The reported flag stays: a link that only a refresh finds off-line is removed without a
        // word, the database manager hears of those that an alarm took off-line.
        link->setOnlineStatus(online);
        link->setSlotId(card.getSlotId());
    }
}

bool PONCardHelper::doGetAllOnuInformation() {
    return guarded(__func__, [this] {
        clear();
        for (std::size_t i = 0; i < onuLinks.size(); i++) {
            OnuLink* const link = onuLinks.getOnuLinkFromIndex(i);
            if (link->getOnlineStatus() && link->getPonPort() == kPortUnknown) {
                doGetOnuInformation(link);
            }
        }
    });
}

bool PONCardHelper::doGetOnuInformation(OnuLink* link) {
    const char* operation = __func__;
    return guarded(operation, [&] {
        TKMPayload payload;
        payload.addHex(link->getHexMacAddress());
        Container* const answer = exchange(&RequestMessage::addGetONUInformation, payload);
        if (answer == nullptr) {
            PONMGR_THROW_FROM("Container can't be null", operation);
        }
        if (answer->getValue("result") == "0") {
            link->setPonPort(answer->getValue("info_upstream_epon_port"));
        }
    });
}

bool PONCardHelper::doGetAllOnuQueue() {
    const char* operation = __func__;
    return guarded(operation, [&] {
        clear();
        TKMPayload payload;
        for (std::size_t i = 0; i < onuLinks.size(); i++) {
            const OnuLink* const link = onuLinks.getOnuLinkFromIndex(i);
            if (!link->getIsGigabit()) {
                payload.clear();
                payload.addHex(link->getHexMacAddress());
                requests.addGetOLTBridgingMode(&payload);
            }
        }
        if (requests.getAll().empty()) {
            return;
        }
        sendRequestMessage();
        for (std::size_t i = 0; i < responses.getContainerSize(); i++) {
            noteQueues(operation, *responses.getContainer(i));
        }
    });
}

void PONCardHelper::noteQueues(const char* operation, const Container& answer) {
    const std::string mac = answer.getValue("link");
    OnuLink* const link = onuLinks.getOnuLinkFromMAC(mac);
    if (link == nullptr) {
        printLinkNotFound(operation, mac);
        return;
    }
    link->setDownstreamQueue(answer.getValue("down_path_endpoint"));
    link->setUpstreamQueue(answer.getValue("up_path_endpoint"));
    link->setMultiCastQueue(answer.getValue("mcast_path_endpoint"));
}

void PONCardHelper::doSetAllOnuGigabit() {
    const char* operation = __func__;
    try {
        for (std::size_t i = 0; i < onuLinks.size(); i++) {
            OnuLink* const link = onuLinks.getOnuLinkFromIndex(i);
            provision(link);
            if (link->getStatusReported()) {
                continue;
            }
            doReportOnu(link);
            if (!link->getOnlineStatus()) {
                // Its off-line state is the last that is heard of it. The next link is now at this
                // index; at index 0 the step back wraps and the loop's step brings it to 0 again.
                onuLinks.removeOnuFromIndex(i--);
            }
        }
    } catch (const Exception& exception) {
        printLine(operation, "[", card.getSlotId(), "]: ", exception.what());
    } catch (...) {
        printUnknownError(operation);
    }
}

void PONCardHelper::provision(OnuLink* link) {
    if (!link->getIsGigabit()) {
        // Each step is tried whatever became of the one before.
        doSetEnableLink(link);
        doSetOnuGigabit(link);
        doSetMulticastOnuGigabit(link);
    }
    if (!link->getEthernetUpStatus() && link->getOnlineStatus()) {
        doSetEthernetToUpStatus(link);
    }
}

bool PONCardHelper::doSetEnableLink(OnuLink* link) {
    return guarded(__func__, [&] {
        TKMPayload payload;
        payload.addHex(link->getHexMacAddress());
        exchange(&RequestMessage::addEnableLink, payload);
    });
}

bool PONCardHelper::doSetOnuGigabit(OnuLink* link) {
    return guarded(__func__, [&] {
        clear();
        TKMPayload payload;
        payload.addHex(link->getHexMacAddress());
        addServiceLevel(payload);
        addFields(payload, kLinkServiceTail);
        requests.addSetLinkSLA(&payload);
        addQueueServiceLevel(requests, link->getDownstreamQueue());
        addQueueServiceLevel(requests, link->getUpstreamQueue());
        sendRequestMessage();
        link->setIsGigabit(true);
        link->setStatusReported(false);
    });
}

bool PONCardHelper::doSetMulticastOnuGigabit(OnuLink* link) {
    return guarded(__func__, [&] {
        clear();
        addQueueServiceLevel(requests, link->getMultiCastQueue());
        sendRequestMessage();
    });
}

bool PONCardHelper::doSetEthernetToUpStatus(OnuLink* link) {
    const bool accepted = guarded(__func__, [&] {
        TKMPayload payload;
        payload.addHex(link->getHexMacAddress());
        addFields(payload, kEthernetPortUp);
        exchange(&RequestMessage::addCTCSetEthernetPort, payload);
    });
    // Also when it failed, so that a link that refuses the command isn't commanded on every pass.
    link->setEthernetUpStatus(true);
    link->setStatusReported(false);
    return accepted;
}

void PONCardHelper::doReportOnu(OnuLink* link) {
    printFailures(__func__, [&] {
        IPCWorker::getInstance()->notify("/onu/new", link->getJsonData());
        link->setStatusReported(true);
    });
}

void PONCardHelper::doReportAllOnuOffline() {
    printFailures(__func__, [this] {
        Container slot;
        slot.setNewValue("slot_id", card.getSlotId());
        IPCWorker::getInstance()->notify("/onu/set/all/offline", slot.getJsonFile());
    });
}

bool PONCardHelper::removeAllOfflineOnu() {
    return guarded(__func__, [this] {
        clear();
        for (std::size_t i = 0; i < onuLinks.size(); i++) {
            const OnuLink* const link = onuLinks.getOnuLinkFromIndex(i);
            if (!link->getOnlineStatus()) {
                clearAllProvisioningForLogicalLink(link->getHexMacAddress());
                onuLinks.removeOnuFromIndex(i--);
            }
        }
    });
}

bool PONCardHelper::clearAllLogicalLink() {
    return guarded(__func__, [this] {
        clear();
        for (std::size_t i = 0; i < onuLinks.size(); i++) {
            clearAllProvisioningForLogicalLink(onuLinks.getOnuLinkFromIndex(i)->getHexMacAddress());
        }
        onuLinks.clear();
    });
}

void PONCardHelper::removeMacFromOnuList(const std::string& mac) {
    printFailures(__func__, [&] { onuLinks.removeOnuFromMacAddress(mac); });
}

void PONCardHelper::clearAllOnuLink() {
    printFailures(__func__, [this] { onuLinks.clear(); });
}

void PONCardHelper::doOnuListDump() {
    printFailures(__func__, [this] {
        if (dumpCountdown != 0) {
            dumpCountdown--;
            return;
        }
        const std::string path = "/tmp/onu-" + card.getSlotId() + ".log";
        const std::string text = onuLinks.getJsonData() + "\n";
        const std::unique_ptr<FILE, FileCloser> file(openDump(path));
        if (file) {
            std::fwrite(text.data(), 1, text.size(), file.get());
        }
        dumpCountdown = kDumpCountdown;
    });
}

}  // namespace ponmgr
