#pragma once

#include "wire/ColumnData.h"

#include <memory>

namespace wire {

class MemoryBudget;

// A message on its way: twelve bytes of header, little-endian, then the body.
//
//   0  length of the body, 4 bytes
//   4  protocol version, 2
//   6  kind, 1
//   7  flags, 1
//   8  request number, 4: counts up from 1 on each connection; a reply repeats its request's
//
// A compressed body is the size of the plain one (4 bytes) followed by a zstd frame.

inline constexpr quint16 kProtocolVersion = 2;
inline constexpr qsizetype kHeaderSize = 12;
// The largest bodies: of any frame, of a request, and of what a client may send before it is logged in.
inline constexpr quint32 kMaxBody = 64u << 20;
inline constexpr quint32 kMaxRequestBody = 32u << 20;
inline constexpr quint32 kMaxLoginBody = 4096;

// Numbers are part of the protocol. Requests have the numbers of RequestKind.
enum class FrameKind : quint8 {
    Login = 1,
    Query = 2,
    Execute = 3,
    ApplyUpdates = 4,
    Clock = 5,
    Columns = 16,
    Rows = 17,
    Done = 18,
    Error = 19,
};

namespace frameFlag {
inline constexpr quint8 Compressed = 1; // of this body
inline constexpr quint8 CompressionWelcome = 2; // in a request: bodies of its reply may be compressed
} // namespace frameFlag

struct FrameHeader {
    quint32 length = 0;
    quint16 version = kProtocolVersion;
    FrameKind kind = FrameKind::Clock;
    quint8 flags = 0;
    quint32 request = 0;
};

struct Frame {
    FrameHeader header;
    Array<char> body; // as it is meant: no longer compressed
};

// Reads a header of kHeaderSize bytes. Raises Error(Protocol) with the reason where version, kind or flags
// are unknown or the length is above `limit`.
WIRE_EXPORT FrameHeader ReadHeader(const char* bytes, quint32 limit);

// A whole frame ready to be sent: begun, filled by appending to it, then sealed.
class WIRE_EXPORT Packet {
public:
    // Has room for a body of `bodySize` bytes, a small one unless given.
    Packet(FrameKind kind, quint32 request, quint8 flags = 0, qsizetype bodySize = 0);

    template <typename T> void Put(T value)
    {
        static_assert(std::is_arithmetic_v<T>);
        std::memcpy(bytes_.Extend(sizeof(T)), &value, sizeof(T));
    }
    void Put(const void* bytes, qsizetype size) { bytes_.Append(static_cast<const char*>(bytes), size); }
    void PutText(const QString& text);
    // Appends `size` bytes that the caller sets.
    char* Extend(qsizetype size) { return bytes_.Extend(size); }

    // Writes the length. With `compress` the body is compressed where that makes it smaller. Raises
    // Error(Limit) where the body is larger than a frame may be.
    void Seal(bool compress = false);

    const char* Data() const noexcept { return bytes_.Begin(); }
    qsizetype Size() const noexcept { return bytes_.Size(); }

private:
    Array<char> bytes_;
};

// A connection as a sequence of frames; what carries the bytes is added below it.
class WIRE_EXPORT FrameChannel {
public:
    // `budget`: answers for the bodies that are read; must outlive this. None: nobody does.
    explicit FrameChannel(MemoryBudget* budget = nullptr);
    virtual ~FrameChannel();

    // Waits for the next frame; false where the other side closed the connection between two frames.
    // Raises Error(Protocol) for what is no frame or has a body above `limit`, compressed or not;
    // Error(Connection) where the stream ends in the middle of a frame; what the budget and ReadSome raise.
    bool Read(Frame& frame, quint32 limit);
    // Raises what WriteAll raises.
    void Write(const Packet& packet) { WriteAll(packet.Data(), packet.Size()); }

protected:
    // Reads what is there, at least one byte and at most `size`, waiting for the first; gives 0 at the end of
    // the stream. Between frames (`idle`) the wait may be long.
    virtual qsizetype ReadSome(char* to, qsizetype size, bool idle) = 0;
    virtual void WriteAll(const char* bytes, qsizetype size) = 0;

private:
    bool Fill(qsizetype size, bool idle);
    void TakeMemory(qsizetype bytes);

    MemoryBudget* budget_;
    Array<char> buffer_; // read ahead, so that a small frame is one read
    qsizetype begin_ = 0;
    qsizetype end_ = 0;
};

} // namespace wire
