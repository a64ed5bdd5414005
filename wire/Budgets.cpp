#include "wire/Budgets.h"

namespace wire {
namespace {

qint64 BytesOf(const QString& text)
{
    return text.isEmpty() ? 0 : kTextHead + text.size() * qint64(sizeof(QChar));
}

} // namespace

MemoryBudget::~MemoryBudget() = default;

void OutcomeSize::Add(const RowVerdict& verdict) noexcept
{
    bytes_ += qint64(sizeof(RowVerdict)) + BytesOf(verdict.reason);
    for (const Value& value : verdict.presentValues) {
        bytes_ += qint64(sizeof(Value));
        if (const auto* text = std::get_if<QString>(&value))
            bytes_ += BytesOf(*text);
    }
}

} // namespace wire
