// The texts that fuzzing keeps, as strange as they are, mean the same to every database.

#include "tests/server/dialect_database.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

namespace {

// Rows in no order, cells as text; nothing where the data forbid an answer. When that is noticed depends on
// the order in which a database looks at conditions.
std::optional<QStringList> RowsOf(DialectDatabase& database, const QString& sql)
{
    try {
        const wire::RowSet result = database.Query(sql);
        QStringList rows;
        for (qsizetype row = 0; row < result.RowCount(); ++row) {
            QStringList cells;
            for (const wire::Column& column : result.columns)
                cells += wire::ToText(column.ValueAt(row));
            rows += cells.join(u'|');
        }
        rows.sort();
        return rows;
    } catch (const wire::Error& error) {
        EXPECT_NE(error.Kind(), wire::ErrorKind::Storage) << error.what();
        EXPECT_NE(error.Kind(), wire::ErrorKind::Usage) << error.what();
        return std::nullopt;
    }
}

} // namespace

TEST(DialectCorpus, EveryTextGivesTheSameRows)
{
    DialectDatabase& sqlite = DialectDatabase::Of(DialectDatabase::Kind::Sqlite);
    DialectDatabase& postgres = DialectDatabase::Of(DialectDatabase::Kind::Postgres);
    for (DialectDatabase* const database : {&sqlite, &postgres})
        database->Load(conformance::ReadTables(), conformance::Now());
    const QDir folder(QStringLiteral(ZELMOR_SQL_CORPUS));
    int compared = 0;
    for (const QString& name : folder.entryList(QDir::Files)) {
        QFile file(folder.filePath(name));
        ASSERT_TRUE(file.open(QFile::ReadOnly));
        const QString sql = QString::fromUtf8(file.readAll());
        if (sql.trimmed().startsWith(QStringLiteral("update"), Qt::CaseInsensitive))
            continue;
        const auto expected = RowsOf(sqlite, sql);
        const auto rows = RowsOf(postgres, sql);
        if (!expected || !rows)
            continue;
        ++compared;
        EXPECT_TRUE(expected == rows) << sql.toStdString() << "\n--- SQLite\n"
                                      << expected->join(u'\n').toStdString() << "\n--- PostgreSQL\n"
                                      << rows->join(u'\n').toStdString();
    }
    EXPECT_GT(compared, 10);
}
