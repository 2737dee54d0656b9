#include "LinkTest.h"

#include <filesystem>

namespace ponmgr::test {

LinkTest::LinkTest() {
    std::filesystem::remove_all(kPath);
}

LinkTest::~LinkTest() {
    std::filesystem::remove_all(kPath);
}

void LinkTest::attach() {
    ASSERT_TRUE(receiver.createSocket()) << receiver.getErrorMessage();
    ASSERT_TRUE(receiver.bind(kPath)) << receiver.getErrorMessage();
    ASSERT_TRUE(sender.createSocket()) << sender.getErrorMessage();
    ASSERT_TRUE(sender.connect(kPath)) << sender.getErrorMessage();
}

std::string LinkTest::received() {
    std::string text;
    const int length = receiver.recv(text);
    if (length < 0) {
        ADD_FAILURE() << receiver.getErrorMessage();
        return receiver.getErrorMessage();
    }
    EXPECT_EQ(static_cast<std::size_t>(length), text.size());
    return text;
}

void LinkTest::failOnce(Corvane& corvane) {
    EXPECT_FALSE(corvane.connect(nullptr));
}

}  // namespace ponmgr::test
