#pragma once

#include "siege/PostgresCluster.h"
#include "siege/attack/Attacker.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <atomic>
#include <memory>
#include <thread>

namespace attack {

// The server that is attacked, over a database of its own, with a log, figures and a desk at work beside.
class Target {
public:
    enum class Storage { Embedded, Postgres, Odbc };

    // `seconds`: after so many it stops a statement. `log`: the file of its log; may be empty.
    Target(int seconds, Storage storage, const QString& log);
    ~Target();
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;

    int Port() const noexcept { return port_; }
    const QTemporaryDir& Folder() const noexcept { return folder_; }
    bool IsAlive() { return process_.state() == QProcess::Running && !process_.waitForFinished(0); }
    // Seconds until it had ended after SIGTERM.
    double Stop();

    // Megabytes: now, and at most since `Forget`.
    int Resident() const { return Memory("VmRSS:"); }
    int Peak() const { return Memory("VmHWM:"); }
    void ForgetPeak() const;
    int LogLines() const;
    // Of `zelmor-server status --metrics`; -1 where it does not answer.
    int Figure(const QByteArray& name) const;

private:
    // Returns when it answers.
    void Start(const QStringList& options);
    int Memory(const QByteArray& what) const;

    QTemporaryDir folder_;
    std::optional<PostgresCluster> cluster_;
    QString log_;
    QProcess process_;
    int port_ = 0;
    int metrics_ = 0;
};

// An honest desk that looks at an order over and over, from an address and with an account that nobody
// attacks from; how long it had to wait at most.
class HonestDesk {
public:
    explicit HonestDesk(const Target& target);
    ~HonestDesk();
    HonestDesk(const HonestDesk&) = delete;
    HonestDesk& operator=(const HonestDesk&) = delete;

    // Seconds, and the reason of a refusal, if there was one; ends its work.
    struct Wait {
        double longest = 0;
        int served = 0;
        QString refused;
    };
    Wait Finish();

private:
    std::atomic<bool> atWork_{false};
    std::atomic<bool> stop_{false};
    Wait wait_;
    std::thread thread_;
};

} // namespace attack
