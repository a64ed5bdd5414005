#include "server/net/Certificates.h"

#include <QDateTime>
#include <QFile>
#include <QSslCertificate>
#include <QSslCipher>
#include <QSslDiffieHellmanParameters>
#include <QSslKey>
#include <QSslSocket>

using namespace Qt::Literals::StringLiterals;
using wire::Error;
using wire::ErrorKind;

namespace server {
namespace {

constexpr qint64 kWarnDays = 30; // before a certificate expires

[[noreturn]] void Refuse(const QString& path, const QString& reason)
{
    throw Error(ErrorKind::Storage, u"%1: %2"_s.arg(path, reason));
}

QByteArray Contents(const QString& path)
{
    QFile file(path);
    if (!file.open(QFile::ReadOnly))
        Refuse(path, file.errorString());
    return file.readAll();
}

QSslKey KeyFrom(const QString& path)
{
    const QByteArray pem = Contents(path);
    for (const QSsl::KeyAlgorithm algorithm : {QSsl::Rsa, QSsl::Ec}) {
        QSslKey key(pem, algorithm);
        if (!key.isNull())
            return key;
    }
    Refuse(path, u"holds no RSA or EC private key in PEM form without a pass phrase"_s);
}

// A private key's encoding repeats the end of its public half's: exponent and modulus, or the point.
bool BelongsTo(const QSslKey& key, const QSslCertificate& certificate)
{
    constexpr qsizetype kEnd = 64;
    const QSslKey publicKey = certificate.publicKey();
    return publicKey.algorithm() == key.algorithm() && key.toDer().contains(publicKey.toDer().last(kEnd));
}

// Only ciphers with forward secrecy (a key that leaks later opens no old recording) that detect changed
// bytes.
QList<QSslCipher> GoodCiphers()
{
    QList<QSslCipher> ciphers = QSslConfiguration::supportedCiphers();
    ciphers.removeIf([](const QSslCipher& cipher) {
        const QString name = cipher.name();
        const bool tls13 = name.startsWith(u"TLS_"_s);
        const bool forward = name.startsWith(u"ECDHE-"_s) || name.startsWith(u"DHE-"_s);
        const bool sealed = name.contains(u"-GCM-"_s) || name.contains(u"CHACHA20"_s);
        return !tls13 && !(forward && sealed);
    });
    return ciphers;
}

} // namespace

QString WhyUnfit(const QSslCertificate& certificate, const QSslKey& key, const QDateTime& now)
{
    // Shorter ones can be broken with today's machines.
    const int least = key.algorithm() == QSsl::Rsa ? 2048 : 224;
    if (key.length() < least)
        return u"has a key of %1 bits; %2 are the least"_s.arg(key.length()).arg(least);
    const auto told = [](const QDateTime& time) { return time.toUTC().toString(Qt::ISODate); };
    if (certificate.expiryDate() < now)
        return u"expired at %1"_s.arg(told(certificate.expiryDate()));
    if (certificate.effectiveDate() > now)
        return u"is not valid before %1"_s.arg(told(certificate.effectiveDate()));
    return {};
}

Certificates::Certificates(TlsFiles files, monitoring::MonitorPtr monitor)
    : files_(std::move(files))
    , monitor_(std::move(monitor))
{
}

void Certificates::Load()
{
    if (!QSslSocket::supportsSsl())
        throw Error(ErrorKind::Storage, u"TLS needs OpenSSL 3, which Qt did not find"_s);
    if (files_.certificates.isEmpty() || files_.key.isEmpty())
        throw Error(ErrorKind::Storage, u"TLS needs a certificate file and a key file"_s);
    const QList<QSslCertificate> chain = QSslCertificate::fromData(Contents(files_.certificates));
    if (chain.isEmpty())
        Refuse(files_.certificates, u"holds no certificate in PEM form"_s);
    const QSslKey key = KeyFrom(files_.key);
    if (!BelongsTo(key, chain.constFirst()))
        Refuse(files_.key, u"is not the key of the first certificate in %1"_s.arg(files_.certificates));

    if (const QString reason = WhyUnfit(chain.constFirst(), key, QDateTime::currentDateTimeUtc());
        !reason.isEmpty())
        Refuse(files_.certificates, reason);

    QSslConfiguration configuration;
    configuration.setProtocol(QSsl::TlsV1_2OrLater);
    configuration.setCiphers(GoodCiphers());
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
    configuration.setLocalCertificateChain(chain);
    configuration.setPrivateKey(key);
    // Unused here, and each connection would hold a copy.
    configuration.setCaCertificates({});
    configuration.setDiffieHellmanParameters(QSslDiffieHellmanParameters());
    configuration.setSslOption(QSsl::SslOptionDisableSessionTickets, true);
    {
        const std::lock_guard lock(mutex_);
        configuration_ = configuration;
    }

    const QDateTime end = chain.constFirst().expiryDate();
    const QString names = QStringList(chain.constFirst().subjectAlternativeNames().values()).join(u',');
    const QString day = end.toUTC().toString(Qt::ISODate);
    monitor_->metrics.certificateEnd.Set(end.toSecsSinceEpoch());
    const auto level = QDateTime::currentDateTimeUtc().daysTo(end) < kWarnDays ? monitoring::LogLevel::Warn
                                                                               : monitoring::LogLevel::Info;
    monitor_->log.Write(
        level, "certificate", {{"file", files_.certificates}, {"names", names}, {"expires", day}});
}

QSslConfiguration Certificates::Configuration() const
{
    const std::lock_guard lock(mutex_);
    return configuration_;
}

} // namespace server
