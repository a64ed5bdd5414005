#include "server/main/Settings.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace server {
namespace {

struct Option {
    const char16_t* name;
    const char16_t* value; // nullptr: a flag
    const char16_t* help;
};

// Every option of every command.
constexpr Option kOptions[] = {
    {u"config", u"FILE", u"Reads options from a file, one “name = value” a line; the command line wins."},
    {u"data", u"DIR", u"Folder of the embedded database; made when it does not exist."},
    {u"storage", u"URI",
        u"Another database instead: postgresql://USER@HOST/DATABASE, or odbc: and an ODBC connection "
        u"string."},
    {u"connections", u"N", u"Connections to the database at most; 16 unless given."},
    {u"demo", u"SIZE", u"Fills a new database: small, medium, large or a number of orders."},
    {u"now", u"TIME", u"Sets the server's clock, \"YYYY-MM-DD HH:MM:SS\"; it runs on from there."},
    {u"listen", u"ADDR:PORT", u"Where to listen; 127.0.0.1:8866 unless given."},
    {u"tls-certificate", u"FILE", u"Certificate (PEM, with its chain); connections are encrypted."},
    {u"tls-key", u"FILE", u"Private key of the certificate (PEM)."},
    {u"plain-network", nullptr, u"Serve other machines although connections are not encrypted."},
    {u"max-sessions", u"N", u"Clients connected at a time; 1000 unless given."},
    {u"max-sessions-per-account", u"N", u"The same of one account, two a desk; half of all unless given."},
    {u"max-sessions-per-address", u"N",
        u"The same of one address but this machine's own; 500 unless given, 0: any number."},
    {u"max-newcomers", u"N", u"Clients connected and not logged in; 250 unless given."},
    {u"wait-timeout", u"SECONDS",
        u"A request that waits longer for the database is refused; 30 unless given."},
    {u"max-rows", u"N", u"Rows of one query; 2000000 unless given."},
    {u"max-request-bytes", u"N", u"Bytes of one request; 33554432 unless given, and at most."},
    {u"request-memory", u"BYTES",
        u"What the requests of all clients may hold together; 1073741824 unless given."},
    {u"saved-bytes-per-day", u"BYTES",
        u"What an account's saves may leave in audit and outcomes; 1073741824 unless given."},
    {u"disk-reserve", u"BYTES",
        u"Nothing is saved while the embedded database's disk has less free; 536870912 unless given."},
    {u"statement-timeout", u"SECONDS", u"A request that runs longer is stopped; 300 unless given."},
    {u"slow-statement", u"MS", u"A request that takes longer is logged; 1000 unless given."},
    {u"login-timeout", u"SECONDS", u"From connecting to being logged in; 60 unless given."},
    {u"idle-timeout", u"SECONDS", u"Without a request; 43200 (12 hours) unless given."},
    {u"stop-timeout", u"SECONDS", u"What still runs so long after a stop is interrupted; 30 unless given."},
    {u"to", u"FILE", u"Where the copy is to be."},
    {u"user-type", u"TYPE", u"add: 2 may open sites for marketplace orders."},
    {u"rights", u"CODE", u"add: rights code of the account's screens, three characters, each 0 or 1."},
    {u"role", u"ROLE", u"add: reader, clerk, centre or headquarters; the account's site tells unless given."},
    {u"metrics", u"ADDR:PORT",
        u"Figures for Prometheus (/metrics) and for “zelmor-server status”, on an address of this machine's "
        u"own."},
    {u"log-level", u"LEVEL", u"debug, info (unless given), warn, error or off."},
    {u"log-format", u"FORMAT", u"text (unless given) or json."},
};

const Option* Find(const QString& name)
{
    const auto* found = std::find_if(
        std::begin(kOptions), std::end(kOptions), [&](const Option& option) { return name == option.name; });
    return found == std::end(kOptions) ? nullptr : found;
}

void CheckNames(const ConfigFile& file)
{
    for (const QString& name : file.Names()) {
        const Option* option = Find(name);
        if (option == nullptr || name == u"config")
            throw UsageError(u"%1: “%2” is no option"_s.arg(file.Path(), name));
        const QString value = file.Value(name);
        if (option->value == nullptr && value != u"yes" && value != u"no")
            throw UsageError(u"%1: %2 is yes or no, not “%3”"_s.arg(file.Path(), name, value));
    }
}

} // namespace

Settings::Settings(const QString& description, const QStringList& names)
    : names_(names)
{
    parser_.setApplicationDescription(description);
    for (const QString& name : names) {
        const Option* option = Find(name);
        Q_ASSERT(option);
        QCommandLineOption added(name, QString::fromUtf16(option->help));
        if (option->value != nullptr)
            added.setValueName(QString::fromUtf16(option->value));
        parser_.addOption(added);
    }
}

void Settings::Read(const QStringList& arguments)
{
    ParseArguments(parser_, arguments);
    words_ = parser_.positionalArguments();
    if (parser_.isSet(u"config"_s)) {
        file_ = ConfigFile(parser_.value(u"config"_s));
        CheckNames(file_);
    }
}

void Settings::RequireNoWords() const
{
    if (!words_.isEmpty())
        throw UsageError(u"“%1” is not understood"_s.arg(words_.constFirst()));
}

bool Settings::IsSet(const QString& name) const
{
    return IsOnCommandLine(name) || file_.Contains(name);
}

QString Settings::Value(const QString& name) const
{
    return IsOnCommandLine(name) ? parser_.value(name) : file_.Value(name);
}

bool Settings::Flag(const QString& name) const
{
    return IsOnCommandLine(name) || file_.Value(name) == u"yes";
}

qint64 Settings::Number(const QString& name, qint64 otherwise, qint64 least, qint64 most) const
{
    if (!IsSet(name))
        return otherwise;
    bool ok = false;
    const qint64 number = Value(name).toLongLong(&ok);
    if (!ok || number < least || number > most)
        throw UsageError(u"--%1 takes a number from %2 to %3"_s.arg(name).arg(least).arg(most));
    return number;
}

} // namespace server
