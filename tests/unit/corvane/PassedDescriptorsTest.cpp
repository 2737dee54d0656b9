#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <string>
#include <vector>

#include "Descriptor.h"
#include "LinkTest.h"
#include "ProcessState.h"
#include "RawSocket.h"

namespace ponmgr::test {

namespace {

using PassedDescriptorsTest = AttachedLinkTest;

TEST_F(PassedDescriptorsTest, ADescriptorIsClosedAndTheMessageArrives) {
    RawSocket raw;
    raw.send(kPath, "with a descriptor", {raw.get()});
    const auto before = openDescriptors();
    EXPECT_EQ(received(), "with a descriptor");
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(PassedDescriptorsTest, AsManyAsTheKernelPassesAreClosed) {
    RawSocket raw;
    raw.send(kPath, "with 253 descriptors", std::vector<int>(253, raw.get()));
    const auto before = openDescriptors();
    EXPECT_EQ(received(), "with 253 descriptors");
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(PassedDescriptorsTest, TheOtherEndOfAPassedPipeSeesItClosed) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    const corvane::Descriptor readEnd(ends[0]);
    {
        const corvane::Descriptor writeEnd(ends[1]);
        RawSocket().send(kPath, "with a pipe", {writeEnd.get()});
    }
    EXPECT_EQ(received(), "with a pipe");
    char byte = 0;
    EXPECT_EQ(read(readEnd.get(), &byte, 1), 0);
}

TEST_F(PassedDescriptorsTest, AMessageArrivesEvenWhenNoDescriptorCanBeTaken) {
    RawSocket raw;
    raw.send(kPath, "with a descriptor", {raw.get()});
    const auto before = openDescriptors();
    {
        const NoMoreDescriptors limit;
        EXPECT_EQ(received(), "with a descriptor");
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(PassedDescriptorsTest, MessagesBehindOneWithDescriptorsArrive) {
    RawSocket raw;
    raw.send(kPath, "", {raw.get()});
    EXPECT_EQ(sender.send("next"), 4);
    EXPECT_EQ(received(), "");
    EXPECT_EQ(received(), "next");
}

}  // namespace

}  // namespace ponmgr::test
