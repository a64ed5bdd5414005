#include "host/automation/SessionObject.h"

#include "host/automation/Rows.h"

#include <QJSValueIterator>

namespace automation {

TSessionObject::TSessionObject(
    std::unique_ptr<wire::Transport> transport, const QString& account, const QString& password)
{
    connection_.SetTransport(std::move(transport));
    connection_.Open(account, password);
    rows_.SetRemoteServer(&connection_);
}

QString TSessionObject::Site() const
{
    return connection_.Identity().site;
}

QString TSessionObject::EmployeeName() const
{
    return connection_.Identity().employeeName;
}

QJSValue TSessionObject::query(const QString& sqlText)
{
    return Call(this, [&] {
        TClientDataSetEx rows;
        rows.SetRemoteServer(&connection_);
        rows.SetCommandText(sqlText);
        rows.Open();
        return ToScript(*qjsEngine(this), rows);
    });
}

int TSessionObject::update(const QString& sqlText, const QJSValue& fields)
{
    read(sqlText);
    return qjsEngine(this)->hasError() ? 0 : save(fields);
}

int TSessionObject::read(const QString& sqlText)
{
    return Call(this, [&] {
        rows_.Close();
        rows_.SetCommandText(sqlText);
        rows_.Open();
        return rows_.RecordCount();
    });
}

int TSessionObject::save(const QJSValue& fields)
{
    return Call(this, [&] {
        for (rows_.First(); !rows_.Eof(); rows_.Next()) {
            rows_.Edit();
            QJSValueIterator field(fields);
            while (field.next())
                rows_.FieldByName(field.name()).SetValue(FromScript(field.value()));
            rows_.Post();
        }
        const int changed = rows_.ChangeCount();
        rows_.ApplyUpdates();
        return changed;
    });
}

void TSessionObject::logout()
{
    rows_.Close();
    connection_.Close();
}

} // namespace automation
