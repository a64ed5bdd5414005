#pragma once

#include "server/dialect/Analyzer.h"

namespace dialect {

struct Printed {
    std::string sql;
    std::vector<Parameter> parameters;
};

// An analysed statement as SQLite's text. It needs the functions of SqliteFunctions.h; tables keep their
// rowid, empty texts are stored as null, dates as seconds since 1970.
Printed PrintForSqlite(const Statement& statement, const Analysis& analysis);

} // namespace dialect
