#pragma once

#include "server/net/Listener.h"
#include "tests/support/FakeServer.h"
#include "tests/support/RowKeeper.h"

#include <atomic>
#include <condition_variable>
#include <mutex>

// A listener on a free port, with short times, over a fake server whose queries do as their texts say:
//   "rows N"    N rows of a number, its text and null
//   "wait"      answers when interrupted, with Error(Limit)
//   "slow N"    one row after N milliseconds
//   "fail"      Error(Syntax)
//   "crash"     something that is no wire::Error
class FakeListener {
public:
    explicit FakeListener(quint16 port = 0, server::ListenerOptions options = {});

    // Waits until the counter reaches the value, for ten seconds at most.
    static bool Reaches(const std::atomic<int>& counter, int value);
    // Whether a line with this text was logged within ten seconds.
    bool Logged(const QString& text);
    // The lines with this text, so far.
    QStringList Lines(const QString& text);
    quint16 Port() const { return listener->Port(); }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    QStringList lines_;
    server::monitoring::MonitorPtr monitor_;

public:
    TFakeServer server;
    std::atomic<int> sessions{0}; // that exist
    std::atomic<int> begun{0}; // queries
    std::atomic<int> running{0}; // of them
    std::atomic<int> interrupted{0};
    std::atomic<int> brokenReplies{0}; // whose sink raised
    std::unique_ptr<server::Listener> listener; // last: its threads use all of the above
};
