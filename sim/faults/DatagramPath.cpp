#include "sim/faults/DatagramPath.h"

#include <algorithm>
#include <utility>

namespace ponmgr::sim {

namespace {

constexpr std::string_view kDroppedByFault = "dropped by a fault";
constexpr std::string_view kTooManyWait = "too many wait";
constexpr std::string_view kRefused = "the system refused to send it";
constexpr std::string_view kWithoutItsFault = "its fault is removed";

bool sameBytes(const std::vector<std::uint8_t>& left, std::span<const std::uint8_t> right) {
    return std::ranges::equal(left, right);
}

}  // namespace

DatagramPath::DatagramPath(TimerQueue& queue, FaultTable& table, Journal& diary, Arrive taker,
                           Depart sender)
    : timers(queue),
      faults(table),
      journal(diary),
      arrive(std::move(taker)),
      depart(std::move(sender)) {}

void DatagramPath::receive(int slot, Endpoint local, Endpoint from,
                           std::span<const std::uint8_t> datagram) {
    Passage passage{slot, Direction::toCard, local, from, datagram, {}, {}, {}, true};
    if (isPlain()) {
        arriveAt(slot, from, journal.record(passage), datagram, false);
        return;
    }
    auto treatment = treat(slot, Direction::toCard, local, datagram);
    passage.faults = treatment.faults;
    if (!sameBytes(treatment.bytes, datagram)) {
        passage.cardBytes = treatment.bytes;
    }
    if (treatment.dropped) {
        passage.dropped = kDroppedByFault;
    }
    const auto number = journal.record(passage);
    if (!treatment.dropped) {
        forward({slot,
                 Direction::toCard,
                 local,
                 from,
                 treatment.bytes,
                 {},
                 treatment.faults,
                 treatment.copies,
                 number,
                 treatment.pretended},
                treatment);
    }
}

bool DatagramPath::send(int slot, Endpoint local, Endpoint to,
                        std::span<const std::uint8_t> datagram) {
    Passage passage{slot, Direction::fromCard, local, to, datagram, {}, {}, {}, true};
    if (isPlain()) {
        return departFrom(passage);
    }
    auto treatment = treat(slot, Direction::fromCard, local, datagram);
    if (treatment.dropped) {
        passage.faults = treatment.faults;
        passage.dropped = kDroppedByFault;
        passage.onTheWire = false;
        journal.record(passage);
        return true;
    }
    Parcel parcel{slot,
                  Direction::fromCard,
                  {local.address, treatment.localPort},
                  to,
                  treatment.bytes,
                  {},
                  treatment.faults,
                  treatment.copies,
                  0,
                  false};
    if (!sameBytes(parcel.bytes, datagram)) {
        parcel.original.emplace(datagram.begin(), datagram.end());
    }
    return forward(std::move(parcel), treatment);
}

bool DatagramPath::sendOfFault(std::uint32_t fault, int slot, Endpoint local, Endpoint to,
                               std::span<const std::uint8_t> datagram) {
    return departFrom(
        {slot, Direction::fromCard, local, to, datagram, {}, std::span(&fault, 1), {}, true});
}

bool DatagramPath::onBehalfOf(std::uint32_t fault, const std::function<bool()>& action) {
    origin = fault;
    const bool done = action();
    origin = 0;
    return done;
}

Treatment DatagramPath::treat(int slot, Direction direction, Endpoint local,
                              std::span<const std::uint8_t> bytes) {
    Treatment treatment;
    treatment.slot = slot;
    treatment.bytes.assign(bytes.begin(), bytes.end());
    treatment.cardPort = local.port;
    treatment.localPort = local.port;
    if (origin != 0) {
        treatment.faults.push_back(origin);
    }
    const auto now = timers.now();
    for (const auto& fault : faults.all()) {
        if (treatment.dropped) {
            break;
        }
        if (fault->concerns(slot, direction, bytes, now)) {
            const bool hit =
                fault->strikes(slot) && fault->settings().kind->treat(*fault, treatment);
            fault->count(hit);
            if (hit) {
                treatment.faults.push_back(fault->id());
            }
        }
    }
    std::ranges::sort(treatment.faults);
    return treatment;
}

bool DatagramPath::isHolding(int slot, Direction direction) const {
    return std::ranges::any_of(held, [=](const Held& waiting) {
        return waiting.parcel.slot == slot && waiting.parcel.direction == direction;
    });
}

bool DatagramPath::forward(Parcel parcel, const Treatment& treatment) {
    if (treatment.delay == Duration::zero() && !treatment.behindNext) {
        return deliver(parcel);
    }
    // Two that wait for each other would wait in vain: the second is the first one's next.
    auto go = [this, limit = treatment.behindNext](Parcel going) {
        if (limit && !isHolding(going.slot, going.direction)) {
            hold(std::move(going), *limit);
            return true;
        }
        return deliver(going);
    };
    if (treatment.delay == Duration::zero()) {
        return go(std::move(parcel));
    }
    const std::size_t count = std::size_t{1} + parcel.copies;
    const std::size_t size = parcel.size();
    if (delayedCount + count > kMostWaiting || delayedBytes + size > kMostWaitingBytes) {
        dropOneTooMany(parcel);
        return true;
    }
    delayedCount += count;
    delayedBytes += size;
    timers.after(treatment.delay, [this, go, count, size, delayed = std::move(parcel)]() mutable {
        delayedCount -= count;
        delayedBytes -= size;
        go(std::move(delayed));
    });
    return true;
}

void DatagramPath::dropOneTooMany(const Parcel& parcel) {
    if (parcel.direction == Direction::toCard) {
        journal.setDropped(parcel.number, kTooManyWait);
        return;
    }
    auto passage = passageOf(parcel);
    passage.dropped = kTooManyWait;
    passage.onTheWire = false;
    journal.record(passage);
}

void DatagramPath::hold(Parcel parcel, Duration limit) {
    const int slot = parcel.slot;
    const auto direction = parcel.direction;
    const auto timer = timers.after(limit, [this, slot, direction] { release(slot, direction); });
    held.push_back({std::move(parcel), timer});
}

void DatagramPath::release(int slot, Direction direction) {
    const auto found = std::ranges::find_if(held, [=](const Held& waiting) {
        return waiting.parcel.slot == slot && waiting.parcel.direction == direction;
    });
    if (found != held.end()) {
        timers.cancel(found->limit);
        const auto parcel = std::move(found->parcel);
        held.erase(found);
        deliver(parcel);
    }
}

bool DatagramPath::deliver(const Parcel& parcel) {
    bool done = false;
    for (std::uint32_t i = 0; i <= parcel.copies; ++i) {
        done = deliverOne(parcel) || done;
    }
    release(parcel.slot, parcel.direction);
    return done;
}

bool DatagramPath::deliverOne(const Parcel& parcel) {
    if (parcel.direction == Direction::toCard) {
        arriveAt(parcel.slot, parcel.peer, parcel.number, parcel.bytes, parcel.pretended);
        return true;
    }
    return departFrom(passageOf(parcel));
}

Passage DatagramPath::passageOf(const Parcel& parcel) {
    Passage passage{parcel.slot, Direction::fromCard, parcel.local, parcel.peer, parcel.bytes,
                    {},          parcel.faults,       {},           true};
    if (parcel.original) {
        passage.cardBytes = *parcel.original;
    }
    return passage;
}

void DatagramPath::arriveAt(int slot, Endpoint from, std::uint64_t number,
                            std::span<const std::uint8_t> bytes, bool pretended) {
    const auto dropped = arrive(slot, from, bytes, pretended);
    if (!dropped.empty()) {
        journal.setDropped(number, dropped);
    }
}

bool DatagramPath::departFrom(const Passage& passage) {
    const bool sent = depart(passage.local, passage.peer, passage.bytes);
    auto told = passage;
    if (!sent) {
        // The socket that it was to leave from went with the fault.
        const bool isOrphan = std::ranges::any_of(
            told.faults, [this](std::uint32_t id) { return faults.find(id) == nullptr; });
        told.dropped = isOrphan ? kWithoutItsFault : kRefused;
        told.onTheWire = false;
    }
    journal.record(told);
    return sent;
}

}  // namespace ponmgr::sim
