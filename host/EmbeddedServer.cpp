#include "host/EmbeddedServer.h"

using namespace Qt::Literals::StringLiterals;

TEmbeddedServer::TEmbeddedServer(QObject* parent)
    : QObject(parent)
{
}

TEmbeddedServer::~TEmbeddedServer()
{
    givenUp_ = true;
    if (thread_.joinable())
        thread_.join();
}

void TEmbeddedServer::Open(const server::Options& options)
{
    if (opening_ || server_)
        return;
    if (thread_.joinable())
        thread_.join();
    opening_ = true;
    server::Options ours = options;
    ours.onProgress = [this](const QString& stage, int percent) {
        if (givenUp_)
            throw wire::Error(wire::ErrorKind::Usage, u"已取消"_s);
        QMetaObject::invokeMethod(
            this, [this, stage, percent] { Q_EMIT Progress(stage, percent); }, Qt::QueuedConnection);
    };
    thread_ = std::thread([this, ours = std::move(ours)] {
        // Shared, because what is queued must be copyable.
        auto opened = std::make_shared<std::unique_ptr<server::ApplicationServer>>();
        QString problem;
        try {
            *opened = std::make_unique<server::ApplicationServer>(ours);
        } catch (const std::exception& error) {
            problem = QString::fromUtf8(error.what());
        }
        QMetaObject::invokeMethod(
            this, [this, opened, problem] { Finish(std::move(*opened), problem); }, Qt::QueuedConnection);
    });
}

void TEmbeddedServer::Finish(std::unique_ptr<server::ApplicationServer> server, const QString& problem)
{
    opening_ = false;
    server_ = std::move(server);
    if (server_)
        Q_EMIT Ready();
    else
        Q_EMIT Failed(problem);
}
