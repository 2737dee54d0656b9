#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <type_traits>

#include "FailingAllocation.h"
#include "support/Bytes.h"
#include "support/ThrownBy.h"
#include "tk/ResponseMessage.h"

namespace ponmgr {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;
using test::FailingAllocation;
using test::messageThrownBy;
using test::originThrownBy;
using test::received;

static_assert(std::has_virtual_destructor_v<ResponseMessage>);
static_assert(ResponseMessage::kAcceptedLaterPause == 1000ms);

constexpr std::chrono::milliseconds kNoPause{0};

/// What comes back for an id and a result, without data.
std::unique_ptr<TKMessage> response(std::uint16_t id, std::uint16_t result) {
    auto message = received("00 00 00 01 00 02 00 00");
    message->setId(static_cast<TKIDMessage>(id));
    message->setResult(result);
    return message;
}

constexpr std::uint16_t kCheckedIds[] = {1,   8,   9,   80,  119, 273, 294, 299, 302, 335,
                                         337, 349, 355, 359, 371, 376, 384, 385, 387, 393,
                                         397, 400, 401, 403, 412, 436, 544, 549};

class CheckedId : public testing::TestWithParam<std::uint16_t> {};

INSTANTIATE_TEST_SUITE_P(ResponseMessage, CheckedId, testing::ValuesIn(kCheckedIds),
                         testing::PrintToStringParamName());

TEST_P(CheckedId, IsAcceptedByItsResultWithoutARecord) {
    ResponseMessage responses(kNoPause);
    const auto message = response(GetParam(), 0);
    EXPECT_EQ(responses.parseMessage(message.get()), nullptr);
}

TEST_P(CheckedId, IsRefusedByItsResult) {
    ResponseMessage responses(kNoPause);
    const auto message = response(GetParam(), 1);
    EXPECT_EQ(originThrownBy([&] { responses.parseMessage(message.get()); }),
              "parseCheckResultOk: Unsupported Message ID <" + std::to_string(GetParam()) + ">");
}

class UnhandledId : public testing::TestWithParam<std::uint16_t> {};

INSTANTIATE_TEST_SUITE_P(ResponseMessage, UnhandledId,
                         testing::Values(0, 2, 6, 10, 83, 550, 0x7FFF, 0x8001, 0xFFFF),
                         testing::PrintToStringParamName());

TEST_P(UnhandledId, IsNotHandledWhateverItsResult) {
    ResponseMessage responses(kNoPause);
    for (const std::uint16_t result : {std::uint16_t{0}, std::uint16_t{1}}) {
        const auto message = response(GetParam(), result);
        EXPECT_EQ(
            originThrownBy([&] { responses.parseMessage(message.get()); }),
            "parseMessage: Response Message ID (" + std::to_string(GetParam()) + ") not handled");
    }
}

TEST(ResponseMessage, NullMessageIsInvalid) {
    ResponseMessage responses(kNoPause);
    EXPECT_EQ(originThrownBy([&] { responses.parseMessage(nullptr); }),
              "parseMessage: Invalid TKMessage pointer");
}

struct DataParser {
    const char* name;
    /// Too short for its parser.
    const char* datagram;
    const char* failure;
};

constexpr DataParser kDataParsers[] = {
    {"Id7", "00 07 00 01 00 02 00 00",
     "parseGet_OLT_Information: Impossible to parse offset=0, length=6"},
    {"Id301", "01 2d 00 01 00 02 00 00", "parseGet_NVS_Enabled: Invalid NVS Enabled payload"},
    {"Id312", "01 38 00 01 00 02 00 00", "parseGet_Statistics: Invalid Statistics"},
    {"Id363", "01 6b 00 01 00 02 00 00", "parseGet_ONU_Information: Invalid Link Info payload"},
    {"Id381", "01 7d 00 01 00 06 00 00",
     "parseGet_All_Domains: Impossible to parse offset=0, length=2"},
    {"Id388", "01 84 00 01 00 02 00 00",
     "parseGet_OLT_Bridging_Mode: Impossible to parse offset=0, length=6"},
    {"Id399", "01 8f 00 01 00 02 00 00",
     "parseGet_OLT_PortLink_Rules: Invalid OLT Port/Link Rules"},
    {"Id435", "01 b3 00 01 00 02 00 00",
     "parseGet_OAM_Extension_Set_Support: Invalid data length size"},
    {"Id585", "02 49 00 01 00 02 00 00",
     "parseGet_CTC_21_Optical_Transceiver_Diagnosis: Invalid Optical Transceiver Diagnosis"},
    {"Id0x8000", "80 00 00 01 00 02 00 00",
     "parseGet_OLT_Information: Impossible to parse offset=0, length=6"},
    {"Id0x8019", "80 19 00 00 00 02 00 00", "parseLink_Discovery: Invalid Link payload"},
    {"Id0x801A", "80 1a 00 00 00 02 00 00",
     "parseReport_Alarm: Impossible to parse offset=0, length=1"},
    {"Id0x802B", "80 2b 00 00 00 02 00 00",
     "parseOnuLinkMovedBetweenPonPorts: Impossible to parse offset=0, length=6"},
};

class DataParserOf : public testing::TestWithParam<DataParser> {};

INSTANTIATE_TEST_SUITE_P(ResponseMessage, DataParserOf, testing::ValuesIn(kDataParsers),
                         [](const auto& entry) { return std::string(entry.param.name); });

TEST_P(DataParserOf, ThrowsOnceUnderItsOwnNameWithTheBareText) {
    ResponseMessage responses(kNoPause);
    const auto message = received(GetParam().datagram);
    EXPECT_EQ(originThrownBy([&] { responses.parseMessage(message.get()); }), GetParam().failure);
}

/// The ids whose parsers read what is there, so that no data is too short for them.
constexpr DataParser kListParsers[] = {
    {"Id68", "00 44 00 01 00 02 00 00", "parseGet_List_of_Discovered_Links"},
    {"Id118", "00 76 00 01 00 02 00 00", "parseGet_List_of_All_Known_Logical_Links"},
    {"Id377", "01 79 00 01 00 02 00 00", "parseGet_All_Paths"},
};

class ListParserOf : public testing::TestWithParam<DataParser> {};

INSTANTIATE_TEST_SUITE_P(ResponseMessage, ListParserOf, testing::ValuesIn(kListParsers),
                         [](const auto& entry) { return std::string(entry.param.name); });

TEST_P(ListParserOf, FailsUnderItsOwnNameWithoutMemory) {
    ResponseMessage responses(kNoPause);
    const auto message = received(GetParam().datagram);
    std::string failure;
    {
        const FailingAllocation noMemoryOnce(FailingAllocation::Kind::Throwing, 1);
        failure = originThrownBy([&] { responses.parseMessage(message.get()); });
    }
    EXPECT_EQ(failure, std::string(GetParam().failure) + ": Unknown Exception Error");
}

TEST(ResponseMessage, Id377IsGivenToTheParserOfPaths) {
    ResponseMessage responses(kNoPause);
    const auto message = received("01 79 00 01 00 06 00 00 00 01 00 02");
    const auto record = responses.parseMessage(message.get());
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->getListSize("paths"), 1U);
}

