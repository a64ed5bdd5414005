#include "server/main/ConfigFile.h"

#include "server/main/Arguments.h"

#include <QFile>

using namespace Qt::Literals::StringLiterals;

namespace server {

ConfigFile::ConfigFile(const QString& path)
    : path_(path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        throw UsageError(u"cannot read %1: %2"_s.arg(path, file.errorString()));
    const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QString line = lines[i].trimmed();
        if (line.isEmpty() || line.startsWith(u'#'))
            continue;
        const qsizetype equals = line.indexOf(u'=');
        const QString name = line.first(std::max<qsizetype>(0, equals)).trimmed();
        if (name.isEmpty())
            throw UsageError(u"%1:%2: “name = value” is expected"_s.arg(path).arg(i + 1));
        if (values_.contains(name))
            throw UsageError(u"%1:%2: “%3” stands there twice"_s.arg(path).arg(i + 1).arg(name));
        values_.insert(name, line.sliced(equals + 1).trimmed());
    }
}

bool ConfigFile::IsOpenToAll() const
{
    return QFile::permissions(path_).testFlag(QFileDevice::ReadOther);
}

} // namespace server
