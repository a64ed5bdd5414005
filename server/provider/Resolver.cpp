#include "server/provider/Resolver.h"

#include "server/provider/RowRule.h"
#include "server/refusal/UserTexts.h"
#include "wire/Budgets.h"
#include "wire/Utf8.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <numeric>

using namespace Qt::Literals::StringLiterals;

namespace server {
namespace {

using storage::Cell;
using storage::RowResult;
using storage::RowWrite;
using wire::CellChange;
using wire::ChangeKind;
using wire::RowChange;
using wire::RowVerdict;
using wire::Value;

// Rows handed to the storage at a time: enough for it to work without waiting for each.
constexpr size_t kRowsAtOnce = 128;

// Of an audit entry, beside its fields.
constexpr qint64 kEntryBytes = 200;

// Why one row is refused; the others go on.
struct Refusal {
    QString reason;
};

class Resolver {
public:
    Resolver(storage::Connection& connection, const wire::ChangeLog& log, const Caller& caller,
        const Permissions& permissions, ForbiddenRows& forbidden)
        : log_(log)
        , target_(connection, log, permissions)
        , rule_(RuleFor(connection, permissions, caller, target_))
        , writer_(connection.WriteRows(target_.ForWriting(caller)))
        , forbidden_(forbidden)
    {
        forbidden_ = {target_.Table().name, 0, {}};
        for (Cell& cell : rule_->Stamps()) {
            std::string field = AuditFields::Field(cell.column->name, cell.value);
            stamps_.push_back({std::move(cell), std::move(field)});
        }
    }

    std::vector<RowVerdict> Apply()
    {
        verdicts_.resize(log_.rows.size());
        for (const size_t number : OrderOfWork()) {
            const RowChange& row = log_.rows[number];
            RowVerdict& verdict = verdicts_[number];
            verdict.rowId = row.rowId;
            if (row.kind == ChangeKind::Delete)
                Flush(); // what is deleted is read first, as the rows before leave it
            if (waiting_ == writes_.size())
                writes_.emplace_back();
            RowWrite& write = writes_[waiting_];
            try {
                Plan(row, write);
                // Where only columns of other tables were changed there is nothing to store.
                verdict.accepted = row.kind == ChangeKind::Update && write.sets.empty();
                if (!verdict.accepted)
                    waitingVerdicts_[waiting_++] = number;
            } catch (Refusal& refusal) {
                verdict.reason = std::move(refusal.reason);
                CountRefused(verdict);
            }
            if (waiting_ == kRowsAtOnce)
                Flush();
        }
        Flush();
        return std::move(verdicts_);
    }
    qint64 Audited() const noexcept { return audited_; }

private:
    // What the server sets itself, and how the audit says so.
    struct Stamp {
        Cell cell;
        std::string field;
    };

    // Two saves that write the same rows in different orders would wait for each other. Rows that only change
    // their values may go in the order of their keys; others stand in an order that matters.
    std::vector<size_t> OrderOfWork() const
    {
        std::vector<size_t> order(log_.rows.size());
        std::iota(order.begin(), order.end(), size_t(0));
        const auto keepsKey = [this](const RowChange& row) {
            return row.kind == ChangeKind::Update
                && std::ranges::all_of(row.cells, [this](const CellChange& cell) {
                       return !IsKey(cell) || wire::SameValue(cell.original, cell.current);
                   });
        };
        if (!writer_->LocksRows() || !std::ranges::all_of(log_.rows, keepsKey))
            return order;
        std::vector<std::vector<const Value*>> keys(order.size());
        for (const size_t number : order) {
            for (const CellChange& cell : log_.rows[number].cells) {
                if (IsKey(cell))
                    keys[number].push_back(&cell.original);
            }
        }
        std::ranges::stable_sort(order, [&keys](size_t a, size_t b) {
            return std::ranges::lexicographical_compare(
                keys[a], keys[b], [](const Value* x, const Value* y) { return LessKey(*x, *y); });
        });
        return order;
    }

    bool IsKey(const CellChange& cell) const
    {
        const TargetColumn* column = target_.Column(cell.column);
        return column != nullptr && column->key >= 0;
    }

