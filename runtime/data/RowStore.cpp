#include "runtime/data/RowStore.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

const wire::Value kNull;

// Far above what servers send: one that never ends its reply must not fill this machine's memory.
constexpr RowNumber kMostRows = 20'000'000;

// Texts are compared where they lie, as UTF-8: a string made of each would cost more than all else here.
bool SameValue(const wire::Column& column, RowNumber row, const wire::Value& value)
{
    const auto* text = std::get_if<QString>(&value);
    if (text && column.Type() == wire::ColumnType::Text)
        return QAnyStringView::equal(QUtf8StringView(column.TextAt(row)), *text);
    return wire::SameValue(column.ValueAt(row), value);
}

size_t ValueMemory(const wire::Value& value) noexcept
{
    const auto* text = std::get_if<QString>(&value);
    return text ? static_cast<size_t>(text->capacity()) * sizeof(QChar) : 0;
}

} // namespace

size_t Cells::MemoryUse() const noexcept
{
    size_t bytes = cells_.capacity() * sizeof(Cell);
    for (const Cell& cell : cells_)
        bytes += ValueMemory(cell.value);
    return bytes;
}

void RowStore::Begin(std::vector<wire::ColumnInfo> infos)
{
    infos_ = std::move(infos);
    for (size_t field = 0; field < infos_.size(); ++field)
        if (const wire::ColumnInfo& info = infos_[field]; info.stored) {
            sentFields_.push_back({static_cast<int>(field), info.key || info.guard});
            alwaysSent_ += sentFields_.back().always ? 1 : 0;
        }
    columns_.reserve(infos_.size());
    for (const wire::ColumnInfo& info : infos_)
        columns_.emplace_back(info.type);
}

void RowStore::Adopt(std::vector<wire::Column> block)
{
    bool fits = block.size() == infos_.size();
    for (size_t i = 0; fits && i < block.size(); ++i)
        fits = block[i].Type() == infos_[i].type && block[i].RowCount() == block[0].RowCount();
    if (!fits)
        throw wire::Error(wire::ErrorKind::Protocol, u"服务器返回的数据与其列说明不符"_s);
    if (block.empty())
        return;
    const auto count = static_cast<RowNumber>(block[0].RowCount());
    if (count > kMostRows - baseCount_)
        throw wire::Error(wire::ErrorKind::Limit, u"查询结果超过%1行，请缩小查询范围！"_s.arg(kMostRows));
    if (baseCount_ == 0)
        columns_ = std::move(block);
    else
        for (size_t i = 0; i < block.size(); ++i)
            columns_[i].AppendColumn(std::move(block[i]));
    baseCount_ += count;
    rowCount_ = baseCount_;
}

void RowStore::Clear() noexcept
{
    columns_.clear();
    baseCount_ = rowCount_ = 0;
    if (!edits_.empty()) {
        slots_ = {};
        edits_.clear();
        editRows_ = {};
    }
    changeCount_ = hidden_ = 0;
    nextSequence_ = 1;
}

const RowStore::RowEdit* RowStore::FindEdit(RowNumber row) const noexcept
{
    if (row >= slots_.size() || slots_[row] == 0)
        return nullptr;
    return &edits_[slots_[row] - 1];
}

RowStore::RowEdit& RowStore::EditOf(RowNumber row)
{
    if (slots_.size() < rowCount_)
        slots_.resize(rowCount_, 0);
    quint32& slot = slots_[row];
    if (slot == 0) {
        edits_.emplace_back();
        editRows_.push_back(row);
        slot = static_cast<quint32>(edits_.size());
    }
    return edits_[slot - 1];
}

bool RowStore::IsLive(RowNumber row) const noexcept
{
    if (row >= rowCount_)
        return false;
    const RowEdit* edit = FindEdit(row);
    return !edit || !IsHidden(*edit);
}

