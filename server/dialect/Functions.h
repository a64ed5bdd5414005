#pragma once

#include <QStringView>

namespace dialect {

enum class Function {
    // text
    Substr,
    Length,
    Instr,
    Upper,
    Lower,
    Trim,
    LTrim,
    RTrim,
    Replace,
    LPad,
    RPad,
    // numbers
    Round,
    Trunc,
    Mod,
    Abs,
    Sign,
    Ceil,
    Floor,
    Power,
    // dates
    AddMonths,
    LastDay,
    MonthsBetween,
    // conversions
    ToDate,
    ToChar,
    ToNumber,
    // of any type
    Nvl,
    Nvl2,
    Coalesce,
    NullIf,
    Decode,
    Greatest,
    Least,
    // groups of rows
    Count,
    Sum,
    Min,
    Max,
    Avg,
};

struct FunctionInfo {
    QStringView name;
    Function function;
    int minArguments;
    int maxArguments; // -1: any number
};

// Case-insensitive; null when there is no such function.
const FunctionInfo* FindFunction(QStringView name);
const FunctionInfo& InfoOf(Function function);
bool IsAggregate(Function function);

} // namespace dialect
