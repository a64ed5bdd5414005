#pragma once

#include "server/storage/postgres/Pipeline.h"
#include "server/storage/postgres/PostgresCatalog.h"
#include "server/storage/postgres/PostgresRowWriter.h"

namespace storage::postgres {

class PostgresConnection final : public Connection {
public:
    // `settings` is run once, at the beginning.
    PostgresConnection(
        const QString& uri, const std::string& settings, std::shared_ptr<const PostgresCatalog> catalog);

    qint64 Query(const dialect::Translated& select, wire::DateTime now, const ReadLimits& limits,
        wire::ReplySink& sink) override;
    qint64 Execute(const dialect::Translated& update, wire::DateTime now) override;
    std::vector<Row> Select(std::string_view sql, std::span<const wire::Value> parameters,
        std::span<const wire::ColumnType> types) override;
    void SelectLater(std::string_view sql, std::span<const wire::Value> parameters,
        std::span<const wire::ColumnType> types, Taker take) override;
    void FinishSelect() override;
    qint64 Change(std::string_view sql, std::span<const wire::Value> parameters) override;
    bool Insert(const company::Table& table, std::span<const wire::Value> values) override;
    void InsertLast(const company::Table& table, std::span<const wire::Value> values) override;
    std::unique_ptr<RowWriter> WriteRows(const WriteTarget& target) override;
    void Begin() override;
    void Commit() override;
    void Rollback() noexcept override;
    void SetSavepoint() override;
    void RollbackToSavepoint() override;
    void SetStop(StopSignal* stop) noexcept override;
    bool IsUsable() noexcept override { return link_.IsUsable(); }
    bool IsStillUsable() noexcept override { return link_.IsStillUsable(); }

private:
    PreparedPtr Bind(const dialect::Translated& translated, wire::DateTime now);
    qint64 Read(const PreparedPtr& statement, const std::vector<wire::ColumnInfo>& columns,
        const ReadLimits& limits, wire::ReplySink& sink);
    PreparedPtr Bind(std::string_view sql, std::span<const wire::Value> values);
    template <typename Work> auto Clean(Work&& work);
    // What has not been sent.
    void Forget() noexcept;

    std::shared_ptr<const PostgresCatalog> catalog_;
    Link link_;
    Pipeline pipeline_;
    Parameters parameters_;
    WriteTexts writeTexts_;
    PreparedPtr last_; // goes with the commit
    Parameters lastParameters_;
    StopSignal* stop_ = nullptr;
};

} // namespace storage::postgres
