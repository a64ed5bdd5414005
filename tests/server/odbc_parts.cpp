#include "server/storage/odbc/OdbcFault.h"
#include "server/storage/odbc/OdbcOwnTables.h"
#include "server/storage/odbc/OdbcSettings.h"

#include "server/storage/OwnTables.h"
#include "wire/Error.h"

#include <QFile>
#include <QTemporaryFile>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace storage::odbc {
namespace {

TEST(OdbcSettings, TakeOurOwnOutAndKeepThePasswordOutOfSight)
{
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    file.write("s;e}c\n");
    file.close();
    struct Case {
        QString connection;
        QString database;
        QString password;
        QString place;
    };
    const QString fromFile = u";ZELMOR_PASSWORD_FILE="_s + file.fileName();
    const Case cases[] = {
        // Qt puts "DSN=" in front of what names neither driver nor server.
        {u"DSN=zelmor;UID=scott;PWD=tiger"_s, u"zelmor;UID=scott;PWD=tiger"_s, u"tiger"_s,
            u"DSN=zelmor;UID=scott"_s},
        {u" UID=scott ; dsn=zelmor ;"_s, u"zelmor;UID=scott"_s, {}, u"DSN=zelmor;UID=scott"_s},
        {u"DSN=zelmor;SERVER=db"_s, u"DSN=zelmor;SERVER=db"_s, {}, u"DSN=zelmor;SERVER=db"_s},
        {u"DBQ=//db:1521/x;DRIVER={Oracle 21};PWD={a;}}b}"_s,
            u"DRIVER={Oracle 21};DBQ=//db:1521/x;PWD={a;}}b}"_s, u"a;}b"_s, u"DBQ=//db:1521/x"_s},
        {u"DSN=zelmor;zelmor_schema=OWNER_1"_s + fromFile, u"zelmor;PWD={s;e}}c}"_s, u"s;e}c"_s,
            u"DSN=zelmor"_s},
    };
    for (const Case& c : cases) {
        const Settings settings = ReadSettings(c.connection);
        EXPECT_EQ(settings.database, c.database);
        EXPECT_EQ(settings.password, c.password);
        EXPECT_EQ(settings.place, c.place);
        EXPECT_EQ(settings.schema, c.connection.contains(u"OWNER_1") ? u"OWNER_1"_s : QString());
    }
    for (const auto* wrong : {"", "zelmor", "UID=scott", "DSN=a;PWD={secret", "DSN=a;ZELMOR_SHEMA=x",
             "DSN=a;ZELMOR_SCHEMA=x drop", "DSN=a;ZELMOR_PASSWORD_FILE=/nowhere/secret"}) {
        try {
            ReadSettings(QString::fromLatin1(wrong));
            ADD_FAILURE() << wrong;
        } catch (const wire::Error& error) {
            EXPECT_FALSE(error.Message().contains(u"{secret")) << error.what();
        }
    }
}

TEST(OdbcFault, SaysWhatCanBeDone)
{
    using enum Fault::Kind;
    struct Case {
        Product product;
        const char* state;
        int native;
        Fault::Kind kind;
        bool integrity;
    };
    const Case cases[] = {
        {Product::Oracle, "HY000", 1, Row, true},
        {Product::Oracle, "23000", 1, Row, true},
        {Product::Oracle, "HY000", 2291, Row, true},
        {Product::Oracle, "HY000", 12899, Row, false},
        {Product::Oracle, "HY000", 20001, Row, false},
        {Product::Oracle, "HY000", 60, Conflict, false},
        {Product::Oracle, "HY000", 3113, Lost, false},
        {Product::Oracle, "HY000", 12541, Lost, false},
        {Product::Oracle, "08S01", 0, Lost, false},
        {Product::Oracle, "HY000", 1013, Stopped, false},
        {Product::Oracle, "HY000", 1653, Full, false},
        {Product::Oracle, "42S02", 942, Statement, false},
        {Product::Postgres, "40P01", 1, Conflict, false},
        {Product::Postgres, "40001", 60, Conflict, false},
        {Product::Postgres, "40003", 1, Lost, false},
        {Product::Postgres, "57P01", 1, Lost, false},
        {Product::Postgres, "57014", 1, Stopped, false},
        {Product::Postgres, "23505", 1, Row, true},
        {Product::Postgres, "P0001", 1, Row, false},
        {Product::Postgres, "HY000", 60, Statement, false}, // its numbers are others
        {Product::Sqlite, "HY000", 19, Row, true},
        {Product::Sqlite, "HY000", 5, Conflict, false},
        {Product::Sqlite, "HY000", 1, Statement, false},
    };
    for (const Case& c : cases) {
        const Fault fault = Classify(c.product, c.state, c.native, u"[a][b] ORA-1: x"_s);
        EXPECT_EQ(fault.kind, c.kind) << c.state << " " << c.native;
        EXPECT_EQ(fault.integrity, c.integrity) << c.state << " " << c.native;
        EXPECT_EQ(fault.message, u"ORA-1: x"_s);
    }
}

TEST(OdbcOwnTables, TheScriptForOracleIsThatOfThisVersion)
{
    QFile file(QStringLiteral(ZELMOR_ORACLE_SCRIPT));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(file.readAll()).toStdString(), OracleScript().toStdString());

    // Names stand there without quotes. What Oracle reserves of the words that a table may be tempted to use.
    const QStringList reserved =
        u"ACCESS AUDIT CLUSTER COLUMN COMMENT DATE FILE GROUP IDENTIFIED INDEX INITIAL INTEGER LEVEL LOCK "
        u"LONG MODE "
        "NUMBER OFFLINE ONLINE OPTION ORDER PRIOR PUBLIC RAW RESOURCE ROW ROWID ROWS SESSION SHARE SIZE "
        "START "
        "SUCCESSFUL SYNONYM TABLE TRIGGER UID UNION UNIQUE USER VALIDATE VALUES VIEW"_s.split(u' ');
    for (const company::Table& table : OwnTables()) {
        EXPECT_LE(table.primaryKeyName.size(), 30);
        for (const company::Column& column : table.columns)
            EXPECT_FALSE(reserved.contains(column.name)) << column.name.toStdString();
    }
}

} // namespace
} // namespace storage::odbc
