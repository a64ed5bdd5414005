// Any change log that a client may send, to a server over a small database. Afterwards the tables must be
// what the verdicts say: accepted rows exactly as sent, over what their sender had read; refused ones without
// a trace; an audit entry for each row stored. Sent again, the log changes nothing and has the same outcome.
//
// Input: see ChangeInput.

#include "fuzz/ChangeRequest.h"
#include "fuzz/Database.h"
#include "fuzz/Finding.h"
#include "fuzz/WritableTables.h"
#include "server/provider/ApplicationServer.h"
#include "server/storage/sqlite/SqliteStorage.h"
#include "wire/Budgets.h"

#include <optional>

using namespace Qt::Literals::StringLiterals;
using fuzz::AuditEntry;
using fuzz::Require;
using fuzz::TableState;
using wire::ChangeKind;
using wire::Value;

namespace {

constexpr size_t kMostRows = 300;
constexpr qsizetype kLongestText = 4'000;
constexpr double kRequestSeconds = 20; // with everything that checks the program built in
const QString kSite = u"合肥一部"_s; // of every account
const QString kEmployee = u"张三"_s;
const QString kEmployeeCode = u"E1"_s;

class ColumnsKeeper final : public wire::ReplySink {
public:
    void Columns(const wire::ColumnInfos& columns) override { infos = *columns; }
    void Rows(std::vector<wire::Column>) override { }
    std::vector<wire::ColumnInfo> infos;
};

bool SameRow(const std::vector<Value>& a, const std::vector<Value>& b)
{
    return std::ranges::equal(a, b, wire::SameValue);
}

bool SameTables(const std::vector<TableState>& a, const std::vector<TableState>& b)
{
    return std::ranges::equal(a, b, [](const TableState& one, const TableState& other) {
        return std::ranges::is_permutation(one.rows, other.rows, SameRow);
    });
}

// What the log's accepted rows make of the tables.
class Model {
public:
    Model(const wire::ChangeLog& log, const std::vector<wire::ColumnInfo>& query, TableState& state)
        : state_(state)
    {
        // Columns by name; the query knows better than the log which are stored.
        for (size_t i = 0; i < log.columns.size(); ++i) {
            const wire::ColumnInfo& told = log.columns[i];
            const auto same = [&](const wire::ColumnInfo& info) {
                return info.name.compare(told.name, Qt::CaseInsensitive) == 0;
            };
            const auto found = i < query.size() && same(query[i])
                ? query.begin() + static_cast<std::ptrdiff_t>(i)
                : std::ranges::find_if(query, same);
            const wire::ColumnInfo& info = found == query.end() ? told : *found;
            const size_t at = state.IndexOf(told.name);
            const bool taken = std::ranges::any_of(
                columns_, [at](const auto& column) { return column && column->at == at; });
            if (info.stored && at < state.table->columns.size() && !taken)
                columns_.push_back(Column{at, info.guard});
            else
                columns_.emplace_back();
        }
    }

    // False where there was nothing to store.
    bool Accept(const wire::RowChange& change, AuditEntry& entry)
    {
        Sort(change);
        entry.table = state_.table->name;
        switch (change.kind) {
        case ChangeKind::Insert: {
            std::vector<Value> row(state_.table->columns.size());
            Set(row, entry);
            entry.action = u"insert"_s;
            entry.key = KeyOf(row);
            Require(Find(row) == state_.rows.end(), "accepted an insert of a key that is there");
            state_.rows.push_back(std::move(row));
            return true;
        }
        case ChangeKind::Update: {
            if (sets_.empty())
                return false;
            const auto row = Find(originals_);
            entry.action = u"update"_s;
            entry.key = KeyOf(originals_);
            Require(row != state_.rows.end(), "accepted an update of a row that is not there");
            CheckStood(*row);
            Set(*row, entry);
            Stamp(*row, entry);
            return true;
        }
        case ChangeKind::Delete: {
            const auto row = Find(originals_);
            entry.action = u"delete"_s;
            entry.key = KeyOf(originals_);
            Require(row != state_.rows.end(), "accepted a delete of a row that is not there");
            CheckStood(*row);
            state_.rows.erase(row);
            return true;
        }
        }
        return false;
    }

private:
    struct Column {
        size_t at;
        bool guard;
    };

