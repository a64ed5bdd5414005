#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

// An application server of its own on a free port of this machine; ends with its scope.
class ServerProcess {
public:
    // `options` besides folder and address; no folder: they name another database. Raises wire::Error when it
    // does not come up.
    explicit ServerProcess(const QString& dataFolder, const QStringList& options = {});
    ~ServerProcess();

    int Port() const noexcept { return port_; }
    qint64 ProcessId() const noexcept { return process_.processId(); }
    // As a power cut would: no warning, nothing finished. Returns when it is gone.
    void Kill();
    // Again on the same port.
    void Start();

private:
    QStringList arguments_;
    QProcess process_;
    int port_ = 0;
};

// A port of this machine that nobody listens on.
int FreePort();
// Returns when the program answers on the port; raises wire::Error, with the hint, when it does not or ends.
void AwaitServer(QProcess& program, int port, int milliseconds, const QString& hint = {});
// An account of the demo company, by its site; empty: the first.
QString DemoAccountOf(const QString& site = {});
