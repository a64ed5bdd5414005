#pragma once

#include "server/storage/sqlite/Sqlite.h"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace storage::sqlite {

// Moves what was committed from the write-ahead log into the database file, on a thread of its own, so that
// no save waits for it. What is in the log is safe there; this only keeps the log short.
class Checkpointer {
public:
    explicit Checkpointer(const QString& file);
    ~Checkpointer();
    Checkpointer(const Checkpointer&) = delete;
    Checkpointer& operator=(const Checkpointer&) = delete;

    // Commits of this connection are watched from now on; the connection must not outlive this object.
    void Watch(Database& database);

private:
    static int Committed(void* self, sqlite3* database, const char* name, int pages);
    void Run();

    Database database_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool wanted_ = false;
    bool ended_ = false;
    std::thread thread_;
};

} // namespace storage::sqlite
