#include "import/SheetWriter.h"

#include "wire/Error.h"

#include <QSaveFile>

using namespace Qt::Literals::StringLiterals;

void WriteSheet(const QString& path, const std::vector<QStringList>& rows)
{
    QByteArray bytes("\xEF\xBB\xBF");
    for (const QStringList& row : rows) {
        for (int column = 0; column < row.size(); ++column) {
            QString cell = row[column];
            bytes += (column > 0 ? ",\"" : "\"") + cell.replace(u'"', u"\"\""_s).toUtf8() + '"';
        }
        bytes += "\r\n";
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        throw wire::Error(wire::ErrorKind::Usage, u"文件写不了：%1"_s.arg(file.errorString()));
}
