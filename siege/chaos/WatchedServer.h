#pragma once

#include "runtime/data/TcpTransport.h"
#include "tests/support/TestAuthority.h"

#include <QElapsedTimer>
#include <QProcess>

#include <optional>

namespace chaos {

// A server that nobody kills, beside those that are: encrypted, over the same database. Its certificate is
// replaced while it serves, and what it holds of the machine must not grow with the work that it has done.
class WatchedServer {
public:
    // Raises wire::Error where it does not come up.
    WatchedServer(const QString& databaseUri, const QString& folder);
    ~WatchedServer() { Stop(); }
    WatchedServer(const WatchedServer&) = delete;
    WatchedServer& operator=(const WatchedServer&) = delete;

    TConnectOptions Way() const;
    // Another certificate in the place of the present one, and the signal to read it.
    void Reload();
    void Stop();

    // After some of its work, and at the end of it.
    void NoteEarly() { early_ = Now(); }
    void NoteLate() { late_ = Now(); }
    // What has grown between the two, or went wrong otherwise; empty: nothing.
    QStringList Problems() const;
    QString Report() const;

private:
    struct Figures {
        qint64 milliseconds = 0;
        qint64 megabytes = 0;
        qint64 descriptors = 0;
        qint64 threads = 0;
        qint64 logBytes = 0;
        qint64 workBytes = 0; // of the log
    };
    Figures Now() const;

    TestAuthority authority_;
    TestAuthority::Files files_;
    QString log_;
    QProcess process_;
    int port_ = 0;
    int reloads_ = 0;
    bool stopped_ = false;
    QElapsedTimer age_;
    Figures early_;
    Figures late_;
};

} // namespace chaos
