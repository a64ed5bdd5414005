#pragma once

#include <QProcess>
#include <QString>

// An application server of its own on a free port of this machine; ends with its scope.
class ServerProcess {
public:
    explicit ServerProcess(const QString& dataFolder);
    ~ServerProcess();

    int Port() const noexcept { return port_; }

private:
    QProcess process_;
    int port_ = 0;
};

// An account of the demo company.
QString BenchAccount();
QString BenchPassword();