constexpr std::uint16_t kDataIds[] = {7,   68,  118, 301, 312,    363,    377,    381,
                                      388, 399, 435, 585, 0x8000, 0x8019, 0x801A, 0x802B};

/// Every id near one that a card knows, and one of 61 of the others: an exception is dear under the
/// sanitizers.
bool isTried(unsigned id) {
    return id < 0x0300 || (id >= 0x8000 && id < 0x8040) || id % 61 == 0 || id == 0xFFFF;
}

TEST(ResponseMessage, AnIdThatIsNeitherCheckedNorParsedIsNotHandled) {
    ResponseMessage responses(kNoPause);
    const auto message = response(0, 0);
    for (unsigned id = 0; id <= 0xFFFF; id++) {
        if (isTried(id) && std::ranges::count(kCheckedIds, id) == 0 &&
            std::ranges::count(kDataIds, id) == 0) {
            message->setId(static_cast<TKIDMessage>(id));
            ASSERT_EQ(messageThrownBy([&] { responses.parseMessage(message.get()); }),
                      "Response Message ID (" + std::to_string(id) + ") not handled");
        }
    }
}

struct Judgement {
    std::uint16_t result;
    /// "" when the response is accepted.
    const char* failure;
};

constexpr Judgement kRefusals[] = {
    {1, "Unsupported Message ID <376>"},
    {3, "Error Return Code(PARAM_OUT_OF_RANGE) from Message ID <376>"},
    {5, "Invalid Return Code(5) from Message ID <376>"},
    {6, "Invalid Return Code(6) from Message ID <376>"},
    {7, "Invalid Return Code(7) from Message ID <376>"},
    {0x0010, "Invalid Return Code(16) from Message ID <376>"},
    {0x0100, "Invalid Return Code(256) from Message ID <376>"},
    {0x0101, "Invalid Return Code(257) from Message ID <376>"},
    {0xFFF7, "Invalid Return Code(65527) from Message ID <376>"},
};

