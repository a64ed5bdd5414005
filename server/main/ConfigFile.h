#pragma once

#include <QMap>
#include <QString>

namespace server {

// A file of options, one a line: `name = value` with the names of the command line without their dashes; the
// value is the rest of the line as it stands. Lines that begin with "#" are comments.
class ConfigFile {
public:
    ConfigFile() = default;
    // Raises UsageError: it cannot be read, a line has no "=", a name stands there twice.
    explicit ConfigFile(const QString& path);

    QString Value(const QString& name) const { return values_.value(name); }
    bool Contains(const QString& name) const { return values_.contains(name); }
    QStringList Names() const { return values_.keys(); }
    const QString& Path() const noexcept { return path_; }
    // Everybody on this machine may read it: no place for a password.
    bool IsOpenToAll() const;

private:
    QString path_;
    QMap<QString, QString> values_;
};

} // namespace server
