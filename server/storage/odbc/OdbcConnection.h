#pragma once

#include "server/storage/Connection.h"
#include "server/storage/odbc/OdbcDatabase.h"
#include "server/storage/odbc/Worker.h"

namespace storage::odbc {

// What all connections to one database share.
struct Profile {
    Settings settings;
    int maxSeconds = 0;
    Product product = Product::Other;
    QString productName;
    QString schema;
    // A statement that fails spoils its transaction.
    bool needsSavepoints = false;
};

class OdbcConnection final : public Connection {
public:
    // Raises wire::Error.
    OdbcConnection(std::shared_ptr<const Profile> profile, std::shared_ptr<const dialect::Catalog> catalog);
    ~OdbcConnection() override;

    qint64 Query(const dialect::Translated& select, wire::DateTime now, const ReadLimits& limits,
        wire::ReplySink& sink) override;
    qint64 Execute(const dialect::Translated& update, wire::DateTime now) override;
    std::vector<Row> Select(std::string_view sql, std::span<const wire::Value> parameters,
        std::span<const wire::ColumnType> types) override;
    qint64 Change(std::string_view sql, std::span<const wire::Value> parameters) override;
    bool Insert(const company::Table& table, std::span<const wire::Value> values) override;
    std::unique_ptr<RowWriter> WriteRows(const WriteTarget& target) override;

    void Begin() override;
    void Commit() override;
    void Rollback() noexcept override;
    void SetSavepoint() override;
    void RollbackToSavepoint() override;

    void SetStop(StopSignal* stop) noexcept override;
    bool IsUsable() noexcept override { return !database_->IsLost(); }

private:
    void AskWhetherToStop() noexcept;

    std::shared_ptr<const Profile> profile_;
    std::atomic<StopSignal*> stop_{nullptr};
    std::unique_ptr<Database> database_; // on the worker's thread
    Worker worker_; // ends first
};

} // namespace storage::odbc