class RefusedResult : public testing::TestWithParam<Judgement> {};

INSTANTIATE_TEST_SUITE_P(ResponseMessage, RefusedResult, testing::ValuesIn(kRefusals),
                         [](const auto& entry) { return std::to_string(entry.param.result); });

TEST_P(RefusedResult, IsRefusedAtOnceWithItsText) {
    ResponseMessage responses(10s);
    const auto message = response(376, GetParam().result);
    const auto start = steady_clock::now();
    EXPECT_EQ(originThrownBy([&] { responses.parseCheckResultOk(message.get()); }),
              std::string("parseCheckResultOk: ") + GetParam().failure);
    EXPECT_LT(steady_clock::now() - start, 10s);
}

TEST(ResponseMessage, ResultZeroIsAcceptedAtOnce) {
    ResponseMessage responses(10s);
    const auto message = response(376, 0);
    const auto start = steady_clock::now();
    EXPECT_EQ(responses.parseCheckResultOk(message.get()), nullptr);
    EXPECT_LT(steady_clock::now() - start, 10s);
}

class ResultAcceptedLater : public testing::TestWithParam<std::uint16_t> {};

INSTANTIATE_TEST_SUITE_P(ResponseMessage, ResultAcceptedLater,
                         testing::Values(2, 4, 0x08, 0x09, 0x0A, 0x0B, 0x0C, 0x0F, 0x18, 0x0108,
                                         0xFFFF),
                         testing::PrintToStringParamName());

TEST_P(ResultAcceptedLater, IsAcceptedAfterThePause) {
    ResponseMessage responses(30ms);
    const auto message = response(376, GetParam());
    const auto start = steady_clock::now();
    EXPECT_EQ(responses.parseCheckResultOk(message.get()), nullptr);
    EXPECT_GE(steady_clock::now() - start, 30ms);
}

TEST(ResponseMessage, FrameWithoutAResultIsAccepted) {
    ResponseMessage responses(10s);
    const auto message = received("80 00 00 01 00 02 00 01");
    EXPECT_EQ(responses.parseCheckResultOk(message.get()), nullptr);
}

TEST(ResponseMessage, PauseIsMadeOncePerResponseAcceptedLater) {
    ResponseMessage responses(20ms);
    constexpr std::uint16_t results[] = {2, 0, 8, 4};
    for (const std::uint16_t result : results) {
        responses.addResponseMessage(response(376, result));
    }
    const auto start = steady_clock::now();
    responses.parseAllMessages();
    EXPECT_GE(steady_clock::now() - start, 60ms);
}