    static bool LessKey(const Value& a, const Value& b)
    {
        const auto* text = std::get_if<QString>(&a);
        const auto* other = std::get_if<QString>(&b);
        return text != nullptr && other != nullptr ? *text < *other : wire::ToText(a) < wire::ToText(b);
    }

    // What is set, what names the row, what must still stand. Raises Refusal.
    void Plan(const RowChange& row, RowWrite& write)
    {
        ReadCells(row, write);
        RequireAllowed(write);
        switch (row.kind) {
        case ChangeKind::Insert:
            PlanInsert(write);
            break;
        case ChangeKind::Update:
            if (!write.sets.empty())
                Complete(write);
            RequireKeyValues(write);
            SetAuditKey(write, write.keys);
            break;
        case ChangeKind::Delete:
            PlanDelete(write);
            break;
        }
        write.auditFields = fields_.Finish();
    }

    void ReadCells(const RowChange& row, RowWrite& write)
    {
        write.kind = row.kind;
        write.sets.clear();
        write.checks.clear();
        write.keys.assign(target_.Keys().size(), {});
        write.statementKey.assign(1, static_cast<char16_t>(row.kind));
        fields_.Clear();
        size_t keysSeen = 0;
        ++rowsRead_;
        for (const CellChange& cell : row.cells) {
            const TargetColumn* column = target_.Column(cell.column);
            if (column == nullptr)
                continue;
            if (std::exchange(seen_[cell.column], rowsRead_) == rowsRead_)
                throw wire::Error(wire::ErrorKind::Data, texts::BadChangeLog()); // twice in one row
            Value original = Converted(*column, cell.original);
            Value current = Converted(*column, cell.current);
            const bool changed = !wire::SameValue(original, current);
            if (changed && row.kind != ChangeKind::Delete) {
                RequireWidth(*column, current);
                fields_.Add(AuditName(*column), original, current);
                write.sets.push_back({column->stored, std::move(current)});
                Sign(write, *column->stored, u'=');
            }
            if (row.kind == ChangeKind::Insert)
                continue;
            if (column->key >= 0) {
                write.keys[static_cast<size_t>(column->key)] = std::move(original);
                ++keysSeen;
            } else if (changed || column->guard) {
                write.checks.push_back({column->stored, std::move(original)});
                Sign(write, *column->stored, u'?');
            }
        }
        if (row.kind != ChangeKind::Insert && keysSeen != write.keys.size())
            throw wire::Error(wire::ErrorKind::Data, texts::BadChangeLog());
    }

    std::string_view AuditName(const TargetColumn& column)
    {
        std::string& name = auditNames_[column.position];
        if (name.empty())
            name = AuditFields::Name(column.stored->name);
        return name;
    }

    void RequireAllowed(const RowWrite& write)
    {
        std::optional<QString> reason = rule_->RefusalOf(write, *writer_);
        if (!reason)
            return;
        if (forbidden_.count++ == 0) {
            const bool insert = write.kind == ChangeKind::Insert;
            forbidden_.first = QString::fromStdString(KeyText(insert ? KeysSet(write) : write.keys));
        }
        throw Refusal{std::move(*reason)};
    }

    // What stood there is not looked at: the audit has it already, under whoever wrote it.
    void Complete(RowWrite& write)
    {
        for (const Stamp& stamp : stamps_) {
            if (std::ranges::find(write.sets, stamp.cell.column, &Cell::column) != write.sets.end())
                continue;
            write.sets.push_back(stamp.cell);
            fields_.AddField(stamp.field);
            Sign(write, *stamp.cell.column, u'=');
        }
    }

    void Sign(RowWrite& write, const dialect::CatalogColumn& column, char16_t role) const
    {
        write.statementKey += static_cast<char16_t>(&column - target_.Table().columns.data());
        write.statementKey += role;
    }

    Value Converted(const TargetColumn& column, const Value& value) const
    {
        try {
            Value converted = wire::Convert(value, column.stored->type);
            if (const auto* text = std::get_if<QString>(&converted); text && text->contains(QChar::Null))
                throw Refusal{texts::WrongValue(target_.CaptionOf(column), u"U+0000"_s)};
            return converted;
        } catch (const wire::Error& error) {
            throw Refusal{texts::WrongValue(target_.CaptionOf(column), error.Message())};
        }
    }

