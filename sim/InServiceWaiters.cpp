#include "sim/InServiceWaiters.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>
#include <utility>

namespace ponmgr::sim {

namespace {

Json allCardsReply(Chassis& chassis) {
    auto slots = Json::array();
    for (const auto& card : chassis.cards()) {
        slots.push_back(card.slot);
    }
    return {{"in_service", slots}};
}

Json timeoutReply(Chassis& chassis) {
    auto cards = Json::array();
    std::string text;
    for (const auto& card : chassis.cards()) {
        const auto reasons = card.whyNotInService();
        if (reasons.empty()) {
            continue;
        }
        text += (text.empty() ? "slot " : "; slot ") + std::to_string(card.slot) + ": ";
        for (const auto reason : reasons) {
            text += (reason == reasons.front() ? "" : ", ") + std::string(reason);
        }
        cards.push_back({{"slot", card.slot}, {"why", reasons}});
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

bool InServiceWaiters::allInService() const {
    return std::ranges::all_of(chassis.cards(), &Card::isInService);
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
