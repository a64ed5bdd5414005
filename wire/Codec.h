#pragma once

#include "wire/Frame.h"
#include "wire/Messages.h"

namespace wire {

// Messages to frames and back. Encoders give sealed packets and raise Error(Limit) for what is too large.
// Decoders take whatever arrived: every count, offset and number is checked before it is used; they raise
// Error(Protocol) with the reason. A change log that is too large is refused by both with Error(Data), so
// that its sender knows that nothing of it was stored.

WIRE_EXPORT Packet EncodeRequest(const Request& request, quint32 number, bool compressionWelcome = false);
WIRE_EXPORT Request DecodeRequest(const Frame& frame);

WIRE_EXPORT Packet EncodeColumns(const std::vector<ColumnInfo>& infos, quint32 number);
WIRE_EXPORT std::vector<ColumnInfo> DecodeColumns(const Frame& frame);

// Columns of one length travel as their arrays lie in memory; a block stands for itself, dictionaries
// included.
WIRE_EXPORT Packet EncodeRows(const std::vector<Column>& block, quint32 number, bool compress = false);
// `infos`: what the reply announced; a block of other columns is an error.
WIRE_EXPORT std::vector<Column> DecodeRows(const Frame& frame, const std::vector<ColumnInfo>& infos);

WIRE_EXPORT Packet EncodeDone(const Reply& reply, quint32 number);
WIRE_EXPORT Reply DecodeDone(const Frame& frame);

WIRE_EXPORT Packet EncodeError(const Error& error, quint32 number);
WIRE_EXPORT Error DecodeError(const Frame& frame);

} // namespace wire
