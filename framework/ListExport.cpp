#include "framework/ListExportFile.h"

#include "wire/Error.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <filesystem>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kProgressMilliseconds = 50;

} // namespace

TExportRows::~TExportRows() = default;

void TExportRows::StoredRows(int, std::span<qint64> places)
{
    std::ranges::fill(places, -1);
}

int TitleLevels(const std::vector<TExportColumn>& columns)
{
    qsizetype levels = 1;
    for (const TExportColumn& column : columns)
        levels = std::max(levels, column.title.count(u'|') + 1);
    return static_cast<int>(levels);
}

int SheetsFor(const TExportRows& rows, int sheetRows)
{
    const int room = sheetRows - TitleLevels(rows.Columns()) - rows.FooterRows();
    return std::max(1, (rows.RowCount() + room - 1) / room);
}

TPartFile::TPartFile(const QString& path)
    : path_(QFileInfo(path).absoluteFilePath())
    , name_(path_ + u".part"_s)
{
    // Whether it may be written at all is known before the work begins.
    QFile file(name_);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        RaiseUnwritable(file.errorString());
}

TPartFile::~TPartFile()
{
    if (!finished_)
        QFile::remove(name_);
}

void TPartFile::Finish()
{
    std::error_code error;
    std::filesystem::rename(name_.toStdU16String(), path_.toStdU16String(), error);
    if (error)
        RaiseUnwritable(QString::fromLocal8Bit(error.message()));
    finished_ = true;
}

void TPartFile::RaiseUnwritable(const QString& reason) const
{
    throw wire::Error(wire::ErrorKind::Storage, u"不能写入文件“%1”：%2"_s.arg(path_, reason));
}

bool TPacedProgress::GoOn(int rows)
{
    if (rows > 0 && sinceLast_.elapsed() < kProgressMilliseconds)
        return true;
    const bool goOn = !progress_ || progress_(rows);
    sinceLast_.restart();
    return goOn;
}
