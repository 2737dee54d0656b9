#include "benchmarks/exchange/HeldRecords.h"

#include <list>
#include <memory>
#include <stdexcept>

#include "benchmarks/exchange/ProductExchange.h"
#include "model/OnuLinkList.h"

namespace ponmgr::bench {

namespace {

constexpr int kCards = 8;

/// Reads the card's list of links into records, as the daemon does after a restart.
std::size_t readLinks(UDPSocket& socket, OnuLinkList& links) {
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
        links.addOnuLink(item->getValue("mac_address"));
    }
    return links.size();
}

}  // namespace

std::size_t holdRecords(const std::string& source, const std::string& base,
                        void (*report)(std::size_t onus)) {
    std::list<ProductExchange> cards;
    std::list<OnuLinkList> lists;
    std::size_t onus = 0;
    for (int card = 1; card <= kCards; card++) {
        cards.emplace_back(source, base + std::to_string(card));
        onus += readLinks(cards.back().getSocket(), lists.emplace_back());
    }
    report(onus);
    return onus;
}

}  // namespace ponmgr::bench
