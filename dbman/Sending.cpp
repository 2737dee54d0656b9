#include "dbman/Sending.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace ponmgr::dbman {

namespace {

constexpr auto kNotTaken = "the daemon listens but takes no message; it may get it later";

bool isThere(const std::future<std::string>& text) {
    return text.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

Delivery takeDelivery(Sending::News& news) {
    using State = Delivery::State;
    if (isThere(news.result)) {
        auto why = news.result.get();
        const auto state = why.empty() ? State::taken : State::failed;
        return {state, std::move(why)};
    }
    if (isThere(news.failedTry)) {
        return {State::triedAgain, news.failedTry.get()};
    }
    return {State::waiting, kNotTaken};
}

}  // namespace

Sending::Sending(std::vector<News> news, Clock::time_point limit)
    : messages(std::move(news)), waitLimit(limit) {}

bool Sending::isSettled() const {
    return Clock::now() >= waitLimit ||
           std::all_of(messages.begin(), messages.end(), [](const News& news) {
               return isThere(news.result) || isThere(news.failedTry);
           });
}

std::vector<Delivery> Sending::takeDeliveries() {
    std::vector<Delivery> deliveries;
    deliveries.reserve(messages.size());
    std::transform(messages.begin(), messages.end(), std::back_inserter(deliveries), takeDelivery);
    return deliveries;
}

std::string Sending::takeFailure() {
    const auto deliveries = takeDeliveries();
    const auto isFailed = [](const Delivery& delivery) {
        return delivery.state != Delivery::State::taken;
    };
    const auto first = std::find_if(deliveries.begin(), deliveries.end(), isFailed);
    if (first == deliveries.end()) {
        return "";
    }
    if (deliveries.size() == 1) {
        return "not sent: " + first->why;
    }
    return std::to_string(std::count_if(first, deliveries.end(), isFailed)) + " of " +
           std::to_string(deliveries.size()) + " messages not sent: " + first->why;
}

}  // namespace ponmgr::dbman
