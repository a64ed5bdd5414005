#include "wire/NativeSocket.h"
#include "wire/ShortWatch.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

using wire::NativeSocket;

// Whoever takes a little now and then would otherwise keep the sender, and what it has in hand, for hours.
TEST(NativeSocketTest, ASenderLeavesAReaderThatTakesTooLittle)
{
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    ASSERT_EQ(fcntl(ends[0], F_SETFL, O_NONBLOCK), 0);
    std::atomic<bool> ended{false};
    std::thread reader([&] {
        char taken[4096];
        while (!ended && recv(ends[1], taken, sizeof taken, 0) > 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
    });
    const std::vector<char> bytes(32 << 20);
    EXPECT_FALSE(NativeSocket(ends[0]).Send(bytes.data(), qsizetype(bytes.size()), 200));
    ended = true;
    NativeSocket::Close(ends[0]);
    reader.join();
    NativeSocket::Close(ends[1]);
}

// Else every desk that loses its line leaves a session behind for hours.
TEST(NativeSocketTest, ADeadPeerIsFoundOutWithinMinutes)
{
    const int own = socket(AF_INET, SOCK_STREAM, 0);
    NativeSocket(own).ProbePeer();
    const auto option = [own](int name) {
        int value = 0;
        socklen_t length = sizeof value;
        EXPECT_EQ(getsockopt(own, IPPROTO_TCP, name, &value, &length), 0);
        return value;
    };
    EXPECT_LE(option(TCP_KEEPIDLE) + option(TCP_KEEPINTVL) * option(TCP_KEEPCNT), 120);
    EXPECT_LE(option(TCP_USER_TIMEOUT), 120'000);
    NativeSocket::Close(own);
}

// The ways out of waiting for an answer: it comes, the time is over, somebody ends it, the peer goes.
TEST(NativeSocketTest, AnAnswerIsWaitedForUntilItComesOrTheWaitIsEnded)
{
    using Clock = std::chrono::steady_clock;
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    ASSERT_EQ(fcntl(ends[0], F_SETFL, O_NONBLOCK), 0);
    NativeSocket own(ends[0]);
    NativeSocket peer(ends[1]);
    char got[8];

    const auto begin = Clock::now();
    EXPECT_EQ(own.ReceiveLater(got, sizeof got, 80), NativeSocket::kTimedOut);
    EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(79));
    {
        std::jthread answering([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            peer.Send("abc", 3, 1000);
        });
        EXPECT_EQ(own.ReceiveLater(got, sizeof got, 10'000), 3);
    }
    {
        std::jthread ending([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            NativeSocket(ends[0]).EndReceiving();
        });
        EXPECT_EQ(own.ReceiveLater(got, sizeof got, 10'000), 0);
    }
    NativeSocket::Close(ends[1]);
    EXPECT_EQ(own.ReceiveLater(got, sizeof got, 10'000), 0);
    EXPECT_TRUE(own.PeerHasClosed());
    NativeSocket::Close(ends[0]);
}
// Whoever was watched in vain is not watched the next times; what came meanwhile is not lost.
TEST(NativeSocketTest, AWatchInVainIsFollowedByNone)
{
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    ASSERT_EQ(fcntl(ends[0], F_SETFL, O_NONBLOCK), 0);
    NativeSocket own(ends[0]);
    NativeSocket peer(ends[1]);
    wire::ShortWatch watch;
    char got[8];

    peer.Send("abc", 3, 1000);
    EXPECT_EQ(watch.Receive(own, got, sizeof got), 3);
    EXPECT_EQ(watch.Receive(own, got, sizeof got), NativeSocket::kTimedOut);
    peer.Send("abc", 3, 1000);
    int leftOut = 0;
    while (leftOut < 100 && watch.Receive(own, got, sizeof got) == NativeSocket::kTimedOut)
        ++leftOut;
    EXPECT_EQ(leftOut, 8);
    NativeSocket::Close(ends[1]);
    EXPECT_EQ(watch.Receive(own, got, sizeof got), 0);
    NativeSocket::Close(ends[0]);
}
