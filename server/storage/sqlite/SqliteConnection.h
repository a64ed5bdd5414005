#pragma once

#include "server/dialect/SqliteFunctions.h"
#include "server/storage/Connection.h"
#include "server/storage/sqlite/Checkpointer.h"

#include <unordered_map>

namespace storage::sqlite {

class SqliteConnection final : public Connection {
public:
    // The checkpointer outlives it.
    SqliteConnection(
        const QString& file, std::shared_ptr<const dialect::Catalog> catalog, Checkpointer& checkpointer);
    ~SqliteConnection() override;

    Database& Base() noexcept { return database_; }

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
    bool IsUsable() noexcept override { return true; }

private:
    // A translation made ready here.
    struct Prepared {
        std::shared_ptr<const dialect::Translation> translation;
        Statement statement;
        CellBlocks scratch;
        size_t bytes = 0; // that it holds
        size_t keptBytes = 0; // of them, by `scratch`
        quint64 lastUse = 0;
    };
    // Valid until the next call; bound.
    Prepared& Prepare(const dialect::Translated& translated, wire::DateTime now);
    void Weigh(Prepared& prepared);
    void DropLeastUsed();
    Statement& Own(std::string_view sql, std::span<const wire::Value> parameters);

    bool ShouldStop() noexcept;

    const Checkpointer& checkpointer_;
    StopSignal* stop_ = nullptr;
    std::chrono::steady_clock::time_point begin_; // of what is being watched
    dialect::FunctionWatch functionWatch_;
    Database database_;
    std::unordered_map<const dialect::Translation*, std::unique_ptr<Prepared>> prepared_;
    size_t preparedBytes_ = 0; // of all of them
    quint64 uses_ = 0;
    std::unordered_map<std::string, Statement> own_; // a few dozen at most: their texts are the program's
};

} // namespace storage::sqlite
