#include "server/main/Commands.h"
#include "server/main/Settings.h"

#include "server/monitoring/MetricsPort.h"

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace server {

int ShowStatus(const QStringList& arguments)
{
    Settings settings(
        u"Tells what a server on this machine is doing. The server must have been given --metrics.\n"
        "The exit code is 1 when nothing answers."_s,
        {u"metrics"_s, u"config"_s});
    settings.Read(arguments);
    settings.RequireNoWords();
    const Endpoint endpoint = settings.Address(u"metrics"_s, kMetricsPort);
    const QByteArray page = monitoring::FetchPage(endpoint.address, endpoint.port, "/status");
    std::fwrite(page.constData(), 1, static_cast<size_t>(page.size()), stdout);
    return 0;
}

} // namespace server
