#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <type_traits>

#include "CardSocket.h"
#include "OpenSockets.h"
#include "support/ThrownBy.h"
#include "tk/SocketHelper.h"

namespace ponmgr {
namespace {

using test::bytes;
using test::CardSocket;
using test::messageThrownBy;
using test::openDescriptorCount;
using test::tkSocketsBoundTo;

static_assert(std::has_virtual_destructor_v<SocketHelper>);

constexpr const char* kSource = "127.0.0.11";

sockaddr_in cardAt(const char* ip) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = inet_addr(ip);
    address.sin_port = htons(14113);
    return address;
}

/// Another program's socket, bound as any user may who shares the address.
class SharingSocket {
public:
    explicit SharingSocket(const char* ip)
        : descriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        const int reuse = 1;
        setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
        const sockaddr_in address = cardAt(ip);
        if (bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            error = errno;
        }
    }
    SharingSocket(const SharingSocket&) = delete;
    SharingSocket& operator=(const SharingSocket&) = delete;
    ~SharingSocket() { close(descriptor); }

    /// 0, or why it isn't bound, as in errno.
    int error = 0;

private:
    int descriptor;
};

/// What a failing bind() throws and what it writes to standard error.
struct BindFailure {
    std::string message;
    std::string systemText;
};

BindFailure failureOfBind(SocketHelper& helper) {
    testing::internal::CaptureStderr();
    const std::string message = messageThrownBy([&] { helper.bind(); });
    return {message, testing::internal::GetCapturedStderr()};
}

/// The socket of a helper bound to kSource.
int boundDescriptor() {
    return test::descriptorOf(tkSocketsBoundTo(kSource).at(0));
}

std::string deviceOf(int descriptor) {
    std::array<char, 64> name{};
    socklen_t length = name.size();
    EXPECT_EQ(getsockopt(descriptor, SOL_SOCKET, SO_BINDTODEVICE, name.data(), &length), 0);
    return name.data();
}

TEST(SocketHelper, BindsTheSourceAddressAndTheTkPort) {
    SocketHelper helper("ethX");
    helper.setSourceIP(kSource);
    helper.bind();
    ASSERT_EQ(tkSocketsBoundTo(kSource).size(), 1U);
    int type = 0;
    socklen_t length = sizeof type;
    getsockopt(boundDescriptor(), SOL_SOCKET, SO_TYPE, &type, &length);
    EXPECT_EQ(type, SOCK_DGRAM);
}

TEST(SocketHelper, SocketIsNotInheritedByProgramsThatAreStarted) {
    SocketHelper helper("ethX");
    helper.setSourceIP(kSource);
    helper.bind();
    ASSERT_EQ(tkSocketsBoundTo(kSource).size(), 1U);
    EXPECT_EQ(fcntl(boundDescriptor(), F_GETFD), FD_CLOEXEC);
}

TEST(SocketHelper, ASocketThatSharesItsAddressIsNoHindrance) {
    const SharingSocket first(kSource);
    ASSERT_EQ(first.error, 0);
    SocketHelper helper("ethX");
    helper.setSourceIP(kSource);
    EXPECT_EQ(messageThrownBy([&] { helper.bind(); }), "nothing");
    EXPECT_EQ(tkSocketsBoundTo(kSource).size(), 2U);
}

TEST(SocketHelper, NobodyElseBindsItsAddressAndPort) {
    SocketHelper helper("ethX");
    helper.setSourceIP(kSource);
    for (int again = 0; again < 2; again++) {
        helper.bind();
        EXPECT_EQ(SharingSocket(kSource).error, EADDRINUSE);
    }
}

TEST(SocketHelper, PlaceholderInterfaceBindsNoDevice) {
    SocketHelper helper("ethX");
    helper.setSourceIP(kSource);
    helper.bind();
    ASSERT_EQ(tkSocketsBoundTo(kSource).size(), 1U);
    EXPECT_EQ(deviceOf(boundDescriptor()), "");
}

TEST(SocketHelper, OtherInterfaceIsBoundAsDevice) {
    SocketHelper helper("lo");
    helper.setSourceIP(kSource);
    helper.bind();
    ASSERT_EQ(tkSocketsBoundTo(kSource).size(), 1U);
    EXPECT_EQ(deviceOf(boundDescriptor()), "lo");
}

TEST(SocketHelper, InterfaceThatDoesNotExistFails) {
    SocketHelper helper("nope0");
    helper.setSourceIP(kSource);
    const BindFailure failure = failureOfBind(helper);
    EXPECT_EQ(failure.message, "Set socket failed");
    EXPECT_EQ(failure.systemText, "setsockopt failed: No such device\n");
}

TEST(SocketHelper, AddressThatIsNotLocalFails) {
    SocketHelper helper("ethX");
    helper.setSourceIP("192.0.2.1");
    const BindFailure failure = failureOfBind(helper);
    EXPECT_EQ(failure.message, "Failed to bind socket");
    EXPECT_EQ(failure.systemText, "bind failed: Cannot assign requested address\n");
}

TEST(SocketHelper, NoDescriptorLeftFails) {
    SocketHelper helper("ethX");
    helper.setSourceIP("192.0.2.1");
    // The sanitizers look at a type for the first time with descriptors of their own.
    EXPECT_EQ(failureOfBind(helper).message, "Failed to bind socket");
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    testing::internal::CaptureStderr();
    const rlimit none{0, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    const std::string message = messageThrownBy([&] { helper.bind(); });
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(message, "Failed to create UDP socket");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "socket failed: Too many open files\n");
}

