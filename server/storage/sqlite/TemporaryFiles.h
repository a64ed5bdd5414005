#pragma once

#include <QString>

#include <utility>

namespace storage::sqlite {

// Registers, once, a layer over the system's files that counts what statements put into temporary ones (what
// they sort, group and walk) and refuses more than there may be: 2 GB of one, 8 GB of all, shared among
// accounts. Its name, for who opens a database.
const char* CountedFiles();

// While it lives, the temporary files that this thread begins are this account's.
class TemporaryFilesOf {
public:
    explicit TemporaryFilesOf(const QString& account) noexcept
        : before_(std::exchange(account_, &account))
    {
    }
    ~TemporaryFilesOf() { account_ = before_; }
    TemporaryFilesOf(const TemporaryFilesOf&) = delete;
    TemporaryFilesOf& operator=(const TemporaryFilesOf&) = delete;

    static QString Account() { return account_ != nullptr ? *account_ : QString(); }

private:
    static inline thread_local const QString* account_ = nullptr;
    const QString* before_;
};

// Whether that is why this thread was last told that the disk is full. Asked once.
bool TookTooMuch() noexcept;

} // namespace storage::sqlite
