#pragma once

#include <QProcess>
#include <QTemporaryDir>

// The peer that people put between desks and PostgreSQL: takes any number of clients over TCP and gives each
// a server connection for the length of a transaction. Ends with its scope.
class PgBouncer {
public:
    // `uri`: of a database whose host is a socket's folder. Raises wire::Error (Usage) where it does not
    // start.
    PgBouncer(const QString& uri, int serverConnections);
    ~PgBouncer();
    PgBouncer(const PgBouncer&) = delete;
    PgBouncer& operator=(const PgBouncer&) = delete;

    // Of the same database, by way of it.
    const QString& Uri() const noexcept { return uri_; }

private:
    QTemporaryDir folder_;
    QProcess process_;
    QString uri_;
};