TEST(ResponseMessage, DefaultPauseIsOneSecondRealSeconds) {
    ResponseMessage responses;
    responses.addResponseMessage(response(376, 4));
    const auto start = steady_clock::now();
    responses.parseAllMessages();
    EXPECT_GE(steady_clock::now() - start, 1000ms);
}

TEST(ResponseMessage, StartsEmpty) {
    ResponseMessage responses(kNoPause);
    EXPECT_EQ(responses.getMessagesSize(), 0U);
    EXPECT_EQ(responses.getContainerSize(), 0U);
    EXPECT_EQ(responses.getContainer(0), nullptr);
}

TEST(ResponseMessage, ParsingNothingIsNoFailure) {
    ResponseMessage responses(kNoPause);
    responses.parseAllMessages();
    EXPECT_EQ(responses.getContainerSize(), 0U);
}

constexpr const char* kGoodNvs = "01 2d 00 01 00 04 00 00 01 00";
constexpr const char* kGoodPath = "01 79 00 02 00 06 00 00 00 05 00 06";
constexpr const char* kBadOltInformation = "00 07 00 03 00 02 00 00";
constexpr const char* kAccepted = "01 78 00 04 00 02 00 00";
constexpr const char* kResetAnswer = "00 06 00 05 00 02 00 00";
constexpr const char* kUnsupported = "01 78 00 06 00 02 00 01";

void add(ResponseMessage& responses, std::initializer_list<const char*> datagrams) {
    for (const char* datagram : datagrams) {
        responses.addResponseMessage(received(datagram));
    }
}

TEST(ResponseMessage, RecordsAreKeptInMessageOrderAndNoneForCheckedResponses) {
    ResponseMessage responses(kNoPause);
    add(responses, {kAccepted, kGoodPath, kAccepted, kGoodNvs});
    responses.parseAllMessages();
    EXPECT_EQ(responses.getMessagesSize(), 4U);
    ASSERT_EQ(responses.getContainerSize(), 2U);
    EXPECT_TRUE(responses.getContainer(0)->hasList("paths"));
    EXPECT_TRUE(responses.getContainer(1)->hasKey("current"));
}

TEST(ResponseMessage, ContainerBeyondTheLastIsNull) {
    ResponseMessage responses(kNoPause);
    add(responses, {kGoodNvs, kGoodPath});
    responses.parseAllMessages();
    EXPECT_NE(responses.getContainer(1), nullptr);
    EXPECT_EQ(responses.getContainer(2), nullptr);
    EXPECT_EQ(responses.getContainer(static_cast<std::size_t>(-1)), nullptr);
}

TEST(ResponseMessage, ParserThatFailsOnTheThirdOfFiveLeavesNothing) {
    ResponseMessage responses(kNoPause);
    add(responses, {kGoodNvs, kGoodPath, kBadOltInformation, kGoodNvs, kGoodPath});
    EXPECT_EQ(originThrownBy([&] { responses.parseAllMessages(); }),
              "parseGet_OLT_Information: Impossible to parse offset=0, length=6");
    EXPECT_EQ(responses.getMessagesSize(), 0U);
    EXPECT_EQ(responses.getContainerSize(), 0U);
}

TEST(ResponseMessage, ParserCalledByItselfEmptiesTheResponsesWhenItFails) {
    ResponseMessage responses(kNoPause);
    add(responses, {kGoodNvs});
    responses.parseAllMessages();
    const auto message = received(kBadOltInformation);
    EXPECT_NE(messageThrownBy([&] { responses.parseGet_OLT_Information(message.get()); }),
              "nothing");
    EXPECT_EQ(responses.getMessagesSize(), 0U);
    EXPECT_EQ(responses.getContainerSize(), 0U);
}

