#pragma once

#include "wire/Codec.h"

#include <algorithm>

namespace fuzz {

// An input of fuzz_changes: one byte that chooses the account, then the body of a frame.
struct ChangeInput {
    quint8 account = 0;
    wire::Request request;

    // False where the bytes are no change log.
    bool Read(const quint8* data, size_t size)
    {
        if (size == 0)
            return false;
        account = data[0];
        wire::Frame frame;
        frame.header.kind = wire::FrameKind::ApplyUpdates;
        frame.body.Append(reinterpret_cast<const char*>(data) + 1, static_cast<qsizetype>(size) - 1);
        try {
            request = wire::DecodeRequest(frame);
            return true;
        } catch (const wire::Error&) {
            return false;
        }
    }

    QByteArray Bytes() const
    {
        const wire::Packet packet = wire::EncodeRequest(request, 1);
        QByteArray bytes(1, static_cast<char>(account));
        return bytes.append(packet.Data() + wire::kHeaderSize, packet.Size() - wire::kHeaderSize);
    }
};

} // namespace fuzz
