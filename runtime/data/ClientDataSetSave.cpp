// The change log, saving it, and copies of rows.

#include "runtime/data/ClientDataSetPrivate.h"
#include "runtime/data/SocketConnection.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype kReasonsInMessage = 3;
constexpr auto kReasonField = "ERROR_MESSAGE"_L1;

// Whether the server, having read the request, refused the whole of it. After any other failure it may have
// stored the rows all the same: the reply, or an earlier sending of the same request, may have got lost.
bool RefusedWhole(wire::ErrorKind kind)
{
    return kind == wire::ErrorKind::Data || kind == wire::ErrorKind::Syntax
        || kind == wire::ErrorKind::Conflict;
}

bool SameCell(const wire::CellChange& a, const wire::CellChange& b)
{
    return a.column == b.column && a.original == b.original && a.current == b.current;
}

bool SameChange(const wire::RowChange& a, const wire::RowChange& b)
{
    return a.kind == b.kind
        && std::equal(a.cells.begin(), a.cells.end(), b.cells.begin(), b.cells.end(), SameCell);
}

} // namespace

int TClientDataSetEx::ChangeCount() const noexcept
{
    return d_->rows.ChangeCount();
}

TRowStatus TClientDataSetEx::UpdateStatus() const
{
    return ViewStatus(d_->cursor);
}

// --- Saving ---

// Sends `unresolved` and takes the verdicts in. It stays what it is until its outcome is known: nothing else
// may be sent before, or a row stored by the lost sending would be stored again.
TClientDataSetEx::Private::SendResult TClientDataSetEx::Private::SendUnresolved()
{
    RequireConnection();
    wire::Reply reply;
    try {
        NoRows sink;
        reply = connection->Send(*unresolved, sink);
        const auto sameRow = [](const wire::RowChange& sent, const wire::RowVerdict& verdict) {
            return sent.rowId == verdict.rowId;
        };
        const std::vector<wire::RowChange>& sent = unresolved->changes.rows;
        const std::vector<wire::RowVerdict>& verdicts = reply.outcome.rows;
        if (!std::equal(sent.begin(), sent.end(), verdicts.begin(), verdicts.end(), sameRow))
            throw wire::Error(wire::ErrorKind::Protocol, u"服务器对保存请求的答复与请求不符！"_s);
    } catch (const wire::Error& error) {
        // What no server was found for may still be corrected, and then be saved as it stands.
        mayBeStored = mayBeStored || !connection->NeverSent();
        if (RefusedWhole(error.Kind()) || !mayBeStored)
            unresolved.reset();
        throw;
    }
    SendResult result;
    result.rolledBack = reply.outcome.rolledBack;
    for (size_t i = 0; i < reply.outcome.rows.size(); ++i) {
        const wire::RowVerdict& verdict = reply.outcome.rows[i];
        rows.ForgetRefusal(verdict.rowId);
        if (!verdict.accepted) {
            rows.Refuse(verdict);
            result.refused.insert(verdict.rowId, unresolved->changes.rows[i]);
            if (!verdict.reason.isEmpty() && !result.reasons.contains(verdict.reason))
                result.reasons.append(verdict.reason);
        } else if (!result.rolledBack) {
            rows.Accept(unresolved->changes.rows[i]);
        }
    }
    unresolved.reset();
    undo.Clear(); // its steps lead to originals that are no more
    return result;
}

// What the log holds now, except rows that were just refused and have not been touched since.
TClientDataSetEx::Private::SendResult TClientDataSetEx::Private::SendLog(
    int maxErrors, const SendResult& before)
{
    wire::Request request;
    request.kind = wire::RequestKind::ApplyUpdates;
    request.changes = rows.BuildLog(commandText);
    request.maxErrors = maxErrors;
    std::erase_if(request.changes.rows, [&](const wire::RowChange& change) {
        const auto refused = before.refused.find(change.rowId);
        return refused != before.refused.end() && SameChange(*refused, change);
    });
    if (request.changes.rows.empty())
        return {};
    RequireConnection();
    request.name = connection->NextApplyName();
    unresolved = std::move(request);
    mayBeStored = false;
    return SendUnresolved();
}