TEST(ResponseMessage, UnhandledIdEndsTheParsingAndClearsNothing) {
    ResponseMessage responses(kNoPause);
    add(responses, {kGoodNvs, kResetAnswer, kGoodPath});
    EXPECT_EQ(messageThrownBy([&] { responses.parseAllMessages(); }),
              "Response Message ID (6) not handled");
    EXPECT_EQ(responses.getMessagesSize(), 3U);
    EXPECT_EQ(responses.getContainerSize(), 1U);
}

TEST(ResponseMessage, RefusedResultEndsTheParsingAndClearsNothing) {
    ResponseMessage responses(kNoPause);
    add(responses, {kGoodNvs, kUnsupported, kGoodPath});
    EXPECT_EQ(messageThrownBy([&] { responses.parseAllMessages(); }),
              "Unsupported Message ID <376>");
    EXPECT_EQ(responses.getMessagesSize(), 3U);
    EXPECT_EQ(responses.getContainerSize(), 1U);
}

TEST(ResponseMessage, NullMessageEndsTheParsingAndClearsNothing) {
    ResponseMessage responses(kNoPause);
    add(responses, {kGoodNvs});
    responses.addResponseMessage(nullptr);
    EXPECT_EQ(messageThrownBy([&] { responses.parseAllMessages(); }), "Invalid TKMessage pointer");
    EXPECT_EQ(responses.getMessagesSize(), 2U);
    EXPECT_EQ(responses.getContainerSize(), 1U);
}

TEST(ResponseMessage, FailureThatIsNoExceptionOfTheSystemIsUnknownAndEmptiesTheResponses) {
    ResponseMessage responses(kNoPause);
    add(responses, {kGoodNvs});
    const auto message = received(kGoodNvs);
    std::string failure;
    {
        const FailingAllocation noMemoryOnce(FailingAllocation::Kind::Throwing, 1);
        failure = originThrownBy([&] { responses.parseGet_NVS_Enabled(message.get()); });
    }
    EXPECT_EQ(failure, "parseGet_NVS_Enabled: Unknown Exception Error");
    EXPECT_EQ(responses.getMessagesSize(), 0U);
}

TEST(ResponseMessage, ClearDeletesMessagesAndRecords) {
    ResponseMessage responses(kNoPause);
    add(responses, {kGoodNvs, kGoodPath});
    responses.parseAllMessages();
    responses.clear();
    EXPECT_EQ(responses.getMessagesSize(), 0U);
    EXPECT_EQ(responses.getContainerSize(), 0U);
    EXPECT_EQ(responses.getContainer(0), nullptr);
}

TEST(ResponseMessage, IsUsableAgainAfterAFailure) {
    ResponseMessage responses(kNoPause);
    add(responses, {kBadOltInformation});
    EXPECT_NE(messageThrownBy([&] { responses.parseAllMessages(); }), "nothing");
    add(responses, {kGoodNvs});
    responses.parseAllMessages();
    EXPECT_EQ(responses.getContainerSize(), 1U);
}

TEST(ResponseMessage, EventShorterThanItsHeaderFailsInEveryParser) {
    ResponseMessage responses(kNoPause);
    const auto message = received("80 1a 00 01 00 06 00 00");
    EXPECT_EQ(messageThrownBy([&] { responses.parseGet_All_Paths(message.get()); }),
              "Impossible to parse offset=0, length=2");
    EXPECT_EQ(messageThrownBy([&] { responses.parseGet_OAM_Extension_Set_Support(message.get()); }),
              "Impossible to parse offset=7, length=1");
    EXPECT_EQ(messageThrownBy([&] { responses.parseGet_NVS_Enabled(message.get()); }),
              "Impossible to parse offset=0, length=1");
    EXPECT_EQ(messageThrownBy([&] { responses.parseGet_All_Domains(message.get()); }),
              "Impossible to parse offset=0, length=2");
    EXPECT_EQ(messageThrownBy([&] { responses.parseGet_OLT_Bridging_Mode(message.get()); }),
              "Impossible to parse offset=0, length=6");
}

}  // namespace
}  // namespace ponmgr
