#pragma once

#include <QString>

#include <optional>
#include <vector>

// A fresh, empty database in the tests' own PostgreSQL cluster; dropped, whoever is still connected, with its
// scope. ctest starts and stops the cluster for programs declared with zelmor_test(… POSTGRES); by hand it is
// tests/support/postgres-cluster.sh, and ZELMOR_TEST_POSTGRES_FILE names the file with its address.
class PostgresDatabase {
public:
    enum class Orafce { Without, With };

    // Raises wire::Error, saying what to do, when there is no cluster.
    explicit PostgresDatabase(Orafce orafce = Orafce::Without);
    ~PostgresDatabase();
    Q_DISABLE_COPY_MOVE(PostgresDatabase)

    // postgresql://…, of a superuser without password.
    QString Uri() const;
    const QString& Name() const noexcept { return name_; }
    // One or more statements without results, on a connection of their own.
    void Run(const QString& sql) const;
    // The first column of each row of a query, as text; nullopt where it is null.
    std::vector<std::optional<QString>> Texts(const QString& sql) const;

private:
    QString clusterUri_;
    QString name_;
};