TEST(SocketHelper, FailedBindsLeaveNoDescriptorOpen) {
    const std::size_t before = openDescriptorCount();
    SocketHelper helper("ethX");
    helper.setSourceIP("192.0.2.1");
    SocketHelper other("nope0");
    other.setSourceIP(kSource);
    testing::internal::CaptureStderr();
    for (int i = 0; i < 5; i++) {
        messageThrownBy([&] { helper.bind(); });
        messageThrownBy([&] { other.bind(); });
    }
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(openDescriptorCount(), before);
}

TEST(SocketHelper, BindingAgainReplacesTheSocket) {
    SocketHelper helper("ethX");
    helper.setSourceIP(kSource);
    helper.bind();
    helper.bind();
    EXPECT_EQ(tkSocketsBoundTo(kSource).size(), 1U);
}

TEST(SocketHelper, ClosesItsSocketAtItsEnd) {
    const std::size_t before = openDescriptorCount();
    {
        SocketHelper helper("ethX");
        helper.setSourceIP(kSource);
        helper.bind();
        EXPECT_EQ(openDescriptorCount(), before + 1);
    }
    EXPECT_EQ(openDescriptorCount(), before);
}

TEST(SocketHelper, FirstSourceAddressStays) {
    SocketHelper helper("ethX");
    helper.setSourceIP(kSource);
    helper.setSourceIP("127.0.0.12");
    helper.bind();
    EXPECT_EQ(tkSocketsBoundTo(kSource).size(), 1U);
    EXPECT_EQ(tkSocketsBoundTo("127.0.0.12").size(), 0U);
}

TEST(SocketHelper, EmptySourceAddressIsNone) {
    SocketHelper helper("ethX");
    helper.setSourceIP("");
    helper.setSourceIP(kSource);
    helper.bind();
    EXPECT_EQ(tkSocketsBoundTo(kSource).size(), 1U);
}

TEST(SocketHelper, SendsTheWholeFrameFromItsAddressAsOneDatagram) {
    const CardSocket card("127.0.0.2");
    SocketHelper helper("ethX");
    helper.setSourceIP(kSource);
    helper.bind();
    const auto data = bytes("aa bb cc");
    helper.send(TKMessage(TKIDMessage::SetPath, 1, data.data(), 3), cardAt("127.0.0.2"));
    sockaddr_in sender{};
    EXPECT_EQ(card.receive(&sender), "01 78 00 01 00 03 aa bb cc");
    EXPECT_EQ(sender.sin_addr.s_addr, inet_addr(kSource));
    EXPECT_EQ(sender.sin_port, htons(14113));
}

TEST(SocketHelper, SendWithoutASocketSendsNothingAndIsNoFailure) {
    const CardSocket card("127.0.0.2");
    SocketHelper unbound("ethX");
    unbound.setSourceIP(kSource);
    unbound.send(TKMessage(TKIDMessage::EnableOLT, 1, nullptr, 0), cardAt("127.0.0.2"));

    // The first datagram that the card sees is this one.
    SocketHelper bound("ethX");
    bound.setSourceIP("127.0.0.12");
    bound.bind();
    bound.send(TKMessage(TKIDMessage::EnableOLT, 2, nullptr, 0), cardAt("127.0.0.2"));
    EXPECT_EQ(card.receive(), "00 08 00 02 00 00");
}

TEST(SocketHelper, DatagramThatCannotBeSentIsLostWithoutAFailure) {
    SocketHelper helper("ethX");
    helper.setSourceIP(kSource);
    helper.bind();
    const TKMessage message(TKIDMessage::EnableOLT, 1, nullptr, 0);
    EXPECT_EQ(messageThrownBy([&] { helper.send(message, sockaddr_in{}); }), "nothing");
    EXPECT_EQ(messageThrownBy([&] { helper.send(message, cardAt("192.0.2.1")); }), "nothing");
}

// In a child: the test's own standard input stays as it is.
TEST(SocketHelper, DescriptorZeroIsASocketLikeAnyOther) {
    const auto useAndDropDescriptorZero = [] {
        ::close(0);
        {
            SocketHelper helper("ethX");
            helper.setSourceIP(kSource);
            helper.bind();
            if (fcntl(0, F_GETFD) < 0) {
                _exit(1);  // it isn't the socket's
            }
        }
        _exit(fcntl(0, F_GETFD) < 0 ? 0 : 2);
    };
    EXPECT_EXIT(useAndDropDescriptorZero(), testing::ExitedWithCode(0), "");
}

TEST(SocketHelper, HasNotDoneBeforeItsThreadHasBoundASocket) {
    SocketHelper helper("ethX");
    EXPECT_FALSE(helper.hasDone());
}

TEST(SocketHelper, InstanceOfAnInterfaceIsAlwaysTheSame) {
    SocketHelper* first = SocketHelper::getInstance("test0");
    EXPECT_EQ(SocketHelper::getInstance("test0"), first);
    EXPECT_NE(SocketHelper::getInstance("test1"), first);
}

}  // namespace
}  // namespace ponmgr