    void RequireWidth(const TargetColumn& column, const Value& value) const
    {
        const auto* text = std::get_if<QString>(&value);
        const int width = column.stored->width;
        if (text == nullptr || width <= 0 || text->size() <= width)
            return;
        const qsizetype length = std::ranges::count_if(*text, [](QChar c) { return !c.isLowSurrogate(); });
        if (length > width)
            throw Refusal{texts::TooWide(target_.CaptionOf(column), length, width)};
    }

    void PlanInsert(RowWrite& write)
    {
        if (write.sets.empty())
            throw wire::Error(wire::ErrorKind::Data, texts::BadChangeLog());
        const storage::Row keys = KeysSet(write);
        const bool given = target_.KeyIsNumbered() && wire::IsNull(keys.front());
        if (!given)
            RequireKeyValues(keys);
        if (given)
            write.statementKey += u'#'; // the audit entry's key comes from the statement as well
        write.auditKey.clear();
        if (!given)
            SetAuditKey(write, keys);
        write.keys.clear();
    }

    // The audit entry tells what is deleted.
    void PlanDelete(RowWrite& write)
    {
        RequireKeyValues(write);
        SetAuditKey(write, write.keys);
        storage::Row present = writer_->Present(write.keys);
        if (present.empty())
            return;
        target_.TakeLastModifier(present);
        for (size_t i = 0; i < present.size(); ++i) {
            if (!wire::IsNull(present[i]))
                fields_.Add(AuditName(*target_.Column(static_cast<quint16>(i))), present[i], {});
        }
    }

    void RequireKeyValues(const storage::Row& keys) const
    {
        for (size_t i = 0; i < keys.size(); ++i) {
            if (wire::IsNull(keys[i]))
                throw Refusal{texts::KeyEmpty(target_.CaptionOf(*target_.Keys()[i]))};
        }
    }

    void RequireKeyValues(const RowWrite& write) const
    {
        RequireKeyValues(write.keys);
        for (const Cell& cell : write.sets) {
            if (cell.column->key && wire::IsNull(cell.value))
                throw Refusal{texts::KeyEmpty(target_.CaptionOf(ColumnOf(cell)))};
        }
    }

    // The stored row's key with what is set of it.
    storage::Row KeysSet(const RowWrite& write) const
    {
        storage::Row keys = write.keys;
        keys.resize(target_.Keys().size());
        for (const Cell& cell : write.sets) {
            for (size_t i = 0; i < keys.size(); ++i) {
                if (target_.Keys()[i]->stored == cell.column)
                    keys[i] = cell.value;
            }
        }
        return keys;
    }

    // Writes what waits.
    void Flush()
    {
        if (waiting_ == 0)
            return;
        const std::span<const RowWrite> writes(writes_.data(), waiting_);
        writer_->Write(writes, std::span(results_).first(waiting_));
        for (size_t i = 0; i < waiting_; ++i) {
            RowVerdict& verdict = verdicts_[waitingVerdicts_[i]];
            Judge(writes[i], results_[i], verdict);
            if (!verdict.accepted)
                CountRefused(verdict);
        }
        waiting_ = 0;
    }

    // Few bytes of a log may be refused with very many: it ends as soon as no reply could hold them.
    void CountRefused(const RowVerdict& verdict)
    {
        ++refused_;
        size_.Add(verdict);
        if (size_.IsTooLarge())
            throw wire::Error(wire::ErrorKind::Limit, texts::TooManyRefusals(refused_));
    }

