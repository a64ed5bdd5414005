#include "server/storage/sqlite/TemporaryFiles.h"

#include "server/storage/SharedBudget.h"

#include <memory>

#include <sqlite3.h>

namespace storage::sqlite {
namespace {

// All orders of a large company, sorted by what no index has, take half of it.
constexpr qint64 kMostOfOne = qint64(2) << 30;
SharedBudget room(qint64(8) << 30);
thread_local bool tookTooMuch = false;

constexpr int kTemporary =
    SQLITE_OPEN_TEMP_DB | SQLITE_OPEN_TRANSIENT_DB | SQLITE_OPEN_TEMP_JOURNAL | SQLITE_OPEN_SUBJOURNAL;

// The system's own file follows it in memory.
struct CountedFile {
    sqlite3_file file{};
    qint64 size = 0;
    QString account = TemporaryFilesOf::Account();
};

sqlite3_vfs* System()
{
    static sqlite3_vfs* const system = sqlite3_vfs_find(nullptr);
    return system;
}

CountedFile& Counted(sqlite3_file* file)
{
    return *reinterpret_cast<CountedFile*>(file);
}

sqlite3_file* Inner(sqlite3_file* file)
{
    return reinterpret_cast<sqlite3_file*>(&Counted(file) + 1);
}

void Shrink(sqlite3_file* file, qint64 size)
{
    CountedFile& counted = Counted(file);
    if (size < counted.size)
        room.GiveBack(counted.account, std::exchange(counted.size, size) - size);
}

int Close(sqlite3_file* file)
{
    Shrink(file, 0);
    const int code = Inner(file)->pMethods->xClose(Inner(file));
    std::destroy_at(&Counted(file));
    return code;
}

int Read(sqlite3_file* file, void* to, int bytes, sqlite3_int64 at)
{
    return Inner(file)->pMethods->xRead(Inner(file), to, bytes, at);
}

int Write(sqlite3_file* file, const void* from, int bytes, sqlite3_int64 at)
{
    CountedFile& counted = Counted(file);
    const qint64 more = at + bytes - counted.size;
    if (more > 0) {
        if (counted.size + more > kMostOfOne || !room.Take(counted.account, more)) {
            tookTooMuch = true;
            return SQLITE_FULL;
        }
        counted.size += more;
    }
    return Inner(file)->pMethods->xWrite(Inner(file), from, bytes, at);
}

int Truncate(sqlite3_file* file, sqlite3_int64 size)
{
    Shrink(file, size);
    return Inner(file)->pMethods->xTruncate(Inner(file), size);
}

int Sync(sqlite3_file* file, int flags)
{
    return Inner(file)->pMethods->xSync(Inner(file), flags);
}

int FileSize(sqlite3_file* file, sqlite3_int64* size)
{
    return Inner(file)->pMethods->xFileSize(Inner(file), size);
}

int Lock(sqlite3_file* file, int level)
{
    return Inner(file)->pMethods->xLock(Inner(file), level);
}

int Unlock(sqlite3_file* file, int level)
{
    return Inner(file)->pMethods->xUnlock(Inner(file), level);
}

int CheckReservedLock(sqlite3_file* file, int* reserved)
{
    return Inner(file)->pMethods->xCheckReservedLock(Inner(file), reserved);
}

int Control(sqlite3_file* file, int operation, void* argument)
{
    // Room is taken as it is written.
    if (operation == SQLITE_FCNTL_SIZE_HINT || operation == SQLITE_FCNTL_CHUNK_SIZE)
        return SQLITE_OK;
    return Inner(file)->pMethods->xFileControl(Inner(file), operation, argument);
}

int SectorSize(sqlite3_file* file)
{
    return Inner(file)->pMethods->xSectorSize(Inner(file));
}

int Characteristics(sqlite3_file* file)
{
    return Inner(file)->pMethods->xDeviceCharacteristics(Inner(file));
}

int Fetch(sqlite3_file* file, sqlite3_int64 at, int bytes, void** page)
{
    return Inner(file)->pMethods->xFetch(Inner(file), at, bytes, page);
}

int Unfetch(sqlite3_file* file, sqlite3_int64 at, void* page)
{
    return Inner(file)->pMethods->xUnfetch(Inner(file), at, page);
}

// Mapped, but never shared.
constexpr sqlite3_io_methods kMethods{3, Close, Read, Write, Truncate, Sync, FileSize, Lock, Unlock,
    CheckReservedLock, Control, SectorSize, Characteristics, nullptr, nullptr, nullptr, nullptr, Fetch,
    Unfetch};

int Open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* given)
{
    if ((flags & kTemporary) == 0)
        return System()->xOpen(System(), name, file, flags, given);
    const auto counted = std::construct_at(&Counted(file));
    const int code = System()->xOpen(System(), name, Inner(file), flags, given);
    if (Inner(file)->pMethods != nullptr)
        file->pMethods = &kMethods;
    else
        std::destroy_at(counted);
    return code;
}

} // namespace

const char* CountedFiles()
{
    static sqlite3_vfs files = [] {
        sqlite3_vfs counted = *System();
        counted.zName = "zelmor";
        counted.szOsFile += static_cast<int>(sizeof(CountedFile));
        counted.pNext = nullptr;
        counted.xOpen = Open;
        return counted;
    }();
    static const int registered = sqlite3_vfs_register(&files, 0);
    return registered == SQLITE_OK ? files.zName : nullptr;
}

bool TookTooMuch() noexcept
{
    return std::exchange(tookTooMuch, false);
}

} // namespace storage::sqlite
