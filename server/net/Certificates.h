#pragma once

#include "server/monitoring/Monitor.h"

#include <QDateTime>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>

#include <mutex>

namespace server {

// PEM files; both or none.
struct TlsFiles {
    QString certificates; // the server's own, then those that lead to its authority
    QString key; // of the first one, RSA or EC, not protected by a pass phrase

    bool IsGiven() const noexcept { return !certificates.isEmpty() || !key.isEmpty(); }
};

// Why clients should not be served with it: too short a key, expired, not valid yet; empty where they may.
QString WhyUnfit(const QSslCertificate& certificate, const QSslKey& key, const QDateTime& now);

// What the server proves itself with. Any thread may ask for it, also while it is read anew.
class Certificates {
public:
    Certificates(TlsFiles files, monitoring::MonitorPtr monitor);

    // Reads the files. Raises wire::Error (Storage) saying which one cannot be used and why (not ours,
    // expired, too short a key); what was read before then stays in use.
    void Load();
    // For a new connection: TLS 1.2 or newer with forward secrecy, nothing asked of the client.
    QSslConfiguration Configuration() const;

private:
    const TlsFiles files_;
    const monitoring::MonitorPtr monitor_;
    mutable std::mutex mutex_;
    QSslConfiguration configuration_;
};

} // namespace server
