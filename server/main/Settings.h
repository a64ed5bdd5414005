#pragma once

#include "server/main/Arguments.h"
#include "server/main/ConfigFile.h"

#include <QCommandLineParser>

namespace server {

// What a command was told: by its command line, else by the file that `--config` names. Any command takes a
// file that was written for the server; values that the command has no use for are ignored.
class Settings {
public:
    // The command takes the options of these names (see kOptions in Settings.cpp), and --help. `description`
    // heads the help.
    Settings(const QString& description, const QStringList& names);

    QCommandLineParser& Parser() noexcept { return parser_; }
    // Raises UsageError. Prints the help and ends the process where it is asked for.
    void Read(const QStringList& arguments);

    bool IsSet(const QString& name) const;
    // Empty where it is not set.
    QString Value(const QString& name) const;
    bool Flag(const QString& name) const;
    // The number, or `otherwise`; raises UsageError outside of the bounds.
    qint64 Number(const QString& name, qint64 otherwise, qint64 least, qint64 most) const;
    // Where to listen or to ask. Raises UsageError.
    Endpoint Address(const QString& name, quint16 defaultPort) const
    {
        return ParseEndpoint(Value(name), defaultPort);
    }
    // Refuses words that the command does not know. Raises UsageError.
    void RequireNoWords() const;
    const QStringList& Words() const noexcept { return words_; }
    const ConfigFile& File() const noexcept { return file_; }
    // False for one that the command does not take, too.
    bool IsOnCommandLine(const QString& name) const { return names_.contains(name) && parser_.isSet(name); }

private:
    const QStringList names_;
    QCommandLineParser parser_;
    ConfigFile file_;
    QStringList words_;
};

} // namespace server
