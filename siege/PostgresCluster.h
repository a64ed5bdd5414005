#pragma once

#include <QStringList>

#include <vector>

// A PostgreSQL cluster of its own (postgres-cluster.sh), gone with this object. It keeps what it has
// committed.
class PostgresCluster {
public:
    // `name`: what its folder under /tmp begins with. Raises wire::Error (Storage).
    explicit PostgresCluster(const QString& name);
    ~PostgresCluster();
    PostgresCluster(const PostgresCluster&) = delete;
    PostgresCluster& operator=(const PostgresCluster&) = delete;

    // Where its socket and its log are.
    const QString& Folder() const noexcept { return folder_; }
    const QString& Uri() const noexcept { return uri_; }
    // As after a power cut. Returns when the cluster is there again.
    void Crash();
    // Values of a query's rows as text, null as empty.
    std::vector<QStringList> Ask(const QString& sqlText) const;

private:
    void Run(const QStringList& arguments) const;

    QString folder_;
    QString uri_;
};
