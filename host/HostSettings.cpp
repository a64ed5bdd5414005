#include "host/HostSettings.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype kServersKept = 8;
const QString kAlways = u"always"_s;
const QString kNever = u"never"_s;

// An account may hold what a key may not.
QString KeyOf(const QString& account)
{
    return QString::fromLatin1(account.toUtf8().toPercentEncoding());
}

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

std::vector<TServerAddresses> THostSettings::Servers() const
{
    std::vector<TServerAddresses> servers;
    const QStringList texts = file_.ReadString(u"login"_s, u"servers"_s).split(u';', Qt::SkipEmptyParts);
    for (const QString& text : texts) {
        if (auto addresses = ParseServerAddresses(text))
            servers.push_back(std::move(*addresses));
    }
    return servers;
}

TTlsUse THostSettings::Tls() const
{
    const QString word = file_.ReadString(u"login"_s, u"tls"_s);
    return word == kAlways ? TTlsUse::Always : word == kNever ? TTlsUse::Never : TTlsUse::Network;
}

QString THostSettings::CaFile() const
{
    return file_.ReadString(u"login"_s, u"ca"_s);
}

void THostSettings::RememberLogin(const QString& account, const std::optional<TConnectOptions>& way)
{
    file_.WriteString(u"login"_s, u"account"_s, account);
    file_.WriteString(u"login"_s, u"place"_s, way ? u"server"_s : u"embedded"_s);
    if (way) {
        QStringList texts{TextOf(way->addresses)};
        for (const TServerAddresses& known : Servers()) {
            if (known != way->addresses && texts.size() < kServersKept)
                texts.append(TextOf(known));
        }
        file_.WriteString(u"login"_s, u"servers"_s, texts.join(u';'));
        file_.WriteString(u"login"_s, u"tls"_s,
            way->tls == TTlsUse::Always      ? kAlways
                : way->tls == TTlsUse::Never ? kNever
                                             : u"network"_s);
        file_.WriteString(u"login"_s, u"ca"_s, way->caFile);
    }
    file_.Flush();
}

QStringList THostSettings::OpenScreens(const QString& account) const
{
    return file_.ReadString(u"screens"_s, KeyOf(account)).split(u';', Qt::SkipEmptyParts);
}

void THostSettings::RememberOpenScreens(const QString& account, const QStringList& names)
{
    file_.WriteString(u"screens"_s, KeyOf(account), names.join(u';'));
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
