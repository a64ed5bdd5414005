#pragma once

#include "server/storage/sqlite/Sqlite.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace storage::sqlite {

// Moves what was committed from the write-ahead log into the database file, on a thread of its own, so that
// no save waits for it. What is in the log is safe there; this only keeps the log short.
class Checkpointer {
public:
    // `mostPages`: as long as the log may become (1 GB).
    explicit Checkpointer(const QString& file, int mostPages = 262'144);
    ~Checkpointer();
    Checkpointer(const Checkpointer&) = delete;
    Checkpointer& operator=(const Checkpointer&) = delete;

    // Commits of this connection are watched from now on; the connection must not outlive this object.
    void Watch(Database& database);
    // The log is begun anew only when nobody reads from it any more, and there may always be somebody who
    // does: where it has become too long, who has read for some seconds is to end.
    bool NeedsRoom() const noexcept { return needsRoom_; }

private:
    static int Committed(void* self, sqlite3* database, const char* name, int pages);
    void Run();
    void BeginAnew(sqlite3* database, const char* name);

    using Clock = std::chrono::steady_clock;
    const int mostPages_;
    std::atomic<bool> needsRoom_{false};
    Clock::time_point nextTry_; // of who commits, one at a time
    Database database_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool wanted_ = false;
    bool ended_ = false;
    std::thread thread_;
};

} // namespace storage::sqlite
