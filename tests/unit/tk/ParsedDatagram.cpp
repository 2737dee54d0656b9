#include "ParsedDatagram.h"

#include <gtest/gtest.h>

#include <chrono>

#include "support/Bytes.h"
#include "support/ThrownBy.h"
#include "tk/ResponseMessage.h"

namespace ponmgr::test {

namespace {

/// One path; any message that gives a record would do.
constexpr const char* kSibling = "01 79 00 01 00 06 00 00 00 01 00 02";

}  // namespace

std::string parsed(const std::string& datagram) {
    ResponseMessage responses(std::chrono::milliseconds{0});
    responses.addResponseMessage(received(kSibling));
    responses.addResponseMessage(received(datagram));
    const std::string failure = originThrownBy([&] { responses.parseAllMessages(); });
    if (failure != "nothing") {
        EXPECT_EQ(responses.getMessagesSize(), 0U) << "after " << failure;
        EXPECT_EQ(responses.getContainerSize(), 0U) << "after " << failure;
        return failure;
    }
    EXPECT_EQ(responses.getMessagesSize(), 2U);
    Container* record = responses.getContainer(1);
    return record == nullptr ? "no record" : record->getJsonFile();
}

std::string cut(const std::string& hex, std::size_t length) {
    const Bytes all = bytes(hex);
    return hexText(std::span(all).first(length));
}

std::string firstMissing(std::span<const FieldPlace> fields, std::size_t length) {
    for (const FieldPlace& field : fields) {
        if (field.offset + field.width > length) {
            return "Impossible to parse offset=" + std::to_string(field.offset) +
                   ", length=" + std::to_string(field.width);
        }
    }
    return "nothing";
}

}  // namespace ponmgr::test
