#include "dbman/SlotConfiguration.h"

#include <array>
#include <fstream>
#include <iterator>

#include "dbman/Arguments.h"
#include "dbman/Errors.h"
#include "dbman/Text.h"

namespace ponmgr::dbman {

namespace {

constexpr std::size_t kShownKeyBytes = 40;

template <std::size_t count>
void allowOnly(const Json& object, const std::array<std::string_view, count>& keys) {
    for (const auto& member : object.items()) {
        bool known = false;
        for (const auto key : keys) {
            known = known || member.key() == key;
        }
        if (!known) {
            throw Failure("unknown key \"" + printable(member.key(), kShownKeyBytes) + "\"");
        }
    }
}

std::string readAddress(const Json& entry, const char* key) {
    if (!entry.contains(key) || !entry[key].is_string()) {
        throw Failure(std::string("a slot has no text \"") + key + "\"");
    }
    return parseHostAddress(entry[key].get<std::string>());
}

void addSlot(SlotConfiguration& configuration, const Json& entry, const std::string& source) {
    if (!entry.is_object()) {
        throw Failure("a slot isn't an object");
    }
    allowOnly(entry, std::array<std::string_view, 3>{"slot", "ip", "source"});
    if (!entry.contains("slot") || !entry["slot"].is_number_integer()) {
        throw Failure("a slot has no number \"slot\"");
    }
    const int slot = parseSlot(entry["slot"].dump());
    const SlotAddress address{readAddress(entry, "ip"),
                              entry.contains("source") ? readAddress(entry, "source") : source};
    refuseAddressOfAnother(configuration, slot, address.card);
    if (!configuration.emplace(slot, address).second) {
        throw Failure("slot " + std::to_string(slot) + " is there twice");
    }
}

}  // namespace

void refuseAddressOfAnother(const SlotConfiguration& configuration, int slot,
                            const std::string& card) {
    for (const auto& [other, address] : configuration) {
        if (other != slot && address.card == card) {
            throw Failure("slot " + std::to_string(other) + " has the address " + card +
                          " already; each card has its own");
        }
    }
}

SlotConfiguration makeSlotConfiguration(const std::vector<int>& slots, std::uint32_t base,
                                        std::uint32_t source) {
    SlotConfiguration configuration;
    for (const int slot : slots) {
        const auto card = base + static_cast<std::uint32_t>(slot);
        configuration[slot] = {printIpv4(card), printIpv4(source)};
    }
    return configuration;
}

SlotConfiguration parseSlotConfiguration(std::string_view text, std::uint32_t source) {
    try {
        const Json json = parseJson(text);
        if (!json.is_object() || !json.contains("slots") || !json["slots"].is_array()) {
            throw Failure("no array \"slots\"");
        }
        allowOnly(json, std::array<std::string_view, 1>{"slots"});
        SlotConfiguration configuration;
        for (const auto& entry : json["slots"]) {
            addSlot(configuration, entry, printIpv4(source));
        }
        return configuration;
    } catch (const MalformedMessage& error) {
        throw Failure(error.what());
    } catch (const ArgumentError& error) {
        throw Failure(error.what());
    }
}

SlotConfiguration readSlotConfiguration(const std::string& path, std::uint32_t source) {
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file.is_open() || file.bad()) {
        throw Failure("can't read the configuration " + path);
    }
    try {
        return parseSlotConfiguration(text, source);
    } catch (const Failure& error) {
        throw Failure("configuration " + path + ": " + error.what());
    }
}

std::vector<Message> addressMessages(int slot, const SlotAddress& address) {
    const auto number = std::to_string(slot);
    return {{"/olt/src_ip", {{"slot_id", number}, {"ip_address", address.source}}},
            {"/olt/ip", {{"slot_id", number}, {"ip_address", address.card}}}};
}

std::vector<Message> addressMessages(const SlotConfiguration& configuration) {
    std::vector<Message> messages;
    for (const auto& [slot, address] : configuration) {
        for (auto& message : addressMessages(slot, address)) {
            messages.push_back(std::move(message));
        }
    }
    return messages;
}

std::string listSlots(const SlotConfiguration& configuration) {
    std::string list;
    for (const auto& [slot, address] : configuration) {
        list += (list.empty() ? "" : ",") + std::to_string(slot);
    }
    return list.empty() ? "none" : list;
}

}  // namespace ponmgr::dbman
