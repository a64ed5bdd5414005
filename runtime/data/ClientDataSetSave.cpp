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

// Every text once, in the order of their first appearance.
QStringList DistinctReasons(const wire::ApplyOutcome& outcome)
{
    QStringList reasons;
    for (const wire::RowVerdict& verdict : outcome.rows)
        if (!verdict.accepted && !verdict.reason.isEmpty() && !reasons.contains(verdict.reason))
            reasons.append(verdict.reason);
    return reasons;
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

// Sends the log under its name and takes the verdicts in. What was sent is remembered until its outcome is
// known: nothing else may be sent before, or a row stored by the lost sending would be stored again.
TClientDataSetEx::Private::SendResult TClientDataSetEx::Private::Send(SentLog log)
{
    if (!connection)
        RaiseUsage(u"数据集没有连接应用服务器！"_s);
    unresolved = std::move(log);
    wire::Request request;
    request.kind = wire::RequestKind::ApplyUpdates;
    request.changes = unresolved->log;
    request.name = unresolved->name;
    request.maxErrors = unresolved->maxErrors;
    wire::Reply reply;
    try {
        NoRows sink;
        reply = connection->Send(request, sink);
        if (reply.outcome.rows.size() != unresolved->log.rows.size())
            throw wire::Error(wire::ErrorKind::Protocol, u"服务器对保存请求的答复不完整！"_s);
    } catch (const wire::Error& error) {
        if (RefusedWhole(error.Kind()))
            unresolved.reset();
        throw;
    }
    return TakeOutcome(reply.outcome);
}

TClientDataSetEx::Private::SendResult TClientDataSetEx::Private::TakeOutcome(
    const wire::ApplyOutcome& outcome)
{
    const SentLog sent = *std::exchange(unresolved, std::nullopt);
    SendResult result;
    result.rolledBack = outcome.rolledBack;
    rows.ForgetRefusals();
    for (size_t i = 0; i < sent.log.rows.size(); ++i) {
        const wire::RowVerdict& verdict = outcome.rows[i];
        if (!verdict.reason.isEmpty() || (!verdict.accepted && !outcome.rolledBack)) {
            rows.Refuse(verdict);
            ++result.refused;
        } else if (!outcome.rolledBack) {
            rows.Accept(sent.log.rows[i]);
        }
    }
    result.reasons = DistinctReasons(outcome);
    return result;
}

void TClientDataSetEx::ApplyUpdates(int maxErrors)
{
    d_->RequireActive();
    d_->Settle();
    if (ChangeCount() == 0 && !d_->unresolved)
        return;

    // A sending whose outcome never arrived comes first, as it was: the server tells what became of it, and
    // applies it only if it never had.
    Private::SendResult result;
    std::vector<wire::RowChange> refusedBefore;
    if (d_->unresolved) {
        const std::vector<wire::RowChange> sent = d_->unresolved->log.rows;
        result = d_->Send(*d_->unresolved);
        for (const wire::RowChange& change : sent)
            if (d_->rows.Refusal(change.rowId))
                refusedBefore.push_back(change);
    }
    const bool stop = result.rolledBack || (maxErrors >= 0 && result.refused > 0);
    if (!stop) {
        Private::SentLog next;
        next.log = d_->rows.BuildLog(d_->commandText);
        next.maxErrors = maxErrors;
        // Rows just refused are not tried again as they are.
        std::erase_if(next.log.rows, [&](const wire::RowChange& change) {
            return std::any_of(
                refusedBefore.begin(), refusedBefore.end(), [&](const wire::RowChange& before) {
                    return before.rowId == change.rowId && SameChange(before, change);
                });
        });
        if (!next.log.rows.empty()) {
            if (!d_->connection)
                RaiseUsage(u"数据集没有连接应用服务器！"_s);
            next.name = d_->connection->NextApplyName();
            const Private::SendResult second = d_->Send(std::move(next));
            result.refused += second.refused;
            result.rolledBack = second.rolledBack;
            for (const QString& reason : second.reasons)
                if (!result.reasons.contains(reason))
                    result.reasons.append(reason);
        }
        if (!result.rolledBack)
            d_->rows.AcceptUnsendable();
    }
    d_->NotifyReset();
    d_->NotifyMoved();
    if (result.refused == 0 && !result.rolledBack)
        return;
    const QString count =
        result.rolledBack ? u"有%1条数据不能保存，全部修改均未保存"_s : u"有%1条数据未能保存"_s;
    const QStringList first = result.reasons.mid(0, kReasonsInMessage);
    QString message = count.arg(result.refused);
    if (!first.isEmpty())
        message += u"："_s + first.join(u"；"_s);
    message += result.reasons.size() > first.size() ? u"……"_s : u"！"_s;
    throw wire::Error(wire::ErrorKind::Conflict, message);
}

void TClientDataSetEx::MergeChangeLog()
{
    d_->RequireActive();
    d_->Settle();
    d_->rows.Merge();
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
    d_->RebuildView(current);
}

bool TClientDataSetEx::UndoCurrentRow()
{
    d_->RequireActive();
    Cancel();
    const RowNumber row = d_->CurrentRow();
    if (row == kNoRow || !d_->rows.Undo(row))
        return false;
    if (d_->rows.IsLive(row) && (!d_->filtered || d_->PassesFilter(row)))
        d_->NotifyRow(d_->cursor);
    else
        d_->RemoveFromView(d_->cursor);
    return true;
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
