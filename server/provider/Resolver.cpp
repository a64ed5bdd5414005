#include "server/provider/Resolver.h"

#include "server/Texts.h"
#include "server/provider/Policy.h"
#include "server/provider/RowTarget.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace server {
namespace {

using storage::Statement;
using wire::CellChange;
using wire::ChangeKind;
using wire::RowChange;
using wire::RowVerdict;
using wire::Value;

// Why one row is refused; the others go on.
struct Refusal {
    QString reason;
    std::optional<std::vector<Value>> present; // of a row that exists
};

// One cell as it is bound.
struct BoundCell {
    const TargetColumn* column;
    Value value;
};

class Resolver {
public:
    Resolver(storage::Connection& connection, const wire::ChangeLog& log, const Caller& caller)
        : database_(connection.Base())
        , target_(connection, log)
        , audit_(database_, caller, target_.Table().name)
    {
    }

    RowVerdict Apply(const RowChange& row)
    {
        RowVerdict verdict;
        verdict.rowId = row.rowId;
        try {
            Sort(row);
            switch (row.kind) {
            case ChangeKind::Insert:
                Insert();
                break;
            case ChangeKind::Update:
                Update();
                break;
            case ChangeKind::Delete:
                Delete();
                break;
            }
            verdict.accepted = true;
        } catch (Refusal& refusal) {
            verdict.reason = std::move(refusal.reason);
            verdict.present = refusal.present.has_value();
            if (verdict.present)
                verdict.presentValues = std::move(*refusal.present);
        }
        return verdict;
    }

private:
    // Sorts the cells by the part they play: what is set, what names the row, what must still stand. The
    // signature is the same for rows that need the same statement.
    void Sort(const RowChange& row)
    {
        sets_.clear();
        checks_.clear();
        keys_.assign(target_.Keys().size(), {});
        fields_.Clear();
        signature_.assign(1, static_cast<char16_t>(row.kind));
        size_t keysSeen = 0;
        for (const CellChange& cell : row.cells) {
            const TargetColumn* column = target_.Column(cell.column);
            if (column == nullptr)
                continue;
            Value original = Converted(*column, cell.original);
            Value current = Converted(*column, cell.current);
            const bool changed = !wire::SameValue(original, current);
            if (changed && row.kind != ChangeKind::Delete) {
                RequireWidth(*column, current);
                fields_.Add(column->jsonName, original, current);
                sets_.push_back({column, std::move(current)});
                Sign(cell.column, u'=');
            }
            if (row.kind == ChangeKind::Insert)
                continue;
            if (column->key >= 0) {
                keys_[static_cast<size_t>(column->key)] = std::move(original);
                ++keysSeen;
            } else if (changed || column->guard) {
                checks_.push_back({column, std::move(original)});
                Sign(cell.column, u'?');
            }
        }
        if (row.kind != ChangeKind::Insert && keysSeen != keys_.size())
            throw wire::Error(wire::ErrorKind::Data, texts::BadChangeLog());
    }

    void Sign(quint16 column, char16_t role)
    {
        signature_ += static_cast<char16_t>(column);
        signature_ += role;
    }

    static Value Converted(const TargetColumn& column, const Value& value)
    {
        try {
            return wire::Convert(value, column.type);
        } catch (const wire::Error& error) {
            throw Refusal{texts::WrongValue(column.name, error.Message()), {}};
        }
    }

    static void RequireWidth(const TargetColumn& column, const Value& value)
    {
        const auto* text = std::get_if<QString>(&value);
        if (text == nullptr || column.width <= 0 || text->size() <= column.width)
            return;
        const qsizetype length = std::ranges::count_if(*text, [](QChar c) { return !c.isLowSurrogate(); });
        if (length > column.width)
            throw Refusal{texts::TooWide(column.name, length, column.width), {}};
    }

    void Update()
    {
        RequireKeyValues();
        if (sets_.empty()) {
            // Only columns of other tables were changed: nothing to store.
            return;
        }
        Statement& statement =
            PreparedFor([this] { return target_.UpdateText(Columns(sets_), Columns(checks_)); });
        const storage::ResetGuard reset(statement);
        int parameter = BindAll(statement, sets_, 0);
        for (const Value& key : keys_)
            statement.Bind(++parameter, key);
        BindAll(statement, checks_, parameter);
        Run(statement);
        if (database_.Changes() == 0)
            RefuseChanged();
        WriteAudit("update", KeyText());
    }

    void Insert()
    {
        for (const BoundCell& cell : sets_) {
            if (cell.column->key >= 0)
                keys_[static_cast<size_t>(cell.column->key)] = cell.value;
        }
        if (!target_.KeyIsNumbered())
            RequireKeyValues();
        if (sets_.empty())
            throw wire::Error(wire::ErrorKind::Data, texts::BadChangeLog());
        Statement& statement = PreparedFor([this] { return target_.InsertText(Columns(sets_)); });
        const storage::ResetGuard reset(statement);
        BindAll(statement, sets_, 0);
        Run(statement);
        if (target_.KeyIsNumbered() && wire::IsNull(keys_.front()))
            keys_.front() = qint64(sqlite3_last_insert_rowid(database_.Handle()));
        WriteAudit("insert", KeyText());
    }

