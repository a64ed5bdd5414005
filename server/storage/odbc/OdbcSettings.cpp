#include "server/storage/odbc/OdbcSettings.h"

#include "wire/Error.h"

#include <QFile>
#include <QStringList>

#include <algorithm>
#include <utility>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace storage::odbc {
namespace {

struct Part {
    QString name; // upper case
    QString value; // without its braces
    QString text; // as it stood
};

[[noreturn]] void Refuse(const QString& message)
{
    throw wire::Error(wire::ErrorKind::Usage, message);
}

// Where the part that begins at `from` ends: at a semicolon outside of braces; "}}" is a brace of the value.
qsizetype EndOfPart(const QString& text, qsizetype from)
{
    bool inBraces = false;
    for (qsizetype i = from; i < text.size(); ++i) {
        if (inBraces && text[i] == u'}') {
            if (i + 1 < text.size() && text[i + 1] == u'}')
                ++i;
            else
                inBraces = false;
        } else if (!inBraces && text[i] == u'{' && i > 0 && text[i - 1] == u'=') {
            inBraces = true;
        } else if (!inBraces && text[i] == u';') {
            return i;
        }
    }
    // What stands in the string may be a password: it is not repeated.
    if (inBraces)
        Refuse(u"The ODBC connection string has a '{' without its '}'."_s);
    return text.size();
}

std::vector<Part> Split(const QString& connection)
{
    std::vector<Part> parts;
    for (qsizetype from = 0; from < connection.size();) {
        const qsizetype end = EndOfPart(connection, from);
        const QString text = connection.mid(from, end - from).trimmed();
        from = end + 1;
        if (text.isEmpty())
            continue;
        const qsizetype equals = text.indexOf(u'=');
        if (equals <= 0)
            Refuse(u"The ODBC connection string must be NAME=value;NAME=value…"_s);
        QString value = text.mid(equals + 1).trimmed();
        if (value.startsWith(u'{') && value.endsWith(u'}'))
            value = value.mid(1, value.size() - 2).replace(u"}}"_s, u"}"_s);
        parts.push_back({text.first(equals).trimmed().toUpper(), value, text});
    }
    return parts;
}

QString ReadPassword(const QString& fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        throw wire::Error(wire::ErrorKind::Storage,
            u"Cannot read the password file “%1”: %2"_s.arg(fileName, file.errorString()));
    QString password = QString::fromUtf8(file.readLine());
    while (password.endsWith(u'\n') || password.endsWith(u'\r'))
        password.chop(1);
    return password;
}

} // namespace

Settings ReadSettings(const QString& connection)
{
    std::vector<Part> parts = Split(connection);
    Settings settings;
    const auto take = [&parts](const QString& name) -> QString {
        const auto found = std::ranges::find(parts, name, &Part::name);
        if (found == parts.end())
            return {};
        QString value = found->value;
        parts.erase(found);
        return value;
    };
    settings.schema = take(u"ZELMOR_SCHEMA"_s);
    const QString passwordFile = take(u"ZELMOR_PASSWORD_FILE"_s);
    if (!passwordFile.isEmpty()) {
        QString password = ReadPassword(passwordFile);
        parts.push_back({u"PWD"_s, password, u"PWD={%1}"_s.arg(QString(password).replace(u"}"_s, u"}}"_s))});
    }
    // The schema's name stands in a statement, so it is a name and nothing else.
    const auto isNamePart = [](QChar c) { return c.isLetterOrNumber() || c == u'_' || c == u'$'; };
    if (!std::ranges::all_of(settings.schema, isNamePart))
        Refuse(u"ZELMOR_SCHEMA must be a plain name."_s);

    const auto isSource = [](const Part& part) {
        return part.name == u"DSN" || part.name == u"DRIVER" || part.name == u"FILEDSN";
    };
    const auto source = std::ranges::find_if(parts, isSource);
    if (source == parts.end())
        Refuse(u"The ODBC connection string needs DSN=… or DRIVER={…}."_s);
    std::rotate(parts.begin(), source, source + 1);

    QStringList texts;
    QStringList places;
    for (const Part& part : parts) {
        if (part.name.startsWith(u"ZELMOR_"))
            Refuse(u"Unknown setting %1 in the ODBC connection string."_s.arg(part.name));
        texts << part.text;
        if (part.name == u"PWD" || part.name == u"PASSWORD")
            settings.password = part.value;
        static const QStringList told{u"DSN"_s, u"FILEDSN"_s, u"SERVER"_s, u"SERVERNAME"_s, u"PORT"_s,
            u"DBQ"_s, u"DATABASE"_s, u"UID"_s};
        if (told.contains(part.name))
            places << part.name + u'=' + part.value;
    }
    settings.place = places.join(u';');
    settings.database = texts.join(u';');
    // Qt takes the string as it is where it sees a driver or a server in it, and puts "DSN=" in front of any
    // other.
    const bool asItIs = settings.database.contains(u"DRIVER=", Qt::CaseInsensitive)
        || settings.database.contains(u"SERVER=", Qt::CaseInsensitive);
    if (!asItIs && parts.front().name == u"DSN")
        settings.database.remove(0, texts.front().indexOf(u'=') + 1);
    return settings;
}

} // namespace storage::odbc