const wire::Value* RowStore::EditedCell(RowNumber row, int field) const noexcept
{
    if (const RowEdit* edit = FindEdit(row)) {
        if (const wire::Value* value = edit->changed.Find(field))
            return value;
        if (const wire::Value* value = edit->original.Find(field))
            return value;
    }
    return row < baseCount_ ? nullptr : &kNull;
}

wire::Value RowStore::Present(RowNumber row, int field) const
{
    if (const wire::Value* value = Edited(row, field))
        return *value;
    return Column(field).ValueAt(row);
}

wire::Value RowStore::Below(const RowEdit& edit, RowNumber row, int field) const
{
    if (const wire::Value* value = edit.original.Find(field))
        return *value;
    return row < baseCount_ ? Column(field).ValueAt(row) : wire::Value{};
}

bool RowStore::SameBelow(const RowEdit& edit, RowNumber row, int field, const wire::Value& value) const
{
    if (const wire::Value* original = edit.original.Find(field))
        return wire::SameValue(*original, value);
    return row < baseCount_ ? SameValue(Column(field), row, value) : wire::IsNull(value);
}

wire::Value RowStore::Original(RowNumber row, int field) const
{
    const RowEdit* edit = FindEdit(row);
    if (!edit)
        return row < baseCount_ ? Column(field).ValueAt(row) : wire::Value{};
    return edit->status == TRowStatus::Inserted ? wire::Value{} : Below(*edit, row, field);
}

TRowStatus RowStore::Status(RowNumber row) const noexcept
{
    const RowEdit* edit = FindEdit(row);
    return edit ? edit->status : TRowStatus::Unmodified;
}

const Rejection* RowStore::Refusal(RowNumber row) const noexcept
{
    const RowEdit* edit = FindEdit(row);
    return edit ? edit->refusal.get() : nullptr;
}

// The one place where rows enter and leave the log.
void RowStore::SetStatus(RowEdit& edit, TRowStatus status, bool gone)
{
    const bool was = edit.status != TRowStatus::Unmodified;
    const bool is = status != TRowStatus::Unmodified;
    hidden_ -= IsHidden(edit) ? 1 : 0;
    edit.status = status;
    edit.gone = gone;
    hidden_ += IsHidden(edit) ? 1 : 0;
    if (is && !was) {
        edit.sequence = nextSequence_++;
        ++changeCount_;
    } else if (!is && was) {
        --changeCount_;
    }
    if (!is)
        edit.refusal.reset();
}

void RowStore::SetChanged(RowEdit& edit, RowNumber row, int field, const wire::Value& value)
{
    if (SameBelow(edit, row, field, value))
        edit.changed.Remove(field);
    else
        edit.changed.Set(field, value);
}

void RowStore::SetOriginal(RowEdit& edit, RowNumber row, int field, const wire::Value& value)
{
    if (SameBelow(edit, row, field, value))
        return;
    if (!IsHidden(edit)) {
        const wire::Value* changed = edit.changed.Find(field);
        wire::Value present = changed ? *changed : Below(edit, row, field);
        if (wire::SameValue(present, value))
            edit.changed.Remove(field);
        else
            edit.changed.Set(field, std::move(present));
    }
    edit.original.Set(field, value);
}

RowNumber RowStore::AddRow()
{
    const RowNumber row = rowCount_++;
    EditOf(row);
    return row;
}

void RowStore::DropRow(RowNumber row)
{
    SetStatus(EditOf(row), TRowStatus::Unmodified, true);
}

void RowStore::Post(RowNumber row, const Cells& values, bool inserted)
{
    if (values.IsEmpty() && !inserted)
        return;
    RowEdit& edit = EditOf(row);
    for (const Cells::Cell& cell : values)
        SetChanged(edit, row, cell.field, cell.value);
    if (inserted)
        SetStatus(edit, TRowStatus::Inserted);
    else if (edit.status != TRowStatus::Inserted)
        SetStatus(edit, edit.changed.IsEmpty() ? TRowStatus::Unmodified : TRowStatus::Modified);
}

