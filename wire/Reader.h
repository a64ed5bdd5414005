#pragma once

#include "wire/Error.h"
#include "wire/Frame.h"

namespace wire {

// For the library's own use.

[[noreturn]] inline void Malformed(const QString& reason)
{
    throw Error(ErrorKind::Protocol, reason);
}

// Reads a body from front to back and never past its end.
class Reader {
public:
    explicit Reader(const Frame& frame)
        : at_(frame.body.Begin())
        , left_(frame.body.Size())
    {
    }
    Reader(const Frame& frame, FrameKind kind)
        : Reader(frame)
    {
        if (frame.header.kind != kind)
            Malformed(QStringLiteral("frame of kind %1 where %2 belongs")
                          .arg(int(frame.header.kind))
                          .arg(int(kind)));
    }

    const char* Take(qint64 size)
    {
        if (size > left_)
            Malformed(QStringLiteral("message ends %1 bytes early").arg(size - left_));
        left_ -= static_cast<qsizetype>(size);
        return std::exchange(at_, at_ + size);
    }
    template <typename T> T Get()
    {
        T value;
        std::memcpy(&value, Take(sizeof(T)), sizeof(T));
        return value;
    }
    QString GetText()
    {
        const auto size = Get<quint32>();
        return QString::fromUtf8(Take(size), static_cast<qsizetype>(size));
    }
    // A number of things, each of which takes at least `least` bytes of what is left.
    quint32 GetCount(int least)
    {
        const auto count = Get<quint32>();
        if (qint64(count) * least > left_)
            Malformed(QStringLiteral("message counts %1 elements in %2 bytes").arg(count).arg(left_));
        return count;
    }
    ColumnType GetType()
    {
        const auto type = Get<quint8>();
        if (type < quint8(ColumnType::Text) || type > quint8(ColumnType::DateTime))
            Malformed(QStringLiteral("unknown column type %1").arg(type));
        return static_cast<ColumnType>(type);
    }
    qsizetype Left() const noexcept { return left_; }
    void Finish() const
    {
        if (left_ != 0)
            Malformed(QStringLiteral("message has %1 bytes too many").arg(left_));
    }

private:
    const char* at_;
    qsizetype left_;
};

} // namespace wire