void TClientDataSetEx::ApplyUpdates(int maxErrors)
{
    d_->RequireActive();
    d_->Settle();
    if (ChangeCount() == 0 && !d_->unresolved)
        return;

    Private::SendResult result;
    try {
        // A sending whose outcome never arrived comes first, as it was: the server tells what became of it,
        // and applies it only if it never had.
        if (d_->unresolved)
            result = d_->SendUnresolved();
        const bool stop = result.rolledBack || (maxErrors >= 0 && !result.refused.isEmpty());
        if (!stop) {
            const Private::SendResult second = d_->SendLog(maxErrors, result);
            result.refused.insert(second.refused);
            result.rolledBack = second.rolledBack;
            for (const QString& reason : second.reasons)
                if (!result.reasons.contains(reason))
                    result.reasons.append(reason);
            if (!result.rolledBack) {
                d_->rows.AcceptUnsendable();
                d_->undo.Clear();
            }
        }
    } catch (...) {
        d_->NotifyReset();
        throw;
    }
    if (d_->valueFilters.IsEmpty())
        d_->NotifyReset();
    else
        d_->RebuildView(d_->CurrentRow()); // what is saved may be hidden now
    if (!result.refused.isEmpty() || result.rolledBack)
        throw wire::Error(wire::ErrorKind::Conflict, Private::RefusalMessage(result));
}

QString TClientDataSetEx::Private::RefusalMessage(const SendResult& result)
{
    QStringList first = result.reasons.mid(0, kReasonsInMessage);
    for (QString& reason : first) {
        if (reason.endsWith(u'！'))
            reason.chop(1);
    }
    QString message = result.rolledBack ? u"全部%1条修改均未保存"_s : u"有%1条数据未能保存"_s;
    message = message.arg(result.refused.size());
    if (!first.isEmpty())
        message += u"："_s + first.join(u"；"_s);
    return message + (result.reasons.size() > first.size() ? u"……"_s : u"！"_s);
}

void TClientDataSetEx::MergeChangeLog()
{
    d_->RequireActive();
    d_->Settle();
    d_->rows.Merge();
    d_->undo.Clear();
    d_->NotifyReset();
    d_->NotifyMoved();
}

void TClientDataSetEx::CancelUpdates()
{
    d_->RequireActive();
    Cancel();
    if (ChangeCount() == 0)
        return;
    const RowNumber current = d_->CurrentRow();
    for (const RowNumber row : d_->rows.ChangedRows())
        d_->rows.Undo(row);
    d_->undo.Clear();
    d_->RebuildView(current);
}

bool TClientDataSetEx::UndoCurrentRow()
{
    d_->RequireActive();
    Cancel();
    const RowNumber row = d_->CurrentRow();
    if (row == kNoRow)
        return false;
    RowState before = d_->rows.StateOf(row);
    if (!d_->rows.Undo(row))
        return false;
    d_->Record(row, std::move(before));
    if (d_->rows.IsLive(row) && (!d_->filtered || d_->PassesFilter(row)))
        d_->NotifyRow(d_->cursor);
    else
        d_->RemoveFromView(d_->cursor);
    return true;
}

// --- Steps ---

void TClientDataSetEx::Private::Record(RowNumber row, RowState before)
{
    RowState after = rows.StateOf(row);
    if (before != after)
        undo.Add({row, std::move(before), std::move(after)}, disableCount > 0);
}

// The rows of the step as they were before it, or after it.
void TClientDataSetEx::Private::PutBack(const UndoLog::Step& step, bool before)
{
    const RowNumber current = CurrentRow();
    const RowNumber aim = step.front().row;
    if (before)
        for (auto change = step.rbegin(); change != step.rend(); ++change)
            rows.PutBack(change->row, change->before);
    else
        for (const UndoLog::RowStep& change : step)
            rows.PutBack(change.row, change.after);
    // One row keeps its place, or gives it up alone.
    const int index = step.size() == 1 ? view.IndexOf(aim) : -1;
    const bool stays = index >= 0 && rows.IsLive(aim) && (!filtered || PassesFilter(aim));
    if (index >= 0 && !stays) {
        RemoveFromView(index);
        return;
    }
    if (!stays)
        RebuildView(current);
    q->GotoBookmark(aim + 1);
    if (stays)
        NotifyRow(index);
}

bool TClientDataSetEx::UndoStep()
{
    d_->RequireActive();
    if (d_->IsEditing()) {
        Cancel();
        return true;
    }
    if (!d_->undo.CanUndo())
        return false;
    d_->PutBack(d_->undo.Undo(), true);
    return true;
}

