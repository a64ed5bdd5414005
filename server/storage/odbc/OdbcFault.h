#pragma once

#include <QByteArray>
#include <QSqlError>
#include <QString>

namespace storage::odbc {

// Databases that are known by more than their ODBC driver.
enum class Product { Other, Oracle, Postgres, Sqlite };

// What went wrong, as far as somebody does something about it.
struct Fault {
    enum class Kind {
        Statement, // the statement as such: an unknown name, a missing right
        Row, // the values of one row: a constraint, a trigger, a width
        Conflict, // another transaction was in the way, this one is undone
        Stopped, // cancelled, or out of time
        Lost, // the connection is gone
        Full, // no space left
    } kind = Kind::Statement;
    bool integrity = false; // Row: a key or another constraint
    QString message = {}; // the database's own
};

// `state`: the five characters that ODBC knows errors by; `native`: the database's own number.
Fault Classify(Product product, const QByteArray& state, int native, const QString& message);

// What a handle last complained of. `handleType` as ODBC counts them.
Fault ReadFault(Product product, qint16 handleType, void* handle, const QSqlError& error);

// Raises the wire::Error or TryAgain that the fault stands for.
[[noreturn]] void Raise(const Fault& fault, const QString& sql = {});

} // namespace storage::odbc
