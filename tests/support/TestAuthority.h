#pragma once

#include <QString>
#include <QTemporaryDir>

// An authority of its own that signs servers' certificates, made by the openssl command in a folder that ends
// with it.
class TestAuthority {
public:
    struct Files {
        QString certificates;
        QString key;
    };

    // Raises wire::Error (Usage) where openssl fails.
    TestAuthority();

    // For clients.
    QString CaFile() const { return folder_.filePath(QStringLiteral("ca.pem")); }
    // A new key and its certificate. `names` as openssl writes subjectAltName; -1 day: one that has expired.
    Files Issue(const QString& names = QStringLiteral("DNS:localhost,IP:127.0.0.1"), int days = 30);

private:
    QTemporaryDir folder_;
    int issued_ = 0;
};
