#include "tests/support/Desk.h"

#include "demo/Generator.h"
#include "runtime/data/TcpTransport.h"
#include "server/provider/ApplicationServer.h"
#include "server/storage/sqlite/SqliteStorage.h"

Desk::Desk(int port, const QString& account)
{
    connection.SetTransport(MakeTcpTransport(QStringLiteral("127.0.0.1"), port));
    connection.Open(account, demo::DemoPassword());
    orders.SetRemoteServer(&connection);
}

void Desk::Open(const QString& sqlText)
{
    orders.Close();
    orders.SetCommandText(sqlText);
    orders.Open();
}

void Desk::MarkAll(const QString& remark)
{
    for (orders.First(); !orders.Eof(); orders.Next()) {
        orders.Edit();
        orders.FieldByName(u"REMARK").SetAsString(remark);
        orders.Post();
    }
}

std::vector<QStringList> AskDatabase(const QString& folder, const QString& sqlText)
{
    server::Options options;
    options.open = storage::SqliteIn(folder);
    server::ApplicationServer server(options);
    const wire::RowSet rows = server.QueryAsAdministrator(sqlText);
    std::vector<QStringList> result;
    for (qsizetype row = 0; row < rows.RowCount(); ++row) {
        QStringList values;
        for (const wire::Column& column : rows.columns)
            values.append(wire::ToText(column.ValueAt(row)));
        result.push_back(values);
    }
    return result;
}