bool TClientDataSetEx::RedoStep()
{
    d_->RequireActive();
    if (d_->IsEditing() || !d_->undo.CanRedo())
        return false;
    d_->PutBack(d_->undo.Redo(), false);
    return true;
}

bool TClientDataSetEx::CanUndo() const noexcept
{
    return d_->IsEditing() || d_->undo.CanUndo();
}

bool TClientDataSetEx::CanRedo() const noexcept
{
    return !d_->IsEditing() && d_->undo.CanRedo();
}

QString TClientDataSetEx::RejectReason() const
{
    const RowNumber row = d_->CurrentRow();
    const Rejection* refusal = row == kNoRow ? nullptr : d_->rows.Refusal(row);
    return refusal ? refusal->reason : QString();
}

bool TClientDataSetEx::WasRejected() const
{
    const RowNumber row = d_->CurrentRow();
    return row != kNoRow && d_->rows.Refusal(row);
}

wire::Value TClientDataSetEx::ServerValue(int field) const
{
    const RowNumber row = d_->CurrentRow();
    const Rejection* refusal = row == kNoRow ? nullptr : d_->rows.Refusal(row);
    const bool known = refusal && field >= 0 && static_cast<size_t>(field) < refusal->values.size();
    return known ? refusal->values[static_cast<size_t>(field)] : wire::Value{};
}

bool TClientDataSetEx::ServerHasRow() const
{
    const RowNumber row = d_->CurrentRow();
    const Rejection* refusal = row == kNoRow ? nullptr : d_->rows.Refusal(row);
    return refusal && refusal->present;
}

// --- Copies ---

// The rows in their present values; deleted ones as they were.
wire::RowSet TClientDataSetEx::Private::Gather(const std::vector<RowNumber>& wanted) const
{
    wire::RowSet copy;
    copy.infos = rows.Infos();
    for (int field = 0; field < rows.FieldCount(); ++field) {
        const wire::Column& from = rows.Column(field);
        wire::Column& to = copy.columns.emplace_back(from.Type());
        for (const RowNumber row : wanted) {
            if (const wire::Value* edited = rows.Edited(row, field))
                to.AppendValue(*edited);
            else if (from.IsNull(row))
                to.AppendNull();
            else if (from.Type() == wire::ColumnType::Text)
                to.AppendText(from.TextAt(row));
            else
                to.AppendValue(from.ValueAt(row));
        }
    }
    return copy;
}

void TClientDataSetEx::CopyFrom(const TClientDataSetEx& other)
{
    if (&other == this)
        RaiseUsage(u"数据集不能复制自身！"_s);
    other.d_->RequireActive();
    const Private& from = *other.d_;
    wire::RowSet copy;
    if (from.view.ShowsAll() && !from.rows.HasEdits()) {
        copy.infos = from.rows.Infos();
        for (int field = 0; field < from.rows.FieldCount(); ++field)
            copy.columns.push_back(from.rows.Column(field));
    } else {
        std::vector<RowNumber> wanted(static_cast<size_t>(from.view.Count()));
        for (size_t i = 0; i < wanted.size(); ++i)
            wanted[i] = from.view.RowAt(static_cast<int>(i));
        copy = from.Gather(wanted);
    }
    OpenRows(std::move(copy));
}

void TClientDataSetEx::CopyDelta(const TClientDataSetEx& other, bool rejectedOnly)
{
    if (&other == this)
        RaiseUsage(u"数据集不能复制自身！"_s);
    other.d_->RequireActive();
    const RowStore& from = other.d_->rows;
    std::vector<RowNumber> wanted = from.ChangedRows();
    if (rejectedOnly)
        std::erase_if(wanted, [&](RowNumber row) { return !from.Refusal(row); });
    wire::RowSet copy = other.d_->Gather(wanted);
    if (rejectedOnly) {
        wire::ColumnInfo reason;
        reason.name = kReasonField;
        copy.infos.push_back(reason);
        wire::Column& reasons = copy.columns.emplace_back(wire::ColumnType::Text);
        for (const RowNumber row : wanted)
            reasons.AppendText(from.Refusal(row)->reason.toUtf8());
    }
    OpenRows(std::move(copy));
}
