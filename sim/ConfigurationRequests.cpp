#include "sim/RequestHandlers.h"
#include "sim/RequestNames.h"

namespace ponmgr::sim {

namespace {

constexpr std::size_t kPathIdSize = 2;
constexpr std::size_t kDomainHeaderSize = 5;

/// A list of ids led by its count.
std::vector<std::uint16_t> readIds(Reader& reader) {
    std::vector<std::uint16_t> ids;
    for (auto left = reader.u8(); left > 0 && !reader.failed(); --left) {
        ids.push_back(reader.u16());
    }
    return ids;
}

}  // namespace

Result setBridging(Exchange& exchange) {
    exchange.card.configuration.bridgingType = exchange.request.payload.back();
    return Result::ok;
}

Result setPath(Exchange& exchange) {
    const auto ends = exchange.request.payload.subspan(kPathIdSize);
    const auto pathId = static_cast<std::uint16_t>(exchange.key);
    return exchange.card.configuration.setPath(pathId, {ends.begin(), ends.end()})
               ? Result::ok
               : Result::parameterOutOfRange;
}

Result getAllPaths(Exchange& exchange) {
    const auto& configuration = exchange.card.configuration;
    for (const auto& [pathId, path] : configuration.paths) {
        exchange.answer.u16(pathId);
        exchange.answer.u16(configuration.usageOfPath(pathId));
    }
    return Result::ok;
}

Result deleteQueueSla(Exchange& exchange) {
    auto& configuration = exchange.card.configuration;
    configuration.accepted.erase(id::kSetQueueSla, exchange.key);
    Reader reader(exchange.request.payload);
    configuration.paths.erase(reader.u16());
    return Result::ok;
}

Result setDomain(Exchange& exchange) {
    Reader reader(exchange.request.payload);
    Domain domain;
    domain.id = reader.u16();
    reader.take(kDomainHeaderSize);
    domain.count = reader.u8();
    for (auto left = domain.count; left > 0 && !reader.failed(); --left) {
        reader.u16();
        readIds(reader);
        const auto paths = readIds(reader);
        domain.paths.insert(domain.paths.end(), paths.begin(), paths.end());
    }
    if (!reader.complete() || !exchange.card.configuration.setDomain(domain)) {
        return Result::parameterOutOfRange;
    }
    return Result::ok;
}

Result getAllDomains(Exchange& exchange) {
    const auto& domains = exchange.card.configuration.domains;
    if (domains.empty()) {
        // A card always answers a record: one of zeros when it has no domain.
        exchange.answer.zeros(4);
    }
    for (const auto& domain : domains) {
        exchange.answer.u16(domain.id);
        exchange.answer.u16(domain.count);
    }
    return Result::ok;
}

}  // namespace ponmgr::sim
