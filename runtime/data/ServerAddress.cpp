#include "runtime/data/ServerAddress.h"

#include <QHostAddress>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

QString TServerAddress::Text() const
{
    const QString name = host.contains(u':') ? u'[' + host + u']' : host;
    return name + u':' + QString::number(port);
}

bool TServerAddress::IsLoopback() const
{
    return host.compare(u"localhost"_s, Qt::CaseInsensitive) == 0 || QHostAddress(host).isLoopback();
}

std::optional<TServerAddress> ParseServerAddress(const QString& text)
{
    const QString trimmed = text.trimmed();
    TServerAddress address{trimmed};
    QString portText;
    if (trimmed.startsWith(u'[')) {
        const qsizetype end = trimmed.indexOf(u']');
        if (end < 0)
            return std::nullopt;
        address.host = trimmed.mid(1, end - 1);
        const QString rest = trimmed.mid(end + 1);
        if (!rest.isEmpty() && !rest.startsWith(u':'))
            return std::nullopt;
        portText = rest.mid(1);
        if (!rest.isEmpty() && portText.isEmpty())
            return std::nullopt;
    } else if (trimmed.count(u':') == 1) {
        address.host = trimmed.section(u':', 0, 0);
        portText = trimmed.section(u':', 1);
        if (portText.isEmpty())
            return std::nullopt;
    }
    if (!portText.isEmpty()) {
        bool isNumber = false;
        address.port = portText.toInt(&isNumber);
        if (!isNumber || address.port < 1 || address.port > 65535)
            return std::nullopt;
    }
    const bool hasBlank =
        std::any_of(address.host.cbegin(), address.host.cend(), [](QChar c) { return c.isSpace(); });
    if (address.host.isEmpty() || hasBlank)
        return std::nullopt;
    return address;
}

std::optional<TServerAddresses> ParseServerAddresses(const QString& text)
{
    // As typed on either keyboard.
    static const QRegularExpression kBetween(u"[,，、;；]"_s);
    TServerAddresses addresses;
    for (const QString& part : text.split(kBetween)) {
        const auto address = ParseServerAddress(part);
        if (!address)
            return std::nullopt;
        if (std::find(addresses.begin(), addresses.end(), *address) == addresses.end())
            addresses.push_back(*address);
    }
    return addresses;
}

QString TextOf(const TServerAddresses& addresses)
{
    QStringList texts;
    for (const TServerAddress& address : addresses)
        texts.append(address.Text());
    return texts.join(u',');
}
