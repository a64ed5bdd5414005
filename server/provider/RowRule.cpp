#include "server/provider/RowRule.h"

#include "server/provider/OrderRule.h"
#include "server/provider/ServiceRule.h"
#include "server/refusal/UserTexts.h"

#include <cmath>
#include <limits>

namespace server {

using wire::Value;

RowRule::~RowRule() = default;

std::unique_ptr<RowRule> RuleFor(storage::OwnStatements& statements, const Permissions& permissions,
    const Caller& caller, const RowTarget& target)
{
    const QString& table = target.Table().name;
    const auto is = [&table](QStringView name) { return name.compare(table, Qt::CaseInsensitive) == 0; };
    if (is(u"tab_zelmor_site"))
        return std::make_unique<ServiceRule>(permissions, target);
    if (is(u"tab_zelmor_bill"))
        return std::make_unique<OrderRule>(statements, permissions, caller, target);
    throw wire::Error(wire::ErrorKind::Policy, texts::TableReadOnly(table));
}

QStringView TextOf(const Value& value)
{
    const auto* text = std::get_if<QString>(&value);
    return text != nullptr ? QStringView(*text) : QStringView();
}

qint64 NumberOf(const Value& value)
{
    if (const auto* whole = std::get_if<qint64>(&value))
        return *whole;
    const auto* number = std::get_if<double>(&value);
    if (number == nullptr)
        return 0;
    constexpr double kTooMuch = 9e18; // for a whole number
    return std::abs(*number) < kTooMuch ? static_cast<qint64>(*number) : std::numeric_limits<qint64>::max();
}

bool IsBadFlag(const storage::Cell& cell)
{
    const qint64 number = NumberOf(cell.value);
    return cell.column->name.startsWith(u"BL_") && number != 0 && number != 1;
}

} // namespace server
