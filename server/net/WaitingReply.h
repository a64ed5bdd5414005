#pragma once

#include "server/storage/SharedBudget.h"

#include <QTemporaryFile>

#include <memory>

namespace server {

// The rest of a reply in a file without a name, so that what made it can go on without its client. Used by
// one thread.
class WaitingReply {
public:
    static constexpr qint64 kMostOfAll = qint64(2) << 30; // of the replies of all clients

    explicit WaitingReply(storage::SharedBudget& room)
        : room_(room)
    {
    }
    ~WaitingReply() { Clear(); }
    WaitingReply(const WaitingReply&) = delete;
    WaitingReply& operator=(const WaitingReply&) = delete;

    // While nothing waits.
    void SetAccount(const QString& account) { account_ = account; }
    bool IsEmpty() const noexcept { return written_ == read_; }
    // False where there is no room, or the disk does not take it: then nothing of it is kept.
    bool Append(const char* bytes, qsizetype size);
    // What comes next, up to `size`; 0 where the disk does not give it back. It stays until it is skipped.
    qsizetype Peek(char* to, qsizetype size);
    void Skip(qsizetype size);
    void Clear() noexcept;

private:
    storage::SharedBudget& room_;
    QString account_;
    std::unique_ptr<QTemporaryFile> file_;
    qint64 written_ = 0;
    qint64 read_ = 0;
};

} // namespace server
