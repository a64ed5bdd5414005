#pragma once

#include "wire/Export.h"

#include <QString>

#include <exception>

namespace wire {

// What kind of failure an error is; travels in error replies. Numbers are part of the protocol.
enum class ErrorKind : quint8 {
    Connection = 1, // no connection, or it broke; the same request may be sent again
    Protocol = 2, // a frame or message that cannot be understood
    Login = 3, // not logged in, or refused
    Syntax = 4, // the SQL text cannot be parsed
    Policy = 5, // understood, but not allowed to this account or to clients at all
    Data = 6, // a value that cannot be converted, a constraint violated
    Conflict = 7, // rows of a change log were refused (see the verdicts)
    Limit = 8, // too many rows, bytes, sessions, or too much time
    Storage = 9, // the database failed: disk full, read-only, damaged
    Usage = 10, // the caller misused an interface (unknown field, closed dataset)
    Cancelled = 11, // the user gave the request up; never sent
};

// Every failure of server, connection and dataset. `what()` is the UTF-8 of `Message()`.
class WIRE_EXPORT Error : public std::exception {
public:
    Error(ErrorKind kind, const QString& message, const QString& sqlText = {});
    ~Error() override;

    ErrorKind Kind() const noexcept { return kind_; }
    const QString& Message() const noexcept { return message_; }
    // The SQL text that failed, for the trace; empty where there is none. Never shown to users.
    const QString& SqlText() const noexcept { return sqlText_; }
    const char* what() const noexcept override;

private:
    ErrorKind kind_;
    QString message_;
    QString sqlText_;
    QByteArray utf8_;
};

} // namespace wire
