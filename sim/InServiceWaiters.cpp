#include "sim/InServiceWaiters.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "sim/LinkProvisioning.h"
#include "sim/NamedTable.h"

namespace ponmgr::sim {

namespace {

/// Of a card; a chassis has 1984, and a person needs an example. The list in JSON is whole.
constexpr std::size_t kMostOnusInText = 3;

Json allCardsReply(Chassis& chassis) {
    auto slots = Json::array();
    for (const auto& card : chassis.cards()) {
        if (card.present) {
            slots.push_back(card.slot);
        }
    }
    return {{"in_service", slots}};
}

bool isMissing(const Card& card, const Onu& onu) {
    return card.reaches(onu) && !(onu.discovered && isProvisioned(card.configuration, onu));
}

std::vector<std::string_view> whatIsMissing(const Card& card, const Onu& onu) {
    auto missing = missingProvisioning(card.configuration, onu);
    if (!onu.discovered) {
        missing.insert(missing.begin(), "not on-line");
    }
    return missing;
}

/// An ONU that isn't on-line and provisioned and could be; null when there is none. The one that
/// was found last is looked at first.
const Onu* findMissing(const Card& card, const Onu* last) {
    if (last != nullptr && last->slot == card.slot && isMissing(card, *last)) {
        return last;
    }
    const auto found =
        std::ranges::find_if(card.onus, [&](const Onu& onu) { return isMissing(card, onu); });
    return found == card.onus.end() ? nullptr : &*found;
}

Json missingOnus(const Card& card) {
    auto list = Json::array();
    for (const auto& onu : card.onus) {
        if (isMissing(card, onu)) {
            list.push_back({{"onu", toText(onu.address)}, {"missing", whatIsMissing(card, onu)}});
        }
    }
    return list;
}

/// "2 ONUs are not ready: 1/0/0 (not enabled, no link SLA), 1/0/1 (not on-line)".
std::string describeOnus(const Json& onus) {
    std::string text = std::to_string(onus.size()) + " ONUs are not ready: ";
    for (std::size_t i = 0; i < std::min(onus.size(), kMostOnusInText); ++i) {
        text += (i == 0 ? "" : ", ") + onus[i].at("onu").get<std::string>() + " (" +
                joined(onus[i].at("missing").get<std::vector<std::string>>()) + ')';
    }
    return onus.size() <= kMostOnusInText ? text : text + ", ...";
}

Json timeoutReply(Chassis& chassis) {
    auto cards = Json::array();
    std::string text;
    for (const auto& card : chassis.cards()) {
        const auto reasons =
            card.present ? card.whyNotInService() : std::vector<std::string_view>{};
        const auto onus = missingOnus(card);
        std::vector<std::string> phrases(reasons.begin(), reasons.end());
        if (!onus.empty()) {
            phrases.push_back(describeOnus(onus));
        }
        if (phrases.empty()) {
            continue;
        }
        text += (text.empty() ? "slot " : "; slot ") + std::to_string(card.slot) + ": " +
                joined(phrases);
        cards.push_back({{"slot", card.slot}, {"why", reasons}, {"onus", onus}});
    }
    return {{"error", "time is up; not in service: " + text}, {"not_in_service", cards}};
}

}  // namespace

InServiceWaiters::InServiceWaiters(Chassis& cards, TimerQueue& queue)
    : chassis(cards), timers(queue) {}

InServiceWaiters::~InServiceWaiters() {
    for (const auto& waiter : waiters) {
        timers.cancel(waiter.timer);
    }
}

bool InServiceWaiters::allInService() {
    const auto& cards = chassis.cards();
    for (std::size_t i = 0; i < cards.size(); ++i) {
        const auto& card = cards[lateCard];
        lateOnu = findMissing(card, lateOnu);
        if (lateOnu != nullptr || (card.present && !card.isInService())) {
            return false;
        }
        lateCard = (lateCard + 1) % cards.size();
    }
    return true;
}

void InServiceWaiters::add(const ReplyChannelPointer& channel, Duration timeout) {
    const auto waiter = waiters.insert(waiters.end(), {channel, {}});
    waiter->timer = timers.after(timeout, [this, waiter] { giveUp(waiter); });
    check();
}

void InServiceWaiters::check() {
    if (waiters.empty()) {
        return;
    }
    const bool satisfied = allInService();
    std::list<Waiter> done;
    for (auto next = waiters.begin(); next != waiters.end();) {
        const auto waiter = next++;
        if (satisfied || waiter->channel.expired()) {
            timers.cancel(waiter->timer);
            done.splice(done.end(), waiters, waiter);
        }
    }
    // Replying may bring the next request of the same client in here.
    for (const auto& waiter : done) {
        if (const auto channel = waiter.channel.lock()) {
            channel->reply(allCardsReply(chassis));
        }
    }
}

void InServiceWaiters::giveUp(std::list<Waiter>::iterator waiter) {
    const auto channel = waiter->channel.lock();
    waiters.erase(waiter);
    if (channel) {
        channel->reply(allInService() ? allCardsReply(chassis) : timeoutReply(chassis));
    }
}

}  // namespace ponmgr::sim
