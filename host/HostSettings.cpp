#include "host/HostSettings.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype kServersKept = 8;
const QString kAlways = u"always"_s;
const QString kNever = u"never"_s;
const QString kLists = u"lists."_s; // and the account
const QString kStripes = u"stripes"_s;
const std::pair<QString, int TListStyle::*> kListNumbers[] = {
    {u"font"_s, &TListStyle::fontSize}, {u"space"_s, &TListStyle::rowSpace}};
const std::pair<QString, QColor TListStyle::*> kListColors[] = {{u"unsaved"_s, &TListStyle::unsaved},
    {u"refused"_s, &TListStyle::refused}, {u"found"_s, &TListStyle::found}, {u"hit"_s, &TListStyle::hit}};

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

TListStyle THostSettings::ListStyle(const QString& account) const
{
    const QString section = kLists + KeyOf(account);
    const QStringList kept = file_.ReadKeys(section);
    TListStyle style;
    const auto read = [&](const QString& key, auto&& take) {
        const QString text = file_.ReadString(section, key);
        if (kept.contains(key) && !take(text))
            qWarning("host.ini [%s]: %s=%s is not understood, the standard is used", qUtf8Printable(section),
                qUtf8Printable(key), qUtf8Printable(text));
    };
    for (const auto& [key, number] : kListNumbers) {
        read(key, [&style, number = number](const QString& text) {
            bool ok = false;
            const int value = text.toInt(&ok);
            if (ok)
                style.*number = value;
            return ok;
        });
    }
    for (const auto& [key, color] : kListColors) {
        read(key, [&style, color = color](const QString& text) {
            const QColor value = QColor::fromString(text);
            if (value.isValid())
                style.*color = value;
            return value.isValid();
        });
    }
    read(kStripes, [&style](const QString& text) {
        style.stripes = text == u"1";
        return text == u"1" || text == u"0";
    });
    return style.Bounded();
}

void THostSettings::RememberListStyle(const QString& account, const TListStyle& style)
{
    const QString section = kLists + KeyOf(account);
    file_.EraseSection(section);
    // What nobody changed is not written: a later version of the program may have another standard.
    const TListStyle standard;
    for (const auto& [key, number] : kListNumbers) {
        if (style.*number != standard.*number)
            file_.WriteString(section, key, QString::number(style.*number));
    }
    for (const auto& [key, color] : kListColors) {
        if (style.*color != standard.*color)
            file_.WriteString(section, key, (style.*color).name());
    }
    if (style.stripes != standard.stripes)
        file_.WriteString(section, kStripes, QString::number(int(style.stripes)));
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
