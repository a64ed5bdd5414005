#pragma once

#include "company/Tables.h"
#include "wire/Column.h"
#include "wire/Error.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

// The SQL texts of all screens with the rows that they must give on a small database, as data: any backend
// runs the same list. `data.tables` holds the database, `*.case` the texts.
//
// data.tables:  table NAME / COLUMN|COLUMN|… / value|value|… ; an empty cell is null.
//               more NAME: further columns of rows already there, found by the first column.
// *.case:       case: name
//               sql: the text, on one line, to the blank (statement: the same, executed rather than queried)
//               columns: NAME type, …          (optional) every column of the result, with its type
//               rows: COLUMN|COLUMN|…          the columns that are compared, then one line a row;
//                                              null is empty, and NULL where it stands alone
//               rows in any order: …           the same where the text asks for no order
//               changed: n                     (update) rows changed
//               then: the text of a select that looks at what changed; its rows follow
//               error: kind line:column        instead of rows (syntax, policy), or just the kind (data)
// An empty line ends a case; lines that begin with # are comments.
namespace conformance {

struct TableRows {
    const company::Table* table = nullptr;
    std::vector<std::vector<wire::Value>> rows; // in the order of the table's columns
};

struct ExpectedError {
    wire::ErrorKind kind = wire::ErrorKind::Syntax;
    int line = 0; // 0: not looked at
    int column = 0;
};

struct Case {
    QString file;
    int line = 0;
    QString name;
    QString sql;
    bool executed = false;
    QString columns;
    QString then;
    bool ordered = true;
    QStringList compared;
    QStringList rows;
    std::optional<qint64> changed;
    std::optional<ExpectedError> error;
};

// What runs the texts. Errors are wire::Error.
class Backend {
public:
    virtual ~Backend() = default;
    // A database with these rows; called before each case that changes something, and once before the others.
    virtual void Load(const std::vector<TableRows>& tables, wire::DateTime now) = 0;
    virtual wire::RowSet Query(const QString& sql) = 0;
    virtual qint64 Execute(const QString& sql) = 0;
};

// The moment at which all texts are run.
wire::DateTime Now();
// Both raise wire::Error (Usage) with file and line where the data are malformed.
std::vector<TableRows> ReadTables();
std::vector<Case> ReadCases();
// The text of the first case of that name; nothing where there is none.
QString TextOf(const QString& name);

// Runs one case; what is wrong with its outcome, or nothing.
QString Check(const Case& which, Backend& backend);

} // namespace conformance