    void Judge(const RowWrite& write, RowResult& result, RowVerdict& verdict)
    {
        switch (result.outcome) {
        case RowResult::Outcome::Written:
            verdict.accepted = true;
            audited_ += kEntryBytes + static_cast<qint64>(write.auditFields.size());
            return;
        case RowResult::Outcome::NotThere:
            return RefuseChanged(write, verdict);
        case RowResult::Outcome::DuplicateKey: {
            const storage::Row keys = KeysSet(write);
            verdict.reason = texts::DuplicateKey(QString::fromStdString(KeyText(keys)));
            storage::Row present = writer_->Present(keys, storage::Hold::No);
            verdict.present = !present.empty();
            if (verdict.present) {
                target_.TakeLastModifier(present);
                verdict.presentValues = std::move(present);
            }
            return;
        }
        case RowResult::Outcome::Refused:
            verdict.reason = u"%1（%2）"_s.arg(texts::ConstraintBroken(), result.message);
            return;
        }
    }

    // The row is no longer what its sender read: says what became of it, and by whom.
    void RefuseChanged(const RowWrite& write, RowVerdict& verdict)
    {
        storage::Row present = writer_->Present(write.keys, storage::Hold::No);
        if (present.empty()) {
            verdict.reason = texts::DeletedByOther();
            return;
        }
        const QString modifier = target_.TakeLastModifier(present);
        // The guards say enough; the rest is told only where it is all there is.
        QStringList guards;
        QStringList others;
        for (const Cell& check : write.checks) {
            const TargetColumn& column = ColumnOf(check);
            if (wire::SameValue(check.value, present[column.position]))
                continue;
            (column.guard ? guards : others) << target_.CaptionOf(column);
        }
        const QStringList& differing = guards.isEmpty() ? others : guards;
        verdict.reason = texts::ChangedByOther(modifier, differing.join(u'、'));
        verdict.present = true;
        verdict.presentValues = std::move(present);
    }

    const TargetColumn& ColumnOf(const Cell& cell) const
    {
        for (quint16 i = 0;; ++i) {
            const TargetColumn* column = target_.Column(i);
            if (column != nullptr && column->stored == cell.column)
                return *column;
        }
    }

    static void SetAuditKey(RowWrite& write, const storage::Row& keys)
    {
        write.auditKey.clear();
        AppendKey(write.auditKey, keys);
    }

    static std::string KeyText(const storage::Row& keys)
    {
        std::string text;
        AppendKey(text, keys);
        return text;
    }

    static void AppendKey(std::string& text, const storage::Row& keys)
    {
        for (const Value& key : keys) {
            if (!text.empty())
                text += ';';
            wire::AppendUtf8(text, wire::ToText(key));
        }
    }

    const wire::ChangeLog& log_;
    RowTarget target_;
    std::unique_ptr<RowRule> rule_;
    std::vector<Stamp> stamps_;
    std::unique_ptr<storage::RowWriter> writer_;
    ForbiddenRows& forbidden_;
    std::vector<RowVerdict> verdicts_;
    wire::OutcomeSize size_; // of those that are refused
    int refused_ = 0;
    qint64 audited_ = 0;
    // Rows on their way to the storage, kept from one batch to the next for their memory.
    std::vector<RowWrite> writes_;
    std::array<RowResult, kRowsAtOnce> results_;
    std::array<size_t, kRowsAtOnce> waitingVerdicts_{};
    size_t waiting_ = 0;
    AuditFields fields_; // of the row being planned
    std::vector<std::string> auditNames_ = std::vector<std::string>(log_.columns.size()); // of columns so far
    std::vector<size_t> seen_ = std::vector<size_t>(log_.columns.size()); // by column: in which row
    size_t rowsRead_ = 0;
};

} // namespace

Applied ApplyChanges(storage::Connection& connection, const wire::ChangeLog& log, int maxErrors,
    const Caller& caller, const Permissions& permissions, ForbiddenRows& forbidden)
{
    Resolver resolver(connection, log, caller, permissions, forbidden);
    if (maxErrors >= 0)
        connection.SetSavepoint();
    Applied applied{{resolver.Apply()}, resolver.Audited()};
    wire::ApplyOutcome& outcome = applied.outcome;
    if (maxErrors >= 0 && outcome.Rejected() > maxErrors) {
        connection.RollbackToSavepoint();
        outcome.rolledBack = true;
        applied.audited = 0;
        // A row that was merely undone with the others has no reason of its own.
        for (RowVerdict& row : outcome.rows)
            row.accepted = false;
    }
    return applied;
}

} // namespace server
