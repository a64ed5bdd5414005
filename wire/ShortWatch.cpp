#include "wire/ShortWatch.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace wire {

using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kWatch = 100us;
constexpr int kLeastLeftOut = 8;
constexpr int kMostLeftOut = 4096;

} // namespace

qsizetype ShortWatch::Receive(NativeSocket& socket, char* to, qsizetype size)
{
    if (leaveOut_ > 0) {
        --leaveOut_;
        return NativeSocket::kTimedOut;
    }
    const Clock::time_point end = Clock::now() + kWatch;
    do {
        const qsizetype got = socket.ReceiveNow(to, size);
        if (got != NativeSocket::kTimedOut) {
            leftOutLast_ /= 2;
            return got;
        }
        std::this_thread::yield();
    } while (Clock::now() < end);
    leftOutLast_ = std::clamp(4 * leftOutLast_, kLeastLeftOut, kMostLeftOut);
    leaveOut_ = leftOutLast_;
    return NativeSocket::kTimedOut;
}

} // namespace wire
