#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "model/OnuLink.h"

namespace ponmgr {

/// The ONU links of one card, in order of insertion. Look-ups by MAC address take the same time
/// however many links there are. Not synchronised: it belongs to whoever holds the card's mutex.
/// Pointers handed out stay the list's and live until the link is removed.
class OnuLinkList {
public:
    OnuLinkList() = default;
    OnuLinkList(const OnuLinkList&) = delete;
    OnuLinkList& operator=(const OnuLinkList&) = delete;

    std::size_t size() const { return links.size(); }

    /// Null when there is no such link. MAC addresses are compared as texts, case included.
    OnuLink* getOnuLinkFromIndex(std::size_t index);
    OnuLink* getOnuLinkFromMAC(const std::string& mac);

    /// Appends a new link; false, and nothing changed, when a link has that MAC already or there
    /// are kMostLinks.
    bool addOnuLink(const std::string& mac);
    /// Twice as many as a card can list, so that only invented ones are refused.
    static constexpr std::size_t kMostLinks = 512;

    /// Destroys the link; false when there is none.
    bool removeOnuFromMacAddress(const std::string& mac);
    bool removeOnuFromIndex(std::size_t index);

    void clear();

    /// {"onulist":[...]}, indented; "{}" when it can't be built.
    std::string getJsonData();

private:
    void rebuildIndexIfStale();

    std::vector<std::unique_ptr<OnuLink>> links;
    std::unordered_map<std::string, OnuLink*> linkOfMac;
    bool indexIsStale = false;
};

}  // namespace ponmgr