    void Sort(const wire::RowChange& change)
    {
        sets_.clear();
        checks_.clear();
        originals_.assign(state_.table->columns.size(), {});
        for (const wire::CellChange& cell : change.cells) {
            const auto& column = columns_[cell.column];
            if (!column)
                continue;
            const company::Column& definition = state_.table->columns[column->at];
            const Value original = wire::Convert(cell.original, definition.type);
            const Value current = wire::Convert(cell.current, definition.type);
            const bool changed = !wire::SameValue(original, current);
            if (changed)
                sets_.emplace_back(column->at, current);
            originals_[column->at] = original;
            if (changed || column->guard)
                checks_.emplace_back(column->at, original);
        }
    }

    void CheckStood(const std::vector<Value>& row) const
    {
        for (const auto& [at, value] : checks_)
            Require(wire::SameValue(row[at], value),
                "accepted a change over a value that its sender had not read");
    }

    void Set(std::vector<Value>& row, AuditEntry& entry) const
    {
        for (const auto& [at, value] : sets_) {
            row[at] = value;
            entry.columns.insert(state_.table->columns[at].name);
        }
    }

    // An order tells who changed it last, whatever its sender says.
    void Stamp(std::vector<Value>& row, AuditEntry& entry) const
    {
        const std::vector<company::Column>& columns = state_.table->columns;
        for (const auto& [name, text] : {std::pair(u"MODIFIER"_s, kEmployee),
                 std::pair(u"MODIFY_CODE"_s, kEmployeeCode), std::pair(u"MODIFY_SITE"_s, kSite)}) {
            const auto column = std::ranges::find(columns, name, &company::Column::name);
            if (column == columns.end())
                continue;
            row[size_t(column - columns.begin())] = text;
            entry.columns.insert(name);
        }
    }

    std::vector<std::vector<Value>>::iterator Find(const std::vector<Value>& like)
    {
        return std::ranges::find_if(state_.rows, [&](const std::vector<Value>& row) {
            for (size_t i = 0; i < state_.table->primaryKey.size(); ++i) {
                if (!wire::SameValue(row[state_.KeyColumn(i)], like[state_.KeyColumn(i)]))
                    return false;
            }
            return true;
        });
    }

    QString KeyOf(const std::vector<Value>& row) const
    {
        QStringList key;
        for (size_t i = 0; i < state_.table->primaryKey.size(); ++i)
            key += wire::ToText(row[state_.KeyColumn(i)]);
        return key.join(u';');
    }

    TableState& state_;
    std::vector<std::optional<Column>> columns_; // of the log
    // Of the change at hand.
    std::vector<std::pair<size_t, Value>> sets_;
    std::vector<std::pair<size_t, Value>> checks_;
    std::vector<Value> originals_;
};

class Desk {
public:
    Desk()
    {
        const QString people = u"insert into tab_site(SITE_CODE, SITE_NAME) values('S1', '%1');"
                               "insert into tab_employee(EMPLOYEE_CODE, EMPLOYEE_NAME, OWNER_SITE)"
                               " values('%2', '%3', '%1')"_s;
        database_.Base().Execute(people.arg(kSite, kEmployeeCode, kEmployee).toUtf8().constData());
        database_.Restore();
        server::Options options;
        options.open = storage::SqliteIn(database_.Folder());
        options.now = wire::DateTime::FromParts(2024, 3, 5, 12);
        server_ = std::make_unique<server::ApplicationServer>(options);
        for (const server::Role role : {server::Role::Headquarters, server::Role::Clerk}) {
            wire::Request login;
            login.kind = wire::RequestKind::Login;
            login.account = u"role%1"_s.arg(int(role));
            login.password = u"secret"_s;
            server_->AddAccount({login.account, login.password, kEmployeeCode, u"2"_s, u"111"_s, role});
            sessions_.push_back(server_->NewSession(u"10.0.0.1:1"_s));
            ColumnsKeeper none;
            sessions_.back()->Handle(login, none);
        }
    }

