#include "bench/system/Floor.h"

#include <sqlite3.h>

#include <QByteArray>

#include <cstdio>
#include <cstdlib>

using namespace Qt::Literals::StringLiterals;

namespace {

void Check(sqlite3* database, int code)
{
    if (code == SQLITE_OK || code == SQLITE_DONE || code == SQLITE_ROW)
        return;
    std::fprintf(stderr, "floor: %s\n", sqlite3_errmsg(database));
    std::exit(1);
}

sqlite3_stmt* Prepare(sqlite3* database, const QString& sql)
{
    const QByteArray utf8 = sql.toUtf8();
    sqlite3_stmt* statement = nullptr;
    Check(database, sqlite3_prepare_v2(database, utf8.constData(), int(utf8.size()), &statement, nullptr));
    return statement;
}

void BindText(sqlite3_stmt* statement, int parameter, const QString& text)
{
    if (text.isEmpty()) {
        sqlite3_bind_null(statement, parameter);
        return;
    }
    const QByteArray utf8 = text.toUtf8();
    sqlite3_bind_text(statement, parameter, utf8.constData(), int(utf8.size()), SQLITE_TRANSIENT);
}

} // namespace

Floor::Floor(const QString& file)
{
    Check(database_, sqlite3_open_v2(file.toUtf8().constData(), &database_, SQLITE_OPEN_READWRITE, nullptr));
    Run(u"pragma journal_mode=wal"_s);
    Run(u"pragma synchronous=full"_s);
    Run(u"pragma case_sensitive_like=on"_s);
}

Floor::~Floor()
{
    sqlite3_close(database_);
}

void Floor::Run(const QString& sql)
{
    Check(database_, sqlite3_exec(database_, sql.toUtf8().constData(), nullptr, nullptr, nullptr));
}

QStringList Floor::ColumnsOf(const QString& table)
{
    QStringList names;
    sqlite3_stmt* statement = Prepare(database_, u"select name from pragma_table_info('%1')"_s.arg(table));
    while (sqlite3_step(statement) == SQLITE_ROW)
        names.append(QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0))));
    sqlite3_finalize(statement);
    return names;
}

qint64 Floor::ReadEveryCell(const QString& sql)
{
    sqlite3_stmt* statement = Prepare(database_, sql);
    const int columns = sqlite3_column_count(statement);
    qint64 rows = 0;
    volatile qint64 sink = 0;
    while (sqlite3_step(statement) == SQLITE_ROW) {
        ++rows;
        for (int column = 0; column < columns; ++column) {
            switch (sqlite3_column_type(statement, column)) {
            case SQLITE_INTEGER:
                sink = sink + sqlite3_column_int64(statement, column);
                break;
            case SQLITE_FLOAT:
                sink = sink + qint64(sqlite3_column_double(statement, column));
                break;
            case SQLITE_TEXT:
                sink =
                    sink + *sqlite3_column_text(statement, column) + sqlite3_column_bytes(statement, column);
                break;
            default:
                break;
            }
        }
    }
    sqlite3_finalize(statement);
    return rows;
}

int Floor::LookUp(std::span<const AreaKey> keys)
{
    sqlite3_stmt* statement = Prepare(database_,
        u"select a.SITE_NAME from TAB_AREA_DETAIL a where (a.PROVICE=?1 or a.PROVICE=?2) and (a.CITY=?3 or "
        "a.CITY=?4) and a.COUNTY=?5 and a.TOWN=?6 and a.ROAD_NAME=?7 and a.STARTNO<=?8 and a.ENDNO>=?8 and "
        "a.BL_NO in (0,2) limit 1"_s);
    int hits = 0;
    for (const AreaKey& key : keys) {
        BindText(statement, 1, key.province);
        BindText(statement, 2, key.province.chopped(1));
        BindText(statement, 3, key.city);
        BindText(statement, 4, key.city.chopped(1));
        BindText(statement, 5, key.county);
        BindText(statement, 6, key.town);
        BindText(statement, 7, key.road);
        sqlite3_bind_int(statement, 8, key.number);
        if (sqlite3_step(statement) == SQLITE_ROW)
            hits += sqlite3_column_bytes(statement, 0) > 0;
        sqlite3_reset(statement);
    }
    sqlite3_finalize(statement);
    return hits;
}

int Floor::Update(std::span<const OrderEdit> edits)
{
    Run(u"begin immediate"_s);
    sqlite3_stmt* statement = Prepare(database_,
        u"update tab_zelmor_bill set REMARK=?1, MESSAGE=?2, TOTAL_WEIGHT=?3, MODIFIER=?11, MODIFY_CODE=?12, "
        "MODIFY_SITE=?13 where TX_LOGISTIC_ID=?4 and STATUS is ?5 and REC_SITE is ?6 and PREPARE_SITE is ?7 "
        "and REMARK is ?8 and MESSAGE is ?9 and TOTAL_WEIGHT is ?10"_s);
    // Who changes an order stands in it.
    BindText(statement, 11, u"王建军"_s);
    BindText(statement, 12, u"00000001"_s);
    BindText(statement, 13, u"快运本部"_s);
    int changed = 0;
    for (const OrderEdit& edit : edits) {
        BindText(statement, 1, edit.remark);
        BindText(statement, 2, edit.message);
        sqlite3_bind_double(statement, 3, edit.weight);
        BindText(statement, 4, edit.order);
        if (edit.status)
            sqlite3_bind_int64(statement, 5, *edit.status);
        else
            sqlite3_bind_null(statement, 5);
        BindText(statement, 6, edit.receivingSite);
        BindText(statement, 7, edit.candidates);
        BindText(statement, 8, edit.oldRemark);
        BindText(statement, 9, edit.oldMessage);
        if (edit.oldWeight)
            sqlite3_bind_double(statement, 10, *edit.oldWeight);
        else
            sqlite3_bind_null(statement, 10);
        Check(database_, sqlite3_step(statement));
        changed += sqlite3_changes(database_);
        sqlite3_reset(statement);
    }
    sqlite3_finalize(statement);
    Run(u"commit"_s);
    return changed;
}
