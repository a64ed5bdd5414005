#pragma once

#include <QTemporaryFile>

#include <atomic>
#include <memory>

namespace server {

// The room on the disk for replies whose clients are slow to take them. Safe to use from any thread.
class ReplyRoom {
public:
    // False where the replies of all clients would take too much.
    bool Take(qint64 bytes) noexcept;
    void GiveBack(qint64 bytes) noexcept { taken_ -= bytes; }

private:
    std::atomic<qint64> taken_{0};
};

// The rest of a reply in a file without a name, so that what made it can go on without its client. Used by
// one thread.
class WaitingReply {
public:
    explicit WaitingReply(ReplyRoom& room)
        : room_(room)
    {
    }
    ~WaitingReply() { Clear(); }
    WaitingReply(const WaitingReply&) = delete;
    WaitingReply& operator=(const WaitingReply&) = delete;

    bool IsEmpty() const noexcept { return written_ == read_; }
    // False where there is no room, or the disk does not take it: then nothing of it is kept.
    bool Append(const char* bytes, qsizetype size);
    // What comes next, up to `size`; 0 where the disk does not give it back. It stays until it is skipped.
    qsizetype Peek(char* to, qsizetype size);
    void Skip(qsizetype size);
    void Clear() noexcept;

private:
    ReplyRoom& room_;
    std::unique_ptr<QTemporaryFile> file_;
    qint64 written_ = 0;
    qint64 read_ = 0;
};

} // namespace server
