#include "framework/export/ListExportFile.h"

#include "wire/Error.h"

#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>

#include <algorithm>
#include <filesystem>

#ifdef Q_OS_WIN
#include <qt_windows.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kProgressMilliseconds = 50;
constexpr int kMostParts = 100;
constexpr int kLongestName = 255; // bytes, on most systems
constexpr qint64 kLittleRoom = 64 * 1024; // bytes
constexpr auto kCloseLook = std::chrono::milliseconds(50);

const QString kTaken =
    u"文件正被别的程序打开、是只读的，或者没有权限。请关闭那个程序，或者换一个文件名或文件夹。"_s;

// What hinders and what helps, where it can be seen; else what the system says, in its own language only.
QString WhyNot(const QString& path, const QString& said)
{
    const QFileInfo file(path);
    if (file.fileName().toUtf8().size() > kLongestName)
        return u"文件名太长，请写短一些。"_s;
    const QFileInfo folder(file.absolutePath());
    if (!folder.isDir())
        return u"文件夹不在了（被删除、改名，或者磁盘断开了）。请另选一个文件夹。"_s;
    if (!HasRoom(folder.filePath(), kLittleRoom))
        return u"磁盘已满。请腾出地方，或者换一个磁盘。"_s;
    return folder.isWritable() && (!file.exists() || file.isWritable()) ? said : kTaken;
}

// Why a file's contents are not on the disk; empty where they are.
QString PutOnDisk(const QString& name)
{
#ifdef Q_OS_WIN
    const auto* path = reinterpret_cast<const wchar_t*>(name.utf16());
    const HANDLE file = CreateFileW(path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
        OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    const bool done = file != INVALID_HANDLE_VALUE && FlushFileBuffers(file);
    const QString reason = done ? QString() : qt_error_string(int(GetLastError()));
    if (file != INVALID_HANDLE_VALUE)
        CloseHandle(file);
#else
    const int file = open(QFile::encodeName(name).constData(), O_RDONLY | O_CLOEXEC);
    // A device that keeps nothing, and some far ones, have no such thing.
    const bool done = file >= 0 && (fsync(file) == 0 || errno == EINVAL || errno == ENOTSUP);
    const QString reason = done ? QString() : qt_error_string(errno);
    if (file >= 0)
        close(file);
#endif
    return reason;
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
        RaiseUnwritable(u"这是一个文件夹。请写上文件名。"_s);
    QFile before(path_);
    if (before.exists() && !before.open(QIODevice::ReadWrite | QIODevice::ExistingOnly))
        RaiseUnwritable(kTaken);
    // Another's file of the name stays, a second client's part among them.
    for (int number = 1;; ++number) {
        name_ = number == 1 ? path_ + u".part"_s : path_ + u".%1.part"_s.arg(number);
        QFile file(name_);
        if (file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
            return;
        if (!file.exists() || number == kMostParts)
            RaiseUnwritten(file.errorString());
    }
}

TPartFile::~TPartFile()
{
    if (onDisk_.valid())
        onDisk_.wait();
    if (!finished_)
        QFile::remove(name_);
}

bool TPartFile::FinishOnDisk(const TExportProgress& progress, int rows)
{
    while (!FinishOnDiskWithin(kCloseLook)) {
        if (progress && !progress(rows))
            return false;
    }
    return true;
}

bool TPartFile::FinishOnDiskWithin(std::chrono::milliseconds time)
{
    if (!onDisk_.valid())
        onDisk_ = std::async(std::launch::async, PutOnDisk, name_);
    if (onDisk_.wait_for(time) != std::future_status::ready)
        return false;
    if (const QString reason = onDisk_.get(); !reason.isEmpty())
        RaiseUnwritten(reason);
    Finish();
    return true;
}

void TPartFile::Finish()
{
    std::error_code error;
    std::filesystem::rename(name_.toStdU16String(), path_.toStdU16String(), error);
    if (error)
        RaiseUnwritten(error == std::errc::permission_denied ? kTaken : qt_error_string(error.value()));
    finished_ = true;
}

void TPartFile::RaiseUnwritable(const QString& reason) const
{
    throw wire::Error(wire::ErrorKind::Storage, u"不能写入文件“%1”：%2"_s.arg(path_, reason));
}

void TPartFile::RaiseUnwritten(const QString& reason) const
{
    RaiseUnwritable(WhyNot(path_, reason));
}

bool TPacedProgress::GoOn(int rows)
{
    if (rows > 0 && sinceLast_.elapsed() < kProgressMilliseconds)
        return true;
    const bool goOn = !progress_ || progress_(rows);
    sinceLast_.restart();
    return goOn;
}
