#include "runtime/data/ServerChannel.h"

#include "wire/Error.h"
#include "wire/NativeSocket.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QFile>
#include <QHostAddress>
#include <QNetworkProxy>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QThread>

#include <algorithm>
#include <exception>
#include <mutex>

using namespace Qt::Literals::StringLiterals;
using wire::Error;
using wire::ErrorKind;

namespace {

constexpr int kAskInterval = 50; // milliseconds between two looks at whether to wait on
// A server whose machine or line died says nothing of it; the clerk is told, and a request fails, after so
// long.
constexpr int kSilentSeconds = 32;

QList<QSslCertificate> ReadAuthorities(const QString& path)
{
    QFile file(path);
    if (!file.open(QFile::ReadOnly))
        throw Error(ErrorKind::Policy, u"机构证书文件打不开，请检查：%1"_s.arg(path));
    const QList<QSslCertificate> authorities = QSslCertificate::fromDevice(&file, QSsl::Pem);
    if (authorities.isEmpty())
        throw Error(ErrorKind::Policy, u"机构证书文件里没有证书，请换一个PEM格式的文件：%1"_s.arg(path));
    return authorities;
}

QString NamesOf(const QSslCertificate& certificate)
{
    QStringList names = certificate.subjectAlternativeNames().values();
    if (names.isEmpty())
        names = certificate.subjectInfo(QSslCertificate::CommonName);
    return names.join(u'、');
}

QString DayOf(const QDateTime& time)
{
    return time.toLocalTime().toString(u"yyyy-MM-dd HH:mm"_s);
}

// What is wrong with a certificate and what can be done, for the user.
QString Explain(const QSslError& error, const QString& host)
{
    const QSslCertificate certificate = error.certificate();
    switch (error.error()) {
    case QSslError::CertificateExpired:
        return u"服务器证书已于%1过期。请核对本机的日期；日期无误时请联系管理员更换证书！"_s.arg(
            DayOf(certificate.expiryDate()));
    case QSslError::CertificateNotYetValid:
        return u"服务器证书从%1起才有效。请核对本机的日期；日期无误时请联系管理员！"_s.arg(
            DayOf(certificate.effectiveDate()));
    case QSslError::HostNameMismatch:
        return u"服务器证书是签发给“%1”的，与所填的地址“%2”不符。请改填证书上的名称，或联系管理员！"_s.arg(
            NamesOf(certificate), host);
    case QSslError::SelfSignedCertificate:
    case QSslError::SelfSignedCertificateInChain:
    case QSslError::UnableToGetIssuerCertificate:
    case QSslError::UnableToGetLocalIssuerCertificate:
    case QSslError::UnableToVerifyFirstCertificate:
    case QSslError::CertificateUntrusted:
    case QSslError::InvalidCaCertificate:
    case QSslError::NoPeerCertificate:
        return u"服务器证书不是由受信任的机构签发的，不能确认对方就是公司的服务器。"
               u"请向管理员索取机构证书文件，并在登录窗口里选择它！"_s;
    default:
        return u"服务器证书不能用（代码%1）。请联系管理员！"_s.arg(static_cast<int>(error.error()));
    }
}

// A certificate may be wrong in several ways. One that nobody vouches for says nothing else.
const QSslError& Gravest(const QList<QSslError>& errors)
{
    for (const QSslError& error : errors) {
        switch (error.error()) {
        case QSslError::CertificateExpired:
        case QSslError::CertificateNotYetValid:
        case QSslError::HostNameMismatch:
            break;
        default:
            return error;
        }
    }
    return errors.constFirst();
}

// What became of a connection that was tried. The system's own words are not the user's language.
QString Problem(const QAbstractSocket& socket, int timeout)
{
    switch (socket.error()) {
    case QAbstractSocket::ConnectionRefusedError:
        return u"对方拒绝连接，服务器没有启动，或者端口不对"_s;
    case QAbstractSocket::HostNotFoundError:
        return u"找不到这个名称的服务器，请核对地址"_s;
    case QAbstractSocket::SocketTimeoutError:
        return u"%1秒内没有应答"_s.arg((timeout + 999) / 1000);
    case QAbstractSocket::NetworkError:
        return u"网络不通，请检查本机的网络"_s;
    case QAbstractSocket::RemoteHostClosedError:
        return u"对方关闭了连接"_s;
    case QAbstractSocket::SocketAccessError:
    case QAbstractSocket::SocketResourceError:
        return u"本机的系统不让建立连接"_s;
    default:
        return u"连接失败（代码%1）"_s.arg(static_cast<int>(socket.error()));
    }
}

void Encrypt(QSslSocket& socket, const TServerAddress& address, const TConnectOptions& options, int timeout)
{
    if (!QSslSocket::supportsSsl())
        throw Error(ErrorKind::Policy, u"本机缺少加密组件（OpenSSL），请联系管理员安装！"_s);
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setProtocol(QSsl::TlsV1_2OrLater);
    configuration.setPeerVerifyMode(QSslSocket::VerifyPeer);
    if (!options.caFile.isEmpty())
        configuration.setCaCertificates(ReadAuthorities(options.caFile));
    socket.setSslConfiguration(configuration);
    socket.setPeerVerifyName(address.host);
    socket.startClientEncryption();
    if (socket.waitForEncrypted(timeout))
        return;
    const QList<QSslError> problems = socket.sslHandshakeErrors();
    if (!problems.isEmpty())
        throw Error(ErrorKind::Policy, Explain(Gravest(problems), address.host));
    throw Error(ErrorKind::Connection,
        u"服务器没有按加密方式应答（%1）。请核对地址和端口，或向管理员确认服务器已启用加密！"_s.arg(
            Problem(socket, timeout)));
}

std::unique_ptr<QTcpSocket> Opened(const TServerAddress& address, const TConnectOptions& options, int timeout)
{
    const QDeadlineTimer deadline(timeout);
    const bool encrypted =
        options.tls == TTlsUse::Always || (options.tls == TTlsUse::Network && !address.IsLoopback());
    std::unique_ptr<QTcpSocket> socket;
    QSslSocket* tls = nullptr;
    if (encrypted)
        socket.reset(tls = new QSslSocket);
    else
        socket = std::make_unique<QTcpSocket>();
    socket->setProxy(QNetworkProxy::NoProxy);
    socket->connectToHost(address.host, static_cast<quint16>(address.port));
    if (!socket->waitForConnected(timeout))
        throw Error(ErrorKind::Connection, Problem(*socket, timeout));
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    wire::NativeSocket(socket->socketDescriptor()).ProbePeer(kSilentSeconds);
    if (tls != nullptr)
        Encrypt(*tls, address, options, static_cast<int>(deadline.remainingTime()));
    return socket;
}

// As Opened, on a thread of its own, since neither step of it can be interrupted: one that is given up ends
// there by itself, within the time-out.
std::unique_ptr<QTcpSocket> OpenedMeanwhile(const TServerAddress& address, const TConnectOptions& options,
    int timeout, const std::function<bool()>& keepWaiting)
{
    struct Attempt {
        std::mutex mutex;
        bool givenUp = false;
        std::unique_ptr<QTcpSocket> socket;
        std::exception_ptr failure;
    };
    const auto attempt = std::make_shared<Attempt>();
    std::unique_ptr<QThread> thread(QThread::create([=, home = QThread::currentThread()] {
        try {
            std::unique_ptr<QTcpSocket> socket = Opened(address, options, timeout);
            const std::lock_guard lock(attempt->mutex);
            if (attempt->givenUp)
                return;
            socket->moveToThread(home);
            attempt->socket = std::move(socket);
        } catch (...) {
            attempt->failure = std::current_exception();
        }
    }));
    thread->start();
    while (!thread->wait(QDeadlineTimer(kAskInterval))) {
        if (keepWaiting())
            continue;
        const std::lock_guard lock(attempt->mutex);
        attempt->givenUp = true;
        attempt->socket.reset();
        QThread* const left = thread.release();
        QObject::connect(left, &QThread::finished, left, &QObject::deleteLater);
        if (left->isFinished())
            left->deleteLater();
        throw Error(ErrorKind::Cancelled, u"已取消"_s);
    }
    if (attempt->failure)
        std::rethrow_exception(attempt->failure);
    return std::move(attempt->socket);
}

} // namespace

