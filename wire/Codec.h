#pragma once

#include "wire/Frame.h"
#include "wire/Messages.h"

namespace wire {

// Messages to frames and back. Encoders give sealed packets and raise Error(Limit) for what is too large.
// Decoders take whatever arrived: every count, offset and number is checked before it is used; they raise
// Error(Protocol) with the reason. A change log that is too large is refused by both with Error(Data), so
// that its sender knows that nothing of it was stored.

WIRE_EXPORT Packet EncodeRequest(const Request& request, quint32 number, bool compressionWelcome = false);
// `budget` answers for what the request takes; none: nobody does.
WIRE_EXPORT Request DecodeRequest(const Frame& frame, MemoryBudget* budget = nullptr);

WIRE_EXPORT Packet EncodeColumns(const ColumnInfos& infos, quint32 number);
WIRE_EXPORT ColumnInfos DecodeColumns(const Frame& frame);

// The descriptions of columns that came last: the same statement's next reply repeats its own to the byte.
// Used by one thread at a time.
class WIRE_EXPORT KnownColumns {
public:
    // What `DecodeColumns` gives, shared with the last that came in the same bytes.
    ColumnInfos Decode(const Frame& frame);

private:
    std::vector<ColumnInfos> known_; // the last one used first
};

// Columns of one length; a block stands for itself, dictionaries included. It is the numbers of its rows and
// of its columns (4 bytes each), then the columns. A column is its type (1), then
//
//   text             its form (1), then
//     nothing        no byte: all rows are null
//     plain          the texts of all rows, empty where null
//     dictionary     integers: for each row 0 for null or the number of its text, from 1; the number of texts
//                    (4); the texts
//   numbers          nulls, then 8 bytes for each row unless all are null
//   integers, dates  nulls, then integers
//
// Texts are their lengths, as integers, then their bytes. Integers are the width (1) that the largest of them
// needs, 0 (all are zero), 1, 2, 4 or 8, then so many bytes for each. Nulls are their number (4), then, where
// some rows are null and others are not, a bit for each row in words of 8 bytes, lowest first.
WIRE_EXPORT Packet EncodeRows(const std::vector<Column>& block, quint32 number, bool compress = false);
// The same from cells as they were read, without a dictionary.
WIRE_EXPORT Packet EncodeCells(const std::vector<CellBlock>& block, quint32 number, bool compress = false);
// `infos`: what the reply announced; a block of other columns is an error.
WIRE_EXPORT std::vector<Column> DecodeRows(const Frame& frame, const std::vector<ColumnInfo>& infos);

WIRE_EXPORT Packet EncodeDone(const Reply& reply, quint32 number);
WIRE_EXPORT Reply DecodeDone(const Frame& frame);

WIRE_EXPORT Packet EncodeError(const Error& error, quint32 number);
WIRE_EXPORT Error DecodeError(const Frame& frame);

} // namespace wire
