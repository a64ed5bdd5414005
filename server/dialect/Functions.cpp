#include "server/dialect/Functions.h"

#include <algorithm>
#include <array>

namespace dialect {
namespace {

constexpr std::array kFunctions{
    FunctionInfo{u"substr", Function::Substr, 2, 3},
    FunctionInfo{u"length", Function::Length, 1, 1},
    FunctionInfo{u"instr", Function::Instr, 2, 4},
    FunctionInfo{u"upper", Function::Upper, 1, 1},
    FunctionInfo{u"lower", Function::Lower, 1, 1},
    FunctionInfo{u"trim", Function::Trim, 1, 2},
    FunctionInfo{u"ltrim", Function::LTrim, 1, 2},
    FunctionInfo{u"rtrim", Function::RTrim, 1, 2},
    FunctionInfo{u"replace", Function::Replace, 2, 3},
    FunctionInfo{u"lpad", Function::LPad, 2, 3},
    FunctionInfo{u"rpad", Function::RPad, 2, 3},
    FunctionInfo{u"round", Function::Round, 1, 2},
    FunctionInfo{u"trunc", Function::Trunc, 1, 2},
    FunctionInfo{u"mod", Function::Mod, 2, 2},
    FunctionInfo{u"abs", Function::Abs, 1, 1},
    FunctionInfo{u"sign", Function::Sign, 1, 1},
    FunctionInfo{u"ceil", Function::Ceil, 1, 1},
    FunctionInfo{u"floor", Function::Floor, 1, 1},
    FunctionInfo{u"power", Function::Power, 2, 2},
    FunctionInfo{u"add_months", Function::AddMonths, 2, 2},
    FunctionInfo{u"last_day", Function::LastDay, 1, 1},
    FunctionInfo{u"months_between", Function::MonthsBetween, 2, 2},
    FunctionInfo{u"to_date", Function::ToDate, 1, 3},
    FunctionInfo{u"to_char", Function::ToChar, 1, 3},
    FunctionInfo{u"to_number", Function::ToNumber, 1, 2},
    FunctionInfo{u"nvl", Function::Nvl, 2, 2},
    FunctionInfo{u"nvl2", Function::Nvl2, 3, 3},
    FunctionInfo{u"coalesce", Function::Coalesce, 2, -1},
    FunctionInfo{u"nullif", Function::NullIf, 2, 2},
    FunctionInfo{u"decode", Function::Decode, 3, -1},
    FunctionInfo{u"greatest", Function::Greatest, 1, -1},
    FunctionInfo{u"least", Function::Least, 1, -1},
    FunctionInfo{u"count", Function::Count, 1, 1},
    FunctionInfo{u"sum", Function::Sum, 1, 1},
    FunctionInfo{u"min", Function::Min, 1, 1},
    FunctionInfo{u"max", Function::Max, 1, 1},
    FunctionInfo{u"avg", Function::Avg, 1, 1},
};

} // namespace

const FunctionInfo* FindFunction(QStringView name)
{
    const auto* const found = std::ranges::find_if(kFunctions,
        [name](const FunctionInfo& info) { return info.name.compare(name, Qt::CaseInsensitive) == 0; });
    return found == kFunctions.end() ? nullptr : found;
}

const FunctionInfo& InfoOf(Function function)
{
    return *std::ranges::find(kFunctions, function, &FunctionInfo::function);
}

bool IsAggregate(Function function)
{
    return function >= Function::Count;
}

} // namespace dialect
