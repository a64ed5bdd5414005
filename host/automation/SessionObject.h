#pragma once

#include "runtime/data/ClientDataSet.h"
#include "runtime/data/SocketConnection.h"

#include <QJSValue>

namespace automation {

// A second user's session with the same server, as another desk has it: what it changes goes through the same
// queries and change logs as a screen's own save.
class TSessionObject : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString site READ Site)
    Q_PROPERTY(QString employeeName READ EmployeeName)
public:
    // Logs in; raises wire::Error.
    TSessionObject(
        std::unique_ptr<wire::Transport> transport, const QString& account, const QString& password);

    QString Site() const;
    QString EmployeeName() const;

    Q_INVOKABLE QJSValue query(const QString& sqlText);
    // Opens the query, sets the fields of every row that it gave, and saves; returns the number of rows
    // saved. Rows that the server refuses make it fail.
    Q_INVOKABLE int update(const QString& sqlText, const QJSValue& fields);
    // The same in two steps, so that something may happen between reading and saving.
    Q_INVOKABLE int read(const QString& sqlText);
    Q_INVOKABLE int save(const QJSValue& fields);
    Q_INVOKABLE void logout();

private:
    TSocketConnectionEx connection_;
    TClientDataSetEx rows_;
};

} // namespace automation
