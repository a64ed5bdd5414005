#pragma once

#include "server/provider/ApplicationServer.h"

#include <QObject>

#include <atomic>
#include <memory>
#include <thread>

// The application server in this process, opened (and on a first start filled) on a thread of its own, so
// that the login window is there at once and stays alive meanwhile.
class TEmbeddedServer : public QObject {
    Q_OBJECT
public:
    explicit TEmbeddedServer(QObject* parent = nullptr);
    // Gives up an opening that still runs.
    ~TEmbeddedServer() override;

    // Does nothing while an opening runs or when it has succeeded; after a failure tries again.
    void Open(const server::Options& options);
    bool IsReady() const noexcept { return server_ != nullptr; }
    // nullptr until ready.
    server::ApplicationServer* Server() const noexcept { return server_.get(); }

Q_SIGNALS:
    void Progress(const QString& stage, int percent);
    void Ready();
    void Failed(const QString& message);

private:
    void Finish(std::unique_ptr<server::ApplicationServer> server, const QString& problem);

    std::thread thread_;
    std::atomic<bool> givenUp_ = false;
    bool opening_ = false;
    std::unique_ptr<server::ApplicationServer> server_;
};