void RowStore::Delete(RowNumber row)
{
    RowEdit& edit = EditOf(row);
    const bool unknownToServer = edit.status == TRowStatus::Inserted;
    edit.changed.Clear();
    SetStatus(edit, unknownToServer ? TRowStatus::Unmodified : TRowStatus::Deleted, unknownToServer);
}

bool RowStore::Undo(RowNumber row)
{
    if (Status(row) == TRowStatus::Unmodified)
        return false;
    RowEdit& edit = EditOf(row);
    edit.changed.Clear();
    SetStatus(edit, TRowStatus::Unmodified, edit.status == TRowStatus::Inserted);
    return true;
}

RowState RowStore::StateOf(RowNumber row) const
{
    const RowEdit* edit = FindEdit(row);
    return edit ? RowState{edit->status, edit->gone, edit->changed} : RowState{};
}

void RowStore::PutBack(RowNumber row, const RowState& state)
{
    RowEdit& edit = EditOf(row);
    edit.changed = state.changed;
    SetStatus(edit, state.status, state.gone);
}

void RowStore::Merge()
{
    for (RowEdit& edit : edits_) {
        for (const Cells::Cell& cell : edit.changed)
            edit.original.Set(cell.field, cell.value);
        edit.changed.Clear();
        SetStatus(edit, TRowStatus::Unmodified, edit.gone || edit.status == TRowStatus::Deleted);
    }
}

std::vector<RowNumber> RowStore::ChangedRows() const
{
    std::vector<std::pair<quint64, RowNumber>> order;
    order.reserve(static_cast<size_t>(changeCount_));
    for (size_t i = 0; i < edits_.size(); ++i)
        if (edits_[i].status != TRowStatus::Unmodified)
            order.emplace_back(edits_[i].sequence, editRows_[i]);
    std::sort(order.begin(), order.end());
    std::vector<RowNumber> rows;
    rows.reserve(order.size());
    for (const auto& [sequence, row] : order)
        rows.push_back(row);
    return rows;
}

wire::RowChange RowStore::BuildChange(RowNumber row, const RowEdit& edit) const
{
    wire::RowChange change;
    change.rowId = row;
    change.kind = edit.status == TRowStatus::Inserted ? wire::ChangeKind::Insert
        : edit.status == TRowStatus::Deleted          ? wire::ChangeKind::Delete
                                                      : wire::ChangeKind::Update;
    bool worthSending = change.kind != wire::ChangeKind::Update;
    change.cells.reserve(edit.changed.Count() + static_cast<size_t>(alwaysSent_));
    auto next = edit.changed.begin(); // both come in field order
    for (size_t i = 0; i < sentFields_.size(); ++i) {
        const auto [field, always] = sentFields_[i];
        const auto column = static_cast<quint16>(i);
        if (change.kind == wire::ChangeKind::Insert) {
            if (wire::Value value = Present(row, field); !wire::IsNull(value))
                change.cells.push_back({column, {}, std::move(value)});
            continue;
        }
        while (next != edit.changed.end() && next->field < field)
            ++next;
        const wire::Value* changed =
            next != edit.changed.end() && next->field == field ? &next->value : nullptr;
        worthSending = worthSending || changed;
        if (changed || always) {
            wire::CellChange& cell = change.cells.emplace_back();
            cell.column = column;
            cell.original = Below(edit, row, field);
            cell.current = changed ? *changed : cell.original;
        }
    }
    if (!worthSending)
        change.cells.clear();
    return change;
}

wire::ChangeLog RowStore::BuildLog(const QString& commandText) const
{
    wire::ChangeLog log;
    log.commandText = commandText;
    log.columns.reserve(sentFields_.size());
    for (const SentField& sent : sentFields_)
        log.columns.push_back(infos_[static_cast<size_t>(sent.field)]);
    log.rows.reserve(static_cast<size_t>(changeCount_));
    for (const RowNumber row : ChangedRows()) {
        wire::RowChange change = BuildChange(row, *FindEdit(row));
        if (change.kind != wire::ChangeKind::Update || !change.cells.empty())
            log.rows.push_back(std::move(change));
    }
    return log;
}

