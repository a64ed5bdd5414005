#pragma once

#include "server/net/Listener.h"
#include "tests/support/RowKeeper.h"

#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>

// A server without a database, which does as its query texts say:
//   "rows N"    N rows of a number, its text and null
//   "wait"      answers when interrupted, with Error(Limit)
//   "slow N"    one row after N milliseconds
//   "fail"      Error(Syntax)
//   "crash"     something that is no wire::Error
// It counts what it was asked and applies a change log of each name once.
class FakeServer {
public:
    std::unique_ptr<server::Session> NewSession();

    // Waits until the counter reaches the value, for ten seconds at most.
    static bool Reaches(const std::atomic<int>& counter, int value);

    std::atomic<int> logins{0};
    std::atomic<int> sessions{0}; // that exist
    std::atomic<int> running{0}; // queries
    std::atomic<int> interrupted{0};
    std::atomic<int> brokenReplies{0}; // whose sink raised
    std::atomic<int> appliedRows{0};
    std::atomic<int> applyRequests{0};

private:
    friend class FakeSession;
    std::mutex mutex_;
    std::map<std::pair<std::array<quint8, 16>, quint64>, wire::ApplyOutcome> outcomes_;
};

// A listener over a fake server, on a free port, with short times.
class FakeListener {
public:
    explicit FakeListener(quint16 port = 0, server::ListenerOptions options = {});

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
    FakeServer server;
    std::unique_ptr<server::Listener> listener; // last: its threads use all of the above
};

wire::Request LoginRequest(const QString& password = QStringLiteral("right"));
wire::Request QueryRequest(const QString& text);
