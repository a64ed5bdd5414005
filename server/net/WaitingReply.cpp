#include "server/net/WaitingReply.h"

#include <algorithm>

namespace server {
namespace {

constexpr qint64 kMostOfOne = 256 << 20;

} // namespace

bool WaitingReply::Append(const char* bytes, qsizetype size)
{
    if (written_ + size > kMostOfOne || !room_.Take(account_, size))
        return false;
    if (!file_) {
        file_ = std::make_unique<QTemporaryFile>();
        if (!file_->open())
            file_.reset();
    }
    if (file_ && file_->seek(written_) && file_->write(bytes, size) == size && file_->flush()) {
        written_ += size;
        return true;
    }
    room_.GiveBack(account_, size);
    return false;
}

qsizetype WaitingReply::Peek(char* to, qsizetype size)
{
    if (!file_ || !file_->seek(read_))
        return 0;
    return std::max<qsizetype>(0, file_->read(to, std::min<qint64>(size, written_ - read_)));
}

void WaitingReply::Skip(qsizetype size)
{
    read_ += size;
    if (IsEmpty())
        Clear();
}

void WaitingReply::Clear() noexcept
{
    if (written_ > 0)
        room_.GiveBack(account_, written_);
    file_.reset();
    written_ = read_ = 0;
}

} // namespace server
