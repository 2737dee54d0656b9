#include "model/OnuLinkList.h"

#include <algorithm>
#include <utility>

#include "model/JsonHelper.h"

namespace ponmgr {

OnuLink* OnuLinkList::getOnuLinkFromIndex(std::size_t index) {
    return index < links.size() ? links[index].get() : nullptr;
}

OnuLink* OnuLinkList::getOnuLinkFromMAC(const std::string& mac) {
    rebuildIndexIfStale();
    const auto found = linkOfMac.find(mac);
    return found == linkOfMac.end() ? nullptr : found->second;
}

bool OnuLinkList::addOnuLink(const std::string& mac) {
    if (getOnuLinkFromMAC(mac) != nullptr || links.size() >= kMostLinks) {
        return false;
    }
    auto link = std::make_unique<OnuLink>(mac);
    link->beforeMacAddressChanges([this] { indexIsStale = true; });
    links.push_back(std::move(link));
    try {
        linkOfMac.emplace(mac, links.back().get());
    } catch (...) {
        // Both have the link, or neither: one without a state would count as off-line.
        links.pop_back();
        throw;
    }
    return true;
}

bool OnuLinkList::removeOnuFromMacAddress(const std::string& mac) {
    const OnuLink* link = getOnuLinkFromMAC(mac);
    const auto found = std::find_if(links.begin(), links.end(),
                                    [link](const auto& owned) { return owned.get() == link; });
    return removeOnuFromIndex(static_cast<std::size_t>(found - links.begin()));
}

bool OnuLinkList::removeOnuFromIndex(std::size_t index) {
    if (index >= links.size()) {
        return false;
    }
    rebuildIndexIfStale();
    const auto indexed = linkOfMac.find(links[index]->getMacAddress());
    if (indexed != linkOfMac.end() && indexed->second == links[index].get()) {
        linkOfMac.erase(indexed);
        // Two links share a MAC only after setJsonData has made it so; the other one is found then.
        indexIsStale = linkOfMac.size() + 1 != links.size();
    }
    links.erase(links.begin() + static_cast<std::ptrdiff_t>(index));
    return true;
}

void OnuLinkList::clear() {
    linkOfMac.clear();
    links.clear();
    links.shrink_to_fit();
    indexIsStale = false;
}

std::string OnuLinkList::getJsonData() {
    try {
        JsonPointer array = JsonHelper::createArray();
        for (const auto& link : links) {
            JsonHelper::addToArray(array.get(), JsonHelper::parseJObject(link->getJsonData()));
        }
        const JsonPointer object = JsonHelper::createObject();
        JsonHelper::addToObject(object.get(), "onulist", std::move(array));
        return JsonHelper::toString(object.get(), false);
    } catch (...) {
        return "{}";
    }
}

void OnuLinkList::rebuildIndexIfStale() {
    if (!indexIsStale) {
        return;
    }
    linkOfMac.clear();
    for (const auto& link : links) {
        linkOfMac.emplace(link->getMacAddress(), link.get());
    }
    indexIsStale = false;
}

}  // namespace ponmgr
