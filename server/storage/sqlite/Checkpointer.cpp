#include "server/storage/sqlite/Checkpointer.h"

namespace storage::sqlite {
namespace {

constexpr int kPages = 1000;
// After nobody made room: saves are not to wait for it one after the other.
constexpr std::chrono::seconds kBetweenTries(30);
// So many pages mean that this thread does not keep up: whoever commits then helps.
constexpr int kTooManyPages = 20'000;

} // namespace

Checkpointer::Checkpointer(const QString& file, int mostPages)
    : mostPages_(mostPages)
    , database_(file, OpenMode::Serve)
{
    sqlite3_wal_autocheckpoint(database_.Handle(), 0);
    thread_ = std::thread([this] { Run(); });
}

Checkpointer::~Checkpointer()
{
    {
        const std::lock_guard lock(mutex_);
        ended_ = true;
    }
    changed_.notify_one();
    thread_.join();
}

void Checkpointer::Watch(Database& database)
{
    sqlite3_wal_hook(database.Handle(), &Checkpointer::Committed, this);
}

int Checkpointer::Committed(void* self, sqlite3* database, const char* name, int pages)
{
    auto* const checkpointer = static_cast<Checkpointer*>(self);
    if (pages >= checkpointer->mostPages_) {
        checkpointer->BeginAnew(database, name);
    } else if (pages >= kTooManyPages) {
        // A failure is met again by the next to try, and leaves the log as safe as it was.
        sqlite3_wal_checkpoint_v2(database, name, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
    } else if (pages >= kPages) {
        {
            const std::lock_guard lock(checkpointer->mutex_);
            checkpointer->wanted_ = true;
        }
        checkpointer->changed_.notify_one();
    }
    return SQLITE_OK;
}

// What has been committed stays so, whatever becomes of this.
void Checkpointer::BeginAnew(sqlite3* database, const char* name)
{
    if (Clock::now() < nextTry_)
        return;
    needsRoom_ = true;
    if (sqlite3_wal_checkpoint_v2(database, name, SQLITE_CHECKPOINT_RESTART, nullptr, nullptr) != SQLITE_OK)
        nextTry_ = Clock::now() + kBetweenTries;
    needsRoom_ = false;
}

void Checkpointer::Run()
{
    std::unique_lock lock(mutex_);
    while (true) {
        changed_.wait(lock, [this] { return wanted_ || ended_; });
        if (ended_)
            return;
        wanted_ = false;
        lock.unlock();
        sqlite3_wal_checkpoint_v2(database_.Handle(), "main", SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
        lock.lock();
    }
}

} // namespace storage::sqlite
