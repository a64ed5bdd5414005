#pragma once

// An application server of one table in memory, behind a transport that can lose requests and replies. It
// remembers outcomes by their names, as the real one does.

#include "runtime/data/SocketConnection.h"
#include "tests/runtime/DataSetRows.h"

#include <deque>
#include <map>

struct FakeTable {
    std::vector<wire::ColumnInfo> infos = OrderColumns();
    std::map<QString, Row> rows; // by key
    std::map<QString, QString> refusals; // key → reason
    int applied = 0; // row changes stored, ever
    std::vector<wire::Request> requests; // apply-updates as they came in
    std::map<std::pair<std::array<quint8, 16>, quint64>, wire::ApplyOutcome> outcomes;
};

enum class Fault { None, LoseRequest, LoseReply, RefuseWhole, LoginFails };

class FakeTransport final : public wire::Transport {
public:
    explicit FakeTransport(FakeTable& table)
        : table_(table)
    {
    }

    // What happens to the coming apply-updates, one a sending.
    std::deque<Fault> faults;

    void Connect() override { connected_ = true; }
    void Disconnect() noexcept override { connected_ = false; }
    bool IsConnected() const noexcept override { return connected_; }
    wire::Reply Exchange(const wire::Request& request, wire::ReplySink& sink) override
    {
        wire::Reply reply;
        if (request.kind == wire::RequestKind::Query) {
            std::vector<Row> rows;
            for (const auto& [key, row] : table_.rows)
                rows.push_back(row);
            wire::RowSet set = MakeRows(table_.infos, rows);
            reply.rowCount = set.RowCount();
            sink.Columns(set.infos);
            if (!rows.empty())
                sink.Rows(std::move(set.columns));
        } else if (request.kind == wire::RequestKind::Execute) {
            reply.rowCount = 7;
        } else if (request.kind == wire::RequestKind::ApplyUpdates) {
            reply.outcome = ApplyWithFaults(request);
        }
        return reply;
    }

private:
    wire::ApplyOutcome ApplyWithFaults(const wire::Request& request)
    {
        Fault fault = Fault::None;
        if (!faults.empty()) {
            fault = faults.front();
            faults.pop_front();
        }
        if (fault == Fault::LoginFails)
            throw wire::Error(wire::ErrorKind::Login, QStringLiteral("login"));
        if (fault == Fault::RefuseWhole)
            throw wire::Error(wire::ErrorKind::Data, QStringLiteral("refused"));
        if (fault == Fault::LoseRequest)
            Break();
        const wire::ApplyOutcome outcome = Apply(request);
        if (fault == Fault::LoseReply)
            Break();
        return outcome;
    }
    [[noreturn]] void Break()
    {
        connected_ = false;
        throw wire::Error(wire::ErrorKind::Connection, QStringLiteral("broken"));
    }

    wire::ApplyOutcome Apply(const wire::Request& request)
    {
        table_.requests.push_back(request);
        const auto name = std::make_pair(request.name.client, request.name.number);
        if (const auto known = table_.outcomes.find(name); known != table_.outcomes.end())
            return known->second;
        const std::map<QString, Row> before = table_.rows;
        const int appliedBefore = table_.applied;
        wire::ApplyOutcome outcome;
        for (const wire::RowChange& change : request.changes.rows)
            outcome.rows.push_back(ApplyRow(request.changes, change));
        if (request.maxErrors >= 0 && outcome.Rejected() > request.maxErrors) {
            table_.rows = before;
            table_.applied = appliedBefore;
            outcome.rolledBack = true;
            for (wire::RowVerdict& verdict : outcome.rows) {
                if (verdict.accepted)
                    verdict.reason = QStringLiteral("undone with others");
                verdict.accepted = false;
            }
        }
        return table_.outcomes[name] = outcome;
    }

    wire::RowVerdict ApplyRow(const wire::ChangeLog& log, const wire::RowChange& change)
    {
        wire::RowVerdict verdict;
        verdict.rowId = change.rowId;
        const auto fieldOf = [&](quint16 column) {
            for (size_t i = 0; i < table_.infos.size(); ++i)
                if (table_.infos[i].name == log.columns[column].name)
                    return i;
            ADD_FAILURE() << "unknown column";
            return size_t{0};
        };
        QString oldKey;
        Row row(table_.infos.size());
        for (const wire::CellChange& cell : change.cells)
            if (log.columns[cell.column].key)
                oldKey = wire::ToText(change.kind == wire::ChangeKind::Insert ? cell.current : cell.original);
        const auto refuse = [&](const QString& reason) {
            verdict.reason = reason;
            if (const auto found = table_.rows.find(oldKey); found != table_.rows.end()) {
                verdict.present = true;
                for (quint16 i = 0; i < log.columns.size(); ++i)
                    verdict.presentValues.push_back(found->second[fieldOf(i)]);
            }
            return verdict;
        };
        if (const auto refusal = table_.refusals.find(oldKey); refusal != table_.refusals.end())
            return refuse(refusal->second);
        const auto found = table_.rows.find(oldKey);
        if (change.kind == wire::ChangeKind::Insert) {
            if (found != table_.rows.end())
                return refuse(QStringLiteral("duplicate"));
        } else {
            if (found == table_.rows.end())
                return refuse(QStringLiteral("gone"));
            row = found->second;
            for (const wire::CellChange& cell : change.cells)
                if (!wire::SameValue(row[fieldOf(cell.column)], cell.original))
                    return refuse(QStringLiteral("changed by another"));
        }
        for (const wire::CellChange& cell : change.cells)
            row[fieldOf(cell.column)] = cell.current;
        if (change.kind != wire::ChangeKind::Insert)
            table_.rows.erase(oldKey);
        if (change.kind != wire::ChangeKind::Delete)
            table_.rows[wire::ToText(row[0])] = row;
        verdict.accepted = true;
        ++table_.applied;
        return verdict;
    }

    FakeTable& table_;
    bool connected_ = false;
};
