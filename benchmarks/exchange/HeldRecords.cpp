#include "benchmarks/exchange/HeldRecords.h"

#include <list>
#include <stdexcept>

#include "benchmarks/exchange/ProductExchange.h"
#include "benchmarks/support/ResidentMemory.h"
#include "model/OnuLinkList.h"

namespace ponmgr::bench {

namespace {

constexpr int kCards = 8;

/// As the daemon does for an ONU that is in service.
void fill(OnuLink& onu, const std::string& slot) {
    onu.setSlotId(slot);
    onu.setPonPort("1");
    onu.setTemperature("41.50");
    onu.setSupplyVoltage("3.30");
    onu.setTxBiasCurrent("12.00");
    onu.setTxPowerInput("-14.20");
    onu.setTxPowerOutput("2.10");
    onu.setDownstreamQueue("4000");
    onu.setUpstreamQueue("4001");
    onu.setMultiCastQueue("4002");
    onu.setIsGigabit(true);
    onu.setEthernetUpStatus(true);
    onu.setOnlineStatus(true);
    onu.setStatusReported(true);
}

/// Reads the card's list of links into records, as the daemon does after a restart.
std::size_t readLinks(UDPSocket& socket, OnuLinkList& links, const std::string& slot) {
    RequestMessage requests;
    ResponseMessage responses;
    requests.addGetListOfDiscoveredLinks();
    socket.sendRequestMessage(&requests, &responses);
    responses.parseAllMessages();
    Container* const answer = responses.getContainer(0);
    if (answer == nullptr || !answer->hasList("link_macs")) {
        throw std::runtime_error("the card lists no links");
    }
    for (const auto& item : answer->getList("link_macs")) {
        const std::string mac = item->getValue("mac_address");
        links.addOnuLink(mac);
        fill(*links.getOnuLinkFromMAC(mac), slot);
    }
    return links.size();
}

}  // namespace

HeldMemory holdRecords(const std::string& source, const std::string& base) {
    std::list<ProductExchange> cards;
    for (int card = 1; card <= kCards; card++) {
        cards.emplace_back(source, base + std::to_string(card)).exchange(1);
    }
    HeldMemory held;
    held.baseBytes = residentBytes();
    std::list<OnuLinkList> lists;
    int slot = 1;
    for (ProductExchange& card : cards) {
        held.rows += readLinks(card.getSocket(), lists.emplace_back(), std::to_string(slot++));
    }
    held.allBytes = residentBytes();
    return held;
}

}  // namespace ponmgr::bench