    void Try(const fuzz::ChangeInput& input)
    {
        const fuzz::Budget budget(kRequestSeconds, "a change log takes too long");
        server::Session& session = *sessions_[input.account % sessions_.size()];
        ColumnsKeeper none;
        std::vector<TableState> expected = fuzz::Pristine();
        std::vector<AuditEntry> audit;
        try {
            const wire::ApplyOutcome outcome = session.Handle(input.request, none).outcome;
            Judge(session, input.request, outcome, expected, audit);
            Check(expected, audit);
            const wire::ApplyOutcome again = session.Handle(input.request, none).outcome;
            Require(Encoded(outcome) == Encoded(again), "sent again, a log has another outcome");
        } catch (const wire::Error& error) {
            using wire::ErrorKind;
            const ErrorKind kind = error.Kind();
            Require(kind == ErrorKind::Data || kind == ErrorKind::Syntax || kind == ErrorKind::Policy
                    || kind == ErrorKind::Limit,
                error.what());
            Require(audit.empty(), "an outcome is not remembered");
        }
        Check(expected, audit);
        database_.Restore();
    }

private:
    static QByteArray Encoded(const wire::ApplyOutcome& outcome)
    {
        wire::Reply reply;
        reply.outcome = outcome;
        const wire::Packet packet = wire::EncodeDone(reply, 1);
        return {packet.Data(), packet.Size()};
    }

    void Judge(server::Session& session, const wire::Request& request, const wire::ApplyOutcome& outcome,
        std::vector<TableState>& expected, std::vector<AuditEntry>& audit)
    {
        const std::vector<wire::RowChange>& rows = request.changes.rows;
        Require(std::ranges::equal(rows, outcome.rows, {}, &wire::RowChange::rowId, &wire::RowVerdict::rowId),
            "verdicts are not parallel to the rows");
        int accepted = 0;
        wire::OutcomeSize size;
        for (const wire::RowVerdict& verdict : outcome.rows) {
            size.Add(verdict);
            accepted += verdict.accepted ? 1 : 0;
            // What was merely undone with others has no reason of its own.
            Require(
                verdict.accepted ? verdict.reason.isEmpty() : outcome.rolledBack || !verdict.reason.isEmpty(),
                "a refusal without a reason, or the reverse");
            Require(!verdict.present || verdict.presentValues.size() == request.changes.columns.size(),
                "present values are not parallel to the columns");
        }
        Require(!size.IsTooLarge(), "verdicts take more memory than they may");
        const int refused = static_cast<int>(rows.size()) - accepted;
        Require(outcome.rolledBack ? accepted == 0 && request.maxErrors >= 0
                                   : request.maxErrors < 0 || refused <= request.maxErrors,
            "the limit of refusals does not hold");
        if (accepted == 0)
            return;

        const auto query = Described(session, request.changes.commandText);
        const auto target = std::ranges::find_if(expected, [&](const TableState& state) {
            return query.second.compare(state.table->name, Qt::CaseInsensitive) == 0;
        });
        Require(target != expected.end(), "accepted a change of a table that is closed");
        Model model(request.changes, query.first, *target);
        for (size_t i = 0; i < rows.size(); ++i) {
            AuditEntry entry;
            if (outcome.rows[i].accepted && model.Accept(rows[i], entry))
                audit.push_back(entry);
        }
    }

    // The query's columns, and the table that it reads.
    std::pair<std::vector<wire::ColumnInfo>, QString> Described(server::Session& session, const QString& text)
    {
        wire::Request request;
        request.kind = wire::RequestKind::Query;
        request.text = text;
        ColumnsKeeper columns;
        try {
            session.Handle(request, columns);
        } catch (const wire::Error&) {
            // In its rows: the columns were told before.
        }
        return {std::move(columns.infos), translator_.Translate(text).translation->targetTable};
    }

    void Check(const std::vector<TableState>& expected, const std::vector<AuditEntry>& audit)
    {
        Require(SameTables(database_.Tables(), expected), "the tables are not what the verdicts say");
        const std::vector<AuditEntry> entries = database_.Audit();
        Require(std::ranges::equal(entries, audit,
                    [](const AuditEntry& written, const AuditEntry& expectedEntry) {
                        // What is deleted is told as it stood.
                        const bool columns = written.action == u"delete"
                            ? !written.columns.empty()
                            : written.columns == expectedEntry.columns;
                        return written.table == expectedEntry.table && written.action == expectedEntry.action
                            && written.key == expectedEntry.key && columns;
                    }),
            "the audit is not what the verdicts say");
    }

    fuzz::Database database_;
    dialect::Translator translator_{database_.Catalog()};
    std::unique_ptr<server::ApplicationServer> server_;
    std::vector<std::unique_ptr<server::Session>> sessions_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const quint8* data, size_t size)
{
    static Desk desk;
    fuzz::ChangeInput input;
    if (!input.Read(data, size) || input.request.changes.rows.size() > kMostRows
        || input.request.changes.commandText.size() > kLongestText)
        return -1;
    desk.Try(input);
    return 0;
}
