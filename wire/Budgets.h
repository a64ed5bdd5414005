#pragma once

#include "wire/Messages.h"

// What messages may take of the memory. A few bytes on their way may be very many once they are read.
namespace wire {

// Bytes of a change log's cells and texts, as they lie in memory.
inline constexpr qint64 kMaxChangeMemory = 192 << 20;
// Bytes of an outcome's verdicts, and the values that its refused rows have now, which are most of them.
inline constexpr qint64 kMaxOutcomeMemory = 128 << 20;
inline constexpr qint64 kMaxPresentValues = kMaxOutcomeMemory / qint64(sizeof(Value));

// Answers for the memory that a message takes while it is read.
class WIRE_EXPORT MemoryBudget {
public:
    virtual ~MemoryBudget();
    // Called before so many bytes more are taken; raises Error where they must not be.
    virtual void Take(qint64 bytes) = 0;
};

// Of a text that is read, besides its bytes, each of which is a character of two at most.
inline constexpr qint64 kTextHead = 48;

// Adds up what an outcome takes, verdict by verdict.
class WIRE_EXPORT OutcomeSize {
public:
    void Add(const RowVerdict& verdict) noexcept;
    bool IsTooLarge() const noexcept { return bytes_ > kMaxOutcomeMemory; }

private:
    qint64 bytes_ = 0;
};

} // namespace wire
