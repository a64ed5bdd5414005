#include "wire/Frame.h"

#include "wire/Budgets.h"
#include "wire/Reader.h"

#include <QtEndian>

#include <algorithm>

#include <zstd.h>

using namespace Qt::Literals::StringLiterals;

static_assert(Q_BYTE_ORDER == Q_LITTLE_ENDIAN, "typed arrays travel as they lie in memory");

namespace wire {
namespace {

constexpr qsizetype kReadAhead = 16 * 1024;
constexpr qsizetype kSmallPacket = 512; // most fit, without growing on the way
constexpr qsizetype kWorthCompressing = 512; // bytes
constexpr int kCompressionLevel =
    3; // orders a seventh smaller than at 1, and still far faster than a slow line

bool IsKind(quint8 kind)
{
    return (kind >= quint8(FrameKind::Login) && kind <= quint8(FrameKind::Clock))
        || (kind >= quint8(FrameKind::Columns) && kind <= quint8(FrameKind::Error));
}

Array<char> Decompress(const Array<char>& body, quint32 limit, MemoryBudget* budget)
{
    if (body.Size() < 4)
        Malformed(u"compressed frame without a size"_s);
    const quint32 size = qFromLittleEndian<quint32>(body.Begin());
    if (size > limit)
        Malformed(u"compressed frame unfolds to %1 bytes, more than %2"_s.arg(size).arg(limit));
    // zstd knows the size too: nothing is allocated on the sender's word alone.
    if (ZSTD_getFrameContentSize(body.Begin() + 4, static_cast<size_t>(body.Size() - 4)) != size)
        Malformed(u"compressed frame contradicts its size"_s);
    if (budget != nullptr)
        budget->Take(size);
    Array<char> plain;
    const size_t got =
        ZSTD_decompress(plain.Extend(size), size, body.Begin() + 4, static_cast<size_t>(body.Size() - 4));
    if (ZSTD_isError(got) != 0 || got != size)
        Malformed(u"damaged compressed frame"_s);
    return plain;
}

} // namespace

FrameHeader ReadHeader(const char* bytes, quint32 limit)
{
    FrameHeader header;
    header.length = qFromLittleEndian<quint32>(bytes);
    header.version = qFromLittleEndian<quint16>(bytes + 4);
    header.flags = static_cast<quint8>(bytes[7]);
    header.request = qFromLittleEndian<quint32>(bytes + 8);
    const quint8 kind = static_cast<quint8>(bytes[6]);
    if (header.version != kProtocolVersion)
        Malformed(
            u"对方的程序版本不同（对方的协议为%1，本机的为%2），请核对地址和端口，或请管理员更新程序！"_s
                .arg(header.version)
                .arg(kProtocolVersion));
    if (!IsKind(kind))
        Malformed(u"unknown frame kind %1"_s.arg(kind));
    if ((header.flags & ~(frameFlag::Compressed | frameFlag::CompressionWelcome)) != 0)
        Malformed(u"unknown frame flags %1"_s.arg(header.flags));
    if (header.length > limit)
        Malformed(u"frame of %1 bytes, more than %2"_s.arg(header.length).arg(limit));
    header.kind = static_cast<FrameKind>(kind);
    return header;
}

Packet::Packet(FrameKind kind, quint32 request, quint8 flags, qsizetype bodySize)
{
    bytes_.Reserve(std::max(kSmallPacket, kHeaderSize + bodySize));
    Put(quint32(0));
    Put(kProtocolVersion);
    Put(static_cast<quint8>(kind));
    Put(flags);
    Put(request);
}

void Packet::PutText(const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    Put(static_cast<quint32>(utf8.size()));
    Put(utf8.constData(), utf8.size());
}

void Packet::Seal(bool compress)
{
    const qsizetype size = bytes_.Size() - kHeaderSize;
    if (size > qsizetype(kMaxBody))
        throw Error(ErrorKind::Limit, u"一次传送的数据过大（%1 MB），请分批处理！"_s.arg(size >> 20));
    if (compress && size >= kWorthCompressing) {
        Array<char> packed;
        packed.Append(bytes_.Begin(), kHeaderSize);
        const auto plainSize = static_cast<quint32>(size);
        packed.Append(reinterpret_cast<const char*>(&plainSize), sizeof plainSize);
        const size_t bound = ZSTD_compressBound(static_cast<size_t>(size));
        char* const to = packed.Extend(static_cast<qsizetype>(bound));
        const size_t got = ZSTD_compress(
            to, bound, bytes_.Begin() + kHeaderSize, static_cast<size_t>(size), kCompressionLevel);
        if (ZSTD_isError(got) == 0 && got + 4 < static_cast<size_t>(size)) {
            packed.Truncate(kHeaderSize + 4 + static_cast<qsizetype>(got));
            packed[7] = static_cast<char>(packed[7] | frameFlag::Compressed);
            bytes_ = std::move(packed);
        }
    }
    qToLittleEndian(static_cast<quint32>(bytes_.Size() - kHeaderSize), bytes_.Begin());
}

FrameChannel::FrameChannel(MemoryBudget* budget)
    : budget_(budget)
{
    buffer_.Extend(kReadAhead);
}

FrameChannel::~FrameChannel() = default;

void FrameChannel::TakeMemory(qsizetype bytes)
{
    if (budget_ != nullptr)
        budget_->Take(bytes);
}

// Reads until `size` bytes (at most the buffer's) are there; false at the end of the stream.
bool FrameChannel::Fill(qsizetype size, bool idle)
{
    if (begin_ == end_) {
        begin_ = end_ = 0;
    } else if (begin_ + size > buffer_.Size()) {
        std::memmove(buffer_.Begin(), buffer_.Begin() + begin_, static_cast<size_t>(end_ - begin_));
        end_ -= std::exchange(begin_, 0);
    }
    while (end_ - begin_ < size) {
        const qsizetype got = ReadSome(buffer_.Begin() + end_, buffer_.Size() - end_, idle && begin_ == end_);
        if (got == 0)
            return false;
        end_ += got;
    }
    return true;
}

bool FrameChannel::Read(Frame& frame, quint32 limit)
{
    if (!Fill(kHeaderSize, true)) {
        if (begin_ == end_)
            return false;
        throw Error(ErrorKind::Connection, u"connection ended inside a frame header"_s);
    }
    frame.header = ReadHeader(buffer_.Begin() + begin_, limit);
    begin_ += kHeaderSize;

    frame.body.Truncate(0);
    const qsizetype length = frame.header.length;
    const qsizetype ahead = std::min(length, end_ - begin_);
    // The body grows with what arrives: a length alone costs nobody memory.
    TakeMemory(ahead);
    frame.body.Append(buffer_.Begin() + begin_, ahead);
    begin_ += ahead;
    constexpr qsizetype kStep = 1 << 20;
    qsizetype taken = ahead;
    while (frame.body.Size() < length) {
        const qsizetype have = frame.body.Size();
        const qsizetype want = std::min(length - have, kStep);
        TakeMemory(want - (taken - have));
        taken = have + want;
        char* const to = frame.body.Extend(want);
        const qsizetype got = ReadSome(to, want, false);
        frame.body.Truncate(have + got);
        if (got == 0)
            throw Error(ErrorKind::Connection,
                u"connection ended after %1 of %2 bytes of a frame"_s.arg(have).arg(length));
    }
    if ((frame.header.flags & frameFlag::Compressed) != 0)
        frame.body = Decompress(frame.body, limit, budget_);
    return true;
}

} // namespace wire