    void Delete()
    {
        RequireKeyValues();
        const auto present = target_.Present(keys_);
        Statement& statement = PreparedFor([this] { return target_.DeleteText(Columns(checks_)); });
        const storage::ResetGuard reset(statement);
        int parameter = 0;
        for (const Value& key : keys_)
            statement.Bind(++parameter, key);
        BindAll(statement, checks_, parameter);
        Run(statement);
        if (database_.Changes() == 0)
            RefuseChanged();
        for (size_t i = 0; i < present->size(); ++i) {
            if (!wire::IsNull((*present)[i]))
                fields_.Add(target_.Column(static_cast<quint16>(i))->jsonName, (*present)[i], {});
        }
        WriteAudit("delete", KeyText());
    }

    void RequireKeyValues() const
    {
        for (size_t i = 0; i < keys_.size(); ++i) {
            if (wire::IsNull(keys_[i]))
                throw Refusal{texts::KeyEmpty(target_.Keys()[i]->name), {}};
        }
        for (const BoundCell& cell : sets_) {
            if (cell.column->key >= 0 && wire::IsNull(cell.value))
                throw Refusal{texts::KeyEmpty(cell.column->name), {}};
        }
    }

    // A constraint refuses the row alone: SQLite has then undone that statement and nothing else.
    void Run(Statement& statement)
    {
        const int code = statement.TryStep();
        if (code == SQLITE_DONE)
            return;
        if (code == SQLITE_CONSTRAINT_PRIMARYKEY || code == SQLITE_CONSTRAINT_ROWID) {
            for (const BoundCell& cell : sets_) {
                if (cell.column->key >= 0)
                    keys_[static_cast<size_t>(cell.column->key)] = cell.value;
            }
            throw Refusal{texts::DuplicateKey(QString::fromStdString(KeyText())), target_.Present(keys_)};
        }
        throw Refusal{u"%1（%2）"_s.arg(
                          texts::ConstraintBroken(), QString::fromUtf8(sqlite3_errmsg(database_.Handle()))),
            {}};
    }

    // The row is no longer what its sender read: says what became of it, and by whom.
    [[noreturn]] void RefuseChanged()
    {
        auto present = target_.Present(keys_);
        if (!present)
            throw Refusal{texts::DeletedByOther(), {}};
        // What clerks have a name for says enough; the rest is told only where it is all there is.
        QStringList named;
        QStringList unnamed;
        for (const BoundCell& check : checks_) {
            if (!wire::SameValue(check.value, (*present)[check.column->position]))
                (check.column->caption == check.column->name ? unnamed : named) << check.column->caption;
        }
        const QStringList& differing = named.isEmpty() ? unnamed : named;
        throw Refusal{
            texts::ChangedByOther(target_.LastModifier(keys_), differing.join(u'、')), std::move(present)};
    }

    static int BindAll(Statement& statement, const std::vector<BoundCell>& cells, int parameter)
    {
        for (const BoundCell& cell : cells)
            statement.Bind(++parameter, cell.value);
        return parameter;
    }

    static std::vector<const TargetColumn*> Columns(const std::vector<BoundCell>& cells)
    {
        std::vector<const TargetColumn*> columns;
        columns.reserve(cells.size());
        for (const BoundCell& cell : cells)
            columns.push_back(cell.column);
        return columns;
    }

    template <typename MakeText> Statement& PreparedFor(MakeText&& makeText)
    {
        if (signature_ == lastSignature_ && last_ != nullptr)
            return *last_;
        auto found = statements_.find(signature_);
        if (found == statements_.end())
            found = statements_.emplace(signature_, database_.Prepare(makeText())).first;
        lastSignature_ = signature_;
        last_ = &found->second;
        return *last_;
    }

    std::string KeyText() const
    {
        std::string text;
        for (const Value& key : keys_)
            text += (text.empty() ? "" : ";") + wire::ToText(key).toStdString();
        return text;
    }

    void WriteAudit(std::string_view action, const std::string& key)
    {
        audit_.Write(action, key, fields_.Finish());
    }

    storage::Database& database_;
    RowTarget target_;
    AuditTrail audit_;
    std::unordered_map<std::u16string, Statement> statements_; // by signature
    std::u16string lastSignature_;
    Statement* last_ = nullptr;
    // Of the row at hand.
    std::vector<BoundCell> sets_;
    std::vector<BoundCell> checks_;
    std::vector<Value> keys_;
    std::u16string signature_;
    AuditFields fields_;
};

} // namespace

wire::ApplyOutcome ApplyChanges(
    storage::Connection& connection, const wire::ChangeLog& log, int maxErrors, const Caller& caller)
{
    storage::Database& database = connection.Base();
    Resolver resolver(connection, log, caller);
    if (maxErrors >= 0)
        database.Execute("savepoint change_log");
    wire::ApplyOutcome outcome;
    outcome.rows.reserve(log.rows.size());
    for (const RowChange& row : log.rows)
        outcome.rows.push_back(resolver.Apply(row));
    if (maxErrors < 0)
        return outcome;
    if (outcome.Rejected() > maxErrors) {
        database.Execute("rollback to change_log");
        outcome.rolledBack = true;
        for (RowVerdict& row : outcome.rows) {
            if (row.accepted)
                row.reason = texts::UndoneWithOthers();
            row.accepted = false;
        }
    }
    database.Execute("release change_log");
    return outcome;
}

} // namespace server
