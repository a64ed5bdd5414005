#include "host/HostSettings.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype kServersKept = 8;

} // namespace

THostSettings::THostSettings(const QString& dataDir, std::function<void(const QString&)> onProblem)
{
    file_.OnProblem = std::move(onProblem);
    file_.SetIniFileName(dataDir + u"/host.ini"_s);
}

bool THostSettings::UsesServer() const
{
    return file_.ReadString(u"login"_s, u"place"_s) == u"server"_s;
}

QString THostSettings::LastAccount() const
{
    return file_.ReadString(u"login"_s, u"account"_s);
}

std::vector<TServerAddress> THostSettings::Servers() const
{
    std::vector<TServerAddress> servers;
    const QStringList texts = file_.ReadString(u"login"_s, u"servers"_s).split(u';', Qt::SkipEmptyParts);
    for (const QString& text : texts) {
        if (const auto address = ParseServerAddress(text))
            servers.push_back(*address);
    }
    return servers;
}

void THostSettings::RememberLogin(const QString& account, const std::optional<TServerAddress>& server)
{
    file_.WriteString(u"login"_s, u"account"_s, account);
    file_.WriteString(u"login"_s, u"place"_s, server ? u"server"_s : u"embedded"_s);
    if (server) {
        QStringList texts{server->Text()};
        for (const TServerAddress& known : Servers()) {
            if (known != *server && texts.size() < kServersKept)
                texts.append(known.Text());
        }
        file_.WriteString(u"login"_s, u"servers"_s, texts.join(u';'));
    }
    file_.Flush();
}

QByteArray THostSettings::WindowGeometry() const
{
    return QByteArray::fromBase64(file_.ReadString(u"window"_s, u"geometry"_s).toLatin1());
}

void THostSettings::RememberWindowGeometry(const QByteArray& geometry)
{
    file_.WriteString(u"window"_s, u"geometry"_s, QString::fromLatin1(geometry.toBase64()));
    file_.Flush();
}
