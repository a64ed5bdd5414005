#include "server/main/Arguments.h"

#include "server/monitoring/Process.h"

#include <QCommandLineParser>

#include <cstdio>
#include <cstdlib>

using namespace Qt::Literals::StringLiterals;

namespace server {

Endpoint ParseEndpoint(const QString& text, quint16 defaultPort)
{
    Endpoint endpoint;
    endpoint.port = defaultPort;
    QString host = text;
    const qsizetype colon = text.lastIndexOf(u':');
    const bool bareIpv6 = text.count(u':') > 1 && !text.startsWith(u'[');
    if (colon >= 0 && !bareIpv6 && !text.endsWith(u']')) {
        bool ok = false;
        endpoint.port = text.sliced(colon + 1).toUShort(&ok);
        if (!ok)
            throw UsageError(u"“%1” does not end in a port between 0 and 65535"_s.arg(text));
        host = text.first(colon);
    }
    if (host.startsWith(u'[') && host.endsWith(u']'))
        host = host.sliced(1, host.size() - 2);
    if (host == u"*")
        endpoint.address = QHostAddress(QHostAddress::Any);
    else if (!host.isEmpty() && host != u"localhost" && !endpoint.address.setAddress(host))
        throw UsageError(
            u"“%1” is not an address of this machine; give one such as 127.0.0.1:8866"_s.arg(text));
    return endpoint;
}

void ParseArguments(QCommandLineParser& parser, const QStringList& arguments)
{
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    const bool understood = parser.parse(arguments);
    if (parser.isSet(help)) {
        std::fputs(qUtf8Printable(parser.helpText()), stdout);
        std::exit(EXIT_SUCCESS);
    }
    if (parser.isSet(version)) {
        std::printf("zelmor-server %s\n", monitoring::Version());
        std::exit(EXIT_SUCCESS);
    }
    if (!understood)
        throw UsageError(parser.errorText());
}

} // namespace server
