#pragma once

#include "wire/ColumnInfos.h"

#include <memory>
#include <span>
#include <string>
#include <vector>

// The SQL of the company's Oracle database, as the clients send it, understood and said again for another
// database: tokenizer, parser, types and names resolved against a catalogue, a printer for each backend.
namespace dialect {

struct CatalogColumn {
    QString name;
    wire::ColumnType type;
    int width = 0;
    bool key = false;
    bool guard = false; // its old value travels with every change of the row
};

struct CatalogTable {
    QString name;
    std::vector<CatalogColumn> columns;
    std::vector<QString> indexes;
    std::vector<std::vector<QString>>
        indexColumns; // what each index (the primary key's too) is led by, in order
    // PostgreSQL: the hidden column that numbers the rows in stored order, no column of the catalogue. Empty:
    // a table that is not ours, its rows' addresses stand in.
    QString rowColumn = {};
    const CatalogColumn* Find(QStringView columnName) const; // case-insensitive
};

// The tables of the database. Names are case-insensitive.
class Catalog {
public:
    virtual ~Catalog();
    virtual const CatalogTable* Find(QStringView tableName) const = 0;
};

enum class StatementKind { Select, Update };

// Where a parameter of a translated statement takes its value from.
struct Parameter {
    enum class Source { Literal, Now } source = Source::Literal;
    int literal = -1; // position among the text's literals
    wire::ColumnType type = wire::ColumnType::Text; // bound as
};

// A statement ready to be prepared. Literals of the text have become parameters, so texts that differ in
// their literals alone share one translation.
struct Translation {
    StatementKind kind = StatementKind::Select;
    std::string sql; // in the backend's language, UTF-8, parameters ?1, ?2, … or $1, $2, …
    std::vector<Parameter> parameters;
    wire::ColumnInfos columns; // select: what comes back, in order
    std::vector<QString> tables; // every table read or written, in the catalogue's spelling
    QString targetTable; // select: the first table of its outermost from (a change log's
                         // table); update: the table updated
};

// For which database statements are printed. Empty texts are stored as null in each.
enum class Target {
    // Connections need the functions of SqliteFunctions.h; tables keep their rowid, which is the stored order
    // that trees are walked in; dates are seconds since 1970.
    Sqlite,
    // 15 or newer, with the functions of Postgres.h. Names are printed quoted in lower case, parameters must
    // be declared as what Parameter::type says: text, int8, float8, timestamp. Result columns are of these
    // types, of a text column also varchar. Dates are timestamp(0) without time zone, texts have collation C.
    Postgres,
    // The text as it came, but for trailing blanks: the database understands it itself. No parameters.
    Verbatim,
};

struct Translated {
    std::shared_ptr<const Translation> translation;
    std::vector<wire::Value> literals; // of this text
};

// Index hints are comments: the backend plans by its own statistics. Used by one thread at a time; keeps the
// translations of the last few hundred shapes of text. Raises wire::Error: Syntax with line, column and what
// was expected (as Oracle's users know it: "ORA-00933" style codes are not imitated); Policy for what is
// neither one select nor one update.
class Translator {
public:
    explicit Translator(std::shared_ptr<const Catalog> catalog, Target target = Target::Sqlite);
    ~Translator();
    Translated Translate(QStringView sqlText);

    // Texts that were at hand, and that were translated anew, since the last call.
    struct Counts {
        quint64 found = 0;
        quint64 made = 0;
    };
    Counts TakeCounts() noexcept;

private:
    class Private;
    std::unique_ptr<Private> d_;
};

} // namespace dialect
