#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>

#include "Descriptor.h"
#include "LinkTest.h"
#include "ProcessState.h"

using corvane::Descriptor;
using testing::HasSubstr;
using testing::Not;

namespace ponmgr::test {

namespace {

int openSomething() {
    return open("/dev/null", O_RDONLY | O_CLOEXEC);
}

bool isOpenInProcess(int descriptor) {
    return fcntl(descriptor, F_GETFD) >= 0;
}

TEST(Descriptor, OwnsNothingAtFirst) {
    const Descriptor none;
    EXPECT_FALSE(none.isOpen());
    EXPECT_LT(none.get(), 0);
}

TEST(Descriptor, ClosesWhatItOwns) {
    const int number = openSomething();
    {
        const Descriptor owner(number);
        EXPECT_TRUE(owner.isOpen());
        EXPECT_EQ(owner.get(), number);
        EXPECT_TRUE(isOpenInProcess(number));
    }
    EXPECT_FALSE(isOpenInProcess(number));
}

TEST(Descriptor, MovingHandsTheDescriptorOver) {
    const int number = openSomething();
    Descriptor first(number);
    const Descriptor second(std::move(first));
    EXPECT_EQ(second.get(), number);
    EXPECT_TRUE(isOpenInProcess(number));
}

TEST(Descriptor, AssigningClosesWhatWasOwnedBefore) {
    const int number = openSomething();
    const int other = openSomething();
    Descriptor owner(number);
    owner = Descriptor(other);
    EXPECT_FALSE(isOpenInProcess(number));
    EXPECT_TRUE(isOpenInProcess(other));
    owner = Descriptor();
    EXPECT_FALSE(isOpenInProcess(other));
}

// What the running program of an exec sees of our descriptors.
std::string descriptorsOfAnotherProgram() {
    struct ClosePipe {
        void operator()(FILE* pipe) const { pclose(pipe); }
    };
    const std::unique_ptr<FILE, ClosePipe> pipe(popen("ls -l /proc/self/fd", "r"));
    std::string output;
    std::array<char, 256> part{};
    while (pipe && fgets(part.data(), static_cast<int>(part.size()), pipe.get()) != nullptr) {
        output += part.data();
    }
    return output;
}

class SocketDescriptorTest : public LinkTest {
protected:
    static int descriptorMadeBy(Corvane& corvane) {
        const auto before = openDescriptors();
        EXPECT_TRUE(corvane.createSocket());
        for (const int descriptor : openDescriptors()) {
            if (before.count(descriptor) == 0) {
                return descriptor;
            }
        }
        ADD_FAILURE() << "no socket was made";
        return -1;
    }
};

TEST_F(SocketDescriptorTest, TheSocketIsClosedOnExec) {
    const int descriptor = descriptorMadeBy(receiver);
    EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC);
}

TEST_F(SocketDescriptorTest, AnotherProgramInheritsNoSocket) {
    const auto target = descriptorTarget(descriptorMadeBy(receiver));
    ASSERT_THAT(target, HasSubstr("socket:["));
    ASSERT_TRUE(receiver.bind(kPath));
    const auto inherited = descriptorsOfAnotherProgram();
    EXPECT_THAT(inherited, HasSubstr("pipe:["));
    EXPECT_THAT(inherited, Not(HasSubstr(target)));
}

TEST_F(SocketDescriptorTest, ProbingForListenersLeavesNoDescriptorOpen) {
    attach();
    const auto before = openDescriptors();
    EXPECT_TRUE(sender.connect(kPath));
    EXPECT_FALSE(sender.bind(kPath));
    EXPECT_FALSE(sender.connect("/tmp/missing.ipc"));
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(SocketDescriptorTest, TheDestructorClosesTheSocket) {
    const auto before = openDescriptors();
    {
        Corvane ending(2010);
        ASSERT_TRUE(ending.createSocket());
        ASSERT_TRUE(ending.bind(kPath));
    }
    EXPECT_EQ(openDescriptors(), before);
}

}  // namespace

}  // namespace ponmgr::test
