#include "framework/export/ListExportFile.h"

#include "wire/Error.h"

#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>

#include <algorithm>
#include <filesystem>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kProgressMilliseconds = 50;
constexpr int kMostParts = 100;
constexpr int kLongestName = 255; // bytes, on most systems
constexpr qint64 kLittleRoom = 64 * 1024; // bytes

// What the system says in its own language only is said in the user's.
QString WhyNot(const QFileDevice& file)
{
    if (QFileInfo(file.fileName()).fileName().toUtf8().size() > kLongestName)
        return u"文件名太长"_s;
    return file.errorString();
}

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

bool HasRoom(const QString& folder, qint64 bytes)
{
    const QStorageInfo disk(folder);
    return !disk.isValid() || disk.bytesAvailable() >= bytes;
}

// Whether it may be written at all is known before the work begins.
TPartFile::TPartFile(const QString& path)
    : path_(QFileInfo(path).absoluteFilePath())
{
    if (QFileInfo(path_).isDir())
        RaiseUnwritable(u"这是一个文件夹"_s);
    QFile before(path_);
    if (before.exists() && !before.open(QIODevice::ReadWrite | QIODevice::ExistingOnly))
        RaiseUnwritable(WhyNot(before));
    // Another's file of the name stays, a second client's part among them.
    for (int number = 1;; ++number) {
        name_ = number == 1 ? path_ + u".part"_s : path_ + u".%1.part"_s.arg(number);
        QFile file(name_);
        if (file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
            return;
        if (!file.exists() || number == kMostParts)
            RaiseUnwritable(WhyNot(file));
    }
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
        RaiseUnwritable(qt_error_string(error.value()));
    finished_ = true;
}

void TPartFile::RaiseUnwritable(const QString& reason) const
{
    throw wire::Error(wire::ErrorKind::Storage, u"不能写入文件“%1”：%2"_s.arg(path_, reason));
}

void TPartFile::RaiseUnwritten(const QString& reason) const
{
    const bool full = !HasRoom(QFileInfo(path_).absolutePath(), kLittleRoom);
    RaiseUnwritable(full ? u"磁盘已满"_s : reason);
}

bool TPacedProgress::GoOn(int rows)
{
    if (rows > 0 && sinceLast_.elapsed() < kProgressMilliseconds)
        return true;
    const bool goOn = !progress_ || progress_(rows);
    sinceLast_.restart();
    return goOn;
}
