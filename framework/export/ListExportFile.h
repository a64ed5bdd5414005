#pragma once

#include "framework/export/ListExport.h"

#include <QElapsedTimer>

#include <chrono>
#include <future>

// What the writers of lists share.

// False where the folder's disk has fewer bytes left; where the system cannot tell, there is room.
bool HasRoom(const QString& folder, qint64 bytes);

// A file under a name of its own beside the one that it takes the place of when it is complete; gone where it
// is not.
class TPartFile {
public:
    explicit TPartFile(const QString& path);
    ~TPartFile();
    TPartFile(const TPartFile&) = delete;
    TPartFile& operator=(const TPartFile&) = delete;

    const QString& Name() const noexcept { return name_; }
    // The file is closed, and takes its place. Raises wire::Error (Storage).
    void Finish();
    // The same once the disk has taken it in, so that not even a power cut leaves an empty file under the
    // name. Asks for leave meanwhile; false when it was given up.
    bool FinishOnDisk(const TExportProgress& progress, int rows);
    // False while the disk is not done: to be called again.
    bool FinishOnDiskWithin(std::chrono::milliseconds time);
    [[noreturn]] void RaiseUnwritable(const QString& reason) const;
    // It no longer takes what is written.
    [[noreturn]] void RaiseUnwritten(const QString& reason) const;

private:
    QString path_;
    QString name_;
    std::future<QString> onDisk_; // why not, once it was tried
    bool finished_ = false;
};

// Asks for leave to go on, at the first row and then a few times a second.
class TPacedProgress {
public:
    explicit TPacedProgress(const TExportProgress& progress)
        : progress_(progress)
    {
        sinceLast_.start();
    }
    bool GoOn(int rows);

private:
    const TExportProgress& progress_;
    QElapsedTimer sinceLast_;
};
