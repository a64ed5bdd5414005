#pragma once

#include "wire/ColumnData.h"
#include "wire/Messages.h"

#include <QStringList>

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

// Rows from column names with types and cells row by row.
wire::RowSet MakeRows(
    const std::vector<wire::ColumnInfo>& columns, const std::vector<std::vector<wire::Value>>& rows);
// Text columns only; empty text is null.
wire::RowSet MakeTextRows(const QStringList& columns, const std::vector<QStringList>& rows);

// The verdict that every row is taken, or refused with the reason.
wire::ApplyOutcome AcceptAll(const wire::ChangeLog& changes);
wire::ApplyOutcome RejectAll(const wire::ChangeLog& changes, const QString& reason);

// What may become of a request on its way.
enum class Fault { None, LoseRequest, LoseReply, RefuseWhole, LoginFails };

// A server without a database that answers as the test says, and remembers the outcomes of saves by their
// names. Outlives the transports to it. Several threads may ask it at once; handlers are set before.
struct TFakeServer {
    // Default: no columns; no rows changed; every change accepted.
    std::function<wire::RowSet(const QString& sqlText)> OnQuery;
    std::function<qint64(const QString& sqlText)> OnExecute;
    std::function<wire::ApplyOutcome(const wire::ChangeLog& changes)> OnApply;
    std::function<wire::ApplyOutcome(const wire::Request& request)> OnSave; // instead of OnApply
    // In process: what becomes of the coming saves and statements, one a sending; and how long each answer
    // takes, in milliseconds, unless it is given up.
    std::deque<Fault> Faults;
    int Delay = 0;
    bool Down = false; // in process: connections end, and none is made

    std::vector<wire::Request> Requests; // as they came in, logins left out
    std::atomic<int> Logins{0};
    std::atomic<int> SaveRequests{0};
    std::atomic<int> SavedRows{0};

    // The SQL texts of queries, in order.
    QStringList Queries() const;
    // In process. Every password is right but "wrong".
    std::unique_ptr<wire::Transport> MakeTransport();
    // Whichever way the request came.
    wire::Reply Answer(const wire::Request& request, wire::ReplySink& sink);

private:
    wire::Identity LogIn(const wire::Request& request);
    wire::ApplyOutcome Save(const wire::Request& request);

    std::mutex mutex_;
    std::map<std::pair<std::array<quint8, 16>, quint64>, wire::ApplyOutcome> outcomes_;
};

wire::Request LoginRequest(const QString& password = QStringLiteral("right"));
wire::Request QueryRequest(const QString& text);
