// Answers that are written by hand: any result to any request, and any value of a statistic.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <string>

#include "Property.h"
#include "app/Exception.h"
#include "sim/CardRequests.h"
#include "sim/Wire.h"
#include "tk/ResponseMessage.h"

namespace ponmgr {
namespace {

using test::any;
using test::anyNumber;
using test::inRandomCases;
using test::requireEqual;

constexpr int kCases = 500;

/// An answer without data to a request that asks: what is thrown, or the record.
struct Answer {
    std::uint16_t id;
    std::string (*outcome)(std::uint64_t result);
};

constexpr const char* kEmptyRecord = R"({"id":"0"})";

std::string tooShort(std::uint64_t firstField) {
    return "Impossible to parse offset=0, length=" + std::to_string(firstField);
}

/// Of an answer that says by its result that there is no data.
std::string recordOf(std::uint64_t result, const char* otherwise) {
    return result == 0 ? otherwise : R"({"id":"0","result":")" + std::to_string(result) + R"("})";
}

constexpr Answer kAnswers[] = {
    {7, [](std::uint64_t) { return tooShort(6); }},
    {68, [](std::uint64_t) { return std::string(kEmptyRecord); }},
    {118, [](std::uint64_t) { return std::string(kEmptyRecord); }},
    {301,
     [](std::uint64_t result) {
         return std::string(result == 1 ? R"({"current":"0","id":"0"})"
                                        : "Invalid NVS Enabled payload");
     }},
    {312, [](std::uint64_t result) { return recordOf(result, "Invalid Statistics"); }},
    {363, [](std::uint64_t result) { return recordOf(result, "Invalid Link Info payload"); }},
    {377, [](std::uint64_t) { return std::string(kEmptyRecord); }},
    {381, [](std::uint64_t) { return tooShort(2); }},
    {388, [](std::uint64_t) { return tooShort(6); }},
    {399, [](std::uint64_t) { return std::string("Invalid OLT Port/Link Rules"); }},
    {435, [](std::uint64_t) { return std::string("Invalid data length size"); }},
    {585,
     [](std::uint64_t result) {
         return recordOf(result, "Invalid Optical Transceiver Diagnosis");
     }},
};

constexpr const char* kAccepted = "accepted";

/// Of an answer to a request that sets.
std::string acceptanceOf(std::uint64_t id, std::uint64_t result) {
    const auto number = std::to_string(id);
    if (id == 6 || id == 83) {
        return "Response Message ID (" + number + ") not handled";
    }
    if (result == 0 || result == 2 || result == 4 || (result & 8) != 0) {
        return kAccepted;
    }
    if (result == 1) {
        return "Unsupported Message ID <" + number + ">";
    }
    const auto code = result == 3 ? "Error Return Code(PARAM_OUT_OF_RANGE)"
                                  : "Invalid Return Code(" + std::to_string(result) + ")";
    return code + " from Message ID <" + number + ">";
}

std::string expectedOutcome(const sim::CardRequest& request, std::uint64_t result) {
    if (request.purpose == sim::Purpose::sets) {
        return acceptanceOf(request.id, result);
    }
    for (const auto& answer : kAnswers) {
        if (answer.id == request.id) {
            return answer.outcome(result);
        }
    }
    return "a row in the table of answers";
}

/// What the daemon's parser makes of it.
std::string outcomeOf(std::uint16_t id, std::uint16_t result) {
    sim::Writer frame;
    sim::beginAnswer(frame, id, 1);
    sim::finishAnswer(frame, static_cast<sim::Result>(result));
    const TKMessage message(frame.view().data(), static_cast<std::uint16_t>(frame.size()));
    try {
        ResponseMessage responses(std::chrono::milliseconds(0));
        const auto record = responses.parseMessage(&message);
        return record == nullptr ? kAccepted : record->getJsonFile();
    } catch (const Exception& exception) {
        return exception.getMessage();
    }
}

TEST(ResultProperties, EveryResultIsAcceptedOrRefusedByItsText) {
    inRandomCases(kCases, [] {
        const auto result =
            static_cast<std::uint16_t>(anyNumber("result", 0, any<bool>("low") ? 16 : UINT16_MAX));
        for (const auto& request : sim::cardRequests()) {
            requireEqual(outcomeOf(request.id, result), expectedOutcome(request, result),
                         "an answer to request " + std::to_string(request.id));
        }
    });
}

TEST(ResultProperties, AStatisticKeepsAllItsSixtyFourBits) {
    inRandomCases(kCases, [] {
        const std::uint64_t high = any<std::uint32_t>("high half");
        const auto value = high << 32 | any<std::uint32_t>("low half");
        sim::Writer frame;
        sim::beginAnswer(frame, 312, 1);
        frame.zeros(9 + 4);
        frame.u64(value);
        sim::finishAnswer(frame, sim::Result::ok);
        const TKMessage message(frame.view().data(), static_cast<std::uint16_t>(frame.size()));
        const auto record = ResponseMessage().parseMessage(&message);
        requireEqual(record->getList("result_list_stats").at(0)->getValue("result_value"),
                     std::to_string(value), "the value");
    });
}

}  // namespace
}  // namespace ponmgr
