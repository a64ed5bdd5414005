#pragma once

#include <QHostAddress>
#include <QString>

class QCommandLineParser;

namespace server {

// What was typed makes no sense; `what` says why, for the user.
class UsageError : public std::exception {
public:
    explicit UsageError(const QString& message)
        : utf8_(message.toUtf8())
    {
    }
    const char* what() const noexcept override { return utf8_.constData(); }

private:
    QByteArray utf8_;
};

struct Endpoint {
    QHostAddress address = QHostAddress(QHostAddress::LocalHost);
    quint16 port = 8866;
};

// "ADDR:PORT", "ADDR" or ":PORT"; IPv6 addresses in brackets; "localhost" and "*" are understood. Raises
// UsageError.
Endpoint ParseEndpoint(const QString& text, quint16 defaultPort = 8866);

// Reads the arguments; prints help or version and ends the process where it is asked for. Raises UsageError.
void ParseArguments(QCommandLineParser& parser, const QStringList& arguments);

} // namespace server
