// The texts that fuzzing keeps, as strange as they are, mean the same to every database.

#include "tests/server/dialect_database.h"

#include <QDir>
#include <QFile>

TEST(DialectCorpus, EveryTextGivesTheSameRows)
{
    DialectDatabase& sqlite = DialectDatabase::Of(DialectDatabase::Kind::Sqlite);
    DialectDatabase& postgres = DialectDatabase::Of(DialectDatabase::Kind::Postgres);
    for (DialectDatabase* const database : {&sqlite, &postgres})
        database->Load(conformance::ReadTables(), conformance::Now());
    dialect::Translator translator(std::make_shared<SchemaCatalog>());
    const QDir folder(QStringLiteral(ZELMOR_SQL_CORPUS));
    int compared = 0;
    for (const QString& name : folder.entryList(QDir::Files)) {
        QFile file(folder.filePath(name));
        ASSERT_TRUE(file.open(QFile::ReadOnly));
        const QString sql = QString::fromUtf8(file.readAll());
        if (sql.trimmed().startsWith(QStringLiteral("update"), Qt::CaseInsensitive))
            continue;
        try {
            translator.Translate(sql);
        } catch (const wire::Error&) {
            continue; // refused
        }
        SCOPED_TRACE(sql.toStdString());
        const auto expected = sqlite.SortedRows(sql);
        const auto rows = postgres.SortedRows(sql);
        if (!expected || !rows)
            continue;
        ++compared;
        EXPECT_TRUE(expected == rows) << "--- SQLite\n"
                                      << expected->join(u'\n').toStdString() << "\n--- PostgreSQL\n"
                                      << rows->join(u'\n').toStdString();
    }
    EXPECT_GT(compared, 10);
}