void RowStore::AcceptUnsendable()
{
    for (size_t i = 0; i < edits_.size(); ++i) {
        RowEdit& edit = edits_[i];
        if (edit.status != TRowStatus::Modified || !BuildChange(editRows_[i], edit).cells.empty())
            continue;
        for (const Cells::Cell& cell : edit.changed)
            edit.original.Set(cell.field, cell.value);
        edit.changed.Clear();
        SetStatus(edit, TRowStatus::Unmodified);
    }
}

void RowStore::Accept(const wire::RowChange& sent)
{
    const RowNumber row = sent.rowId;
    if (row >= rowCount_)
        return;
    RowEdit& edit = EditOf(row);
    if (sent.kind == wire::ChangeKind::Delete) {
        // Brought back here since: it has to be stored again as a new row.
        if (edit.status == TRowStatus::Deleted || edit.gone)
            SetStatus(edit, TRowStatus::Unmodified, true);
        else
            SetStatus(edit, TRowStatus::Inserted);
        return;
    }

    const bool live = !IsHidden(edit);
    if (sent.kind == wire::ChangeKind::Insert) {
        size_t next = 0; // cells come in column order
        for (size_t i = 0; i < sentFields_.size(); ++i) {
            const bool given = next < sent.cells.size() && sent.cells[next].column == i;
            SetOriginal(edit, row, sentFields_[i].field, given ? sent.cells[next].current : kNull);
            next += given ? 1 : 0;
        }
    } else {
        for (const wire::CellChange& cell : sent.cells) {
            const int field = sentFields_[cell.column].field;
            // Sent along unchanged, and its column, which never changes, still holds what was sent.
            const bool asRead = !edit.original.Find(field) && !edit.changed.Find(field);
            if (!asRead || !wire::SameValue(cell.original, cell.current))
                SetOriginal(edit, row, field, cell.current);
        }
    }
    if (!live) {
        if (sent.kind == wire::ChangeKind::Insert && edit.gone)
            SetStatus(edit, TRowStatus::Deleted); // deleted here while the server was storing it
        return;
    }
    // What no table stores has nothing to wait for.
    if (!edit.changed.IsEmpty()) {
        Cells rest;
        for (const Cells::Cell& cell : edit.changed) {
            if (infos_[cell.field].stored)
                rest.Set(cell.field, cell.value);
            else
                edit.original.Set(cell.field, cell.value);
        }
        edit.changed = std::move(rest);
    }
    SetStatus(edit, edit.changed.IsEmpty() ? TRowStatus::Unmodified : TRowStatus::Modified);
}

void RowStore::Refuse(const wire::RowVerdict& verdict)
{
    if (verdict.rowId >= rowCount_ || Status(verdict.rowId) == TRowStatus::Unmodified)
        return;
    auto refusal = std::make_unique<Rejection>();
    refusal->reason = verdict.reason;
    refusal->present = verdict.present;
    if (verdict.present && verdict.presentValues.size() == sentFields_.size()) {
        refusal->values.resize(infos_.size());
        for (size_t i = 0; i < sentFields_.size(); ++i)
            refusal->values[static_cast<size_t>(sentFields_[i].field)] = verdict.presentValues[i];
    }
    EditOf(verdict.rowId).refusal = std::move(refusal);
}

void RowStore::ForgetRefusal(RowNumber row) noexcept
{
    if (row < slots_.size() && slots_[row] != 0)
        edits_[slots_[row] - 1].refusal.reset();
}

size_t RowStore::MemoryUse() const noexcept
{
    size_t bytes = slots_.capacity() * sizeof(quint32) + editRows_.capacity() * sizeof(RowNumber);
    for (const wire::Column& column : columns_)
        bytes += column.MemoryUse();
    for (const RowEdit& edit : edits_)
        bytes += sizeof(RowEdit) + edit.original.MemoryUse() + edit.changed.MemoryUse();
    return bytes;
}
