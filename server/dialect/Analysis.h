#pragma once

#include "server/dialect/Tree.h"

namespace dialect {

class TranslationTime;

// What becomes of one literal of a text before it is bound.
struct LiteralUse {
    bool fixed = false; // the translation holds for this very value only (positions, formats, names)
    enum class Conversion { None, ToNumber, ToDate } conversion = Conversion::None;
    QString mask; // ToDate
};

struct Analysis {
    std::vector<LiteralUse> literals; // parallel to the lexer's
    std::vector<wire::ColumnInfo> columns; // select
    std::vector<QString> tables;
    QString targetTable;
};

// Finds every name in the catalogue, gives every expression its type, makes every implicit conversion a call,
// expands stars and takes rownum out of the conditions. Raises Syntax with the place of what does not hold.
Analysis Analyze(Statement& statement, const Lexer& lexer, const Catalog& catalog, TranslationTime& time);

} // namespace dialect