TServerChannel::TServerChannel(const TServerAddress& address, const TConnectOptions& options,
    int connectTimeout, std::function<bool()> keepWaiting)
    : address_(address.Text())
    , keepWaiting_(std::move(keepWaiting))
    , stream_(keepWaiting_ ? OpenedMeanwhile(address, options, connectTimeout, keepWaiting_)
                           : Opened(address, options, connectTimeout))
    , replyTimeout_(options.replyTimeout)
{
}

TServerChannel::~TServerChannel() = default;

bool TServerChannel::IsRemote() const
{
    return !stream_.Socket().peerAddress().isLoopback();
}

template <typename F> auto TServerChannel::Guarded(F&& work) const
{
    try {
        return work();
    } catch (const Error&) {
        throw Error(ErrorKind::Connection, u"与服务器 %1 的连接已中断！"_s.arg(address_));
    }
}

qsizetype TServerChannel::ReadSome(char* to, qsizetype size, bool idle)
{
    const QDeadlineTimer deadline(replyTimeout_);
    const int patience = keepWaiting_ ? std::min(kAskInterval, replyTimeout_) : replyTimeout_;
    for (;;) {
        const qsizetype got = Guarded([&] { return stream_.Receive(to, size, patience); });
        if (got == 0 && !idle)
            throw Error(ErrorKind::Connection, u"与服务器 %1 的连接在传送数据时中断！"_s.arg(address_));
        if (got != wire::SocketStream::kTimedOut)
            return got;
        if (deadline.hasExpired())
            // Not a broken connection: asking again would only ask too much twice.
            throw Error(
                ErrorKind::Limit, u"服务器 %1 在%2秒内没有应答！"_s.arg(address_).arg(replyTimeout_ / 1000));
        if (keepWaiting_ && !keepWaiting_())
            throw Error(ErrorKind::Cancelled, u"已取消"_s);
    }
}

void TServerChannel::WriteAll(const char* bytes, qsizetype size)
{
    if (!Guarded([&] { return stream_.Send(bytes, size, replyTimeout_); }))
        throw Error(
            ErrorKind::Limit, u"服务器 %1 在%2秒内没有接收数据！"_s.arg(address_).arg(replyTimeout_ / 1000));
}
