// Inserting, editing, posting, deleting.

#include "runtime/data/ClientDataSetPrivate.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

void TClientDataSetEx::Private::SetPending(int field, wire::Value value)
{
    if (!IsEditing())
        RaiseUsage(u"数据集“%1”不在编辑或插入状态！"_s.arg(q->objectName()));
    const wire::ColumnInfo& info = rows.Infos()[static_cast<size_t>(field)];
    value = wire::Convert(value, info.type);
    pending.Set(field, std::move(value));
    modified = true;
    Notify([&] { Q_EMIT q->FieldChanged(field); });
}

bool TClientDataSetEx::Private::PendingDiffers() const
{
    return std::any_of(pending.begin(), pending.end(), [this](const Cells::Cell& cell) {
        const wire::Value before =
            state == TDataSetState::Insert ? wire::Value{} : rows.Present(editRow, cell.field);
        return !wire::SameValue(before, cell.value);
    });
}

void TClientDataSetEx::Private::Settle()
{
    if (!IsEditing())
        return;
    if (posting)
        RaiseUsage(u"正在提交当前记录，不能离开！"_s);
    q->UpdateRecord();
    if (modified)
        q->Post();
    else
        q->Cancel();
}

void TClientDataSetEx::Private::StartInsert(int viewIndex)
{
    rowBeforeInsert = CurrentRow();
    const RowNumber row = rows.AddRow();
    view.Insert(viewIndex, row);
    editRow = row;
    pending.Clear();
    modified = false;
    cursor = viewIndex;
    bof = eof = false;
    SetState(TDataSetState::Insert);
    Notify([&] { Q_EMIT q->RowInserted(viewIndex); });
    NotifyMoved();
    Run(q->AfterInsert);
    Run(q->AfterScroll);
}

void TClientDataSetEx::Append()
{
    d_->RequireActive();
    d_->Settle();
    const quint64 generation = d_->generation;
    Run(BeforeInsert);
    if (generation == d_->generation && d_->state == TDataSetState::Browse)
        d_->StartInsert(d_->view.Count());
}

void TClientDataSetEx::Insert()
{
    d_->RequireActive();
    d_->Settle();
    const quint64 generation = d_->generation;
    Run(BeforeInsert);
    if (generation == d_->generation && d_->state == TDataSetState::Browse)
        d_->StartInsert(std::max(d_->cursor, 0));
}

void TClientDataSetEx::Edit()
{
    if (d_->IsEditing())
        return;
    d_->RequireRow();
    const quint64 generation = d_->generation;
    Run(BeforeEdit);
    if (generation != d_->generation || d_->state != TDataSetState::Browse || d_->cursor < 0)
        return;
    d_->editRow = d_->CurrentRow();
    d_->pending.Clear();
    d_->modified = false;
    d_->SetState(TDataSetState::Edit);
    Run(AfterEdit);
}

void TClientDataSetEx::Private::EndEdit(TDataSetState next)
{
    editRow = rowBeforeInsert = kNoRow;
    pending.Clear();
    modified = false;
    SetState(next);
}

void TClientDataSetEx::Post()
{
    d_->RequireActive();
    if (!d_->IsEditing() || d_->posting)
        return;
    const quint64 generation = d_->generation;
    {
        const ScopedFlag posting(d_->posting);
        UpdateRecord();
        Run(BeforePost);
    }
    if (generation != d_->generation || !d_->IsEditing())
        return; // the handler gave the edit up
    const RowNumber row = d_->editRow;
    const bool inserted = d_->state == TDataSetState::Insert;
    RowState before = inserted ? RowState{TRowStatus::Unmodified, true, {}} : d_->rows.StateOf(row);
    d_->rows.Post(row, d_->pending, inserted);
    d_->Record(row, std::move(before));
    d_->EndEdit(TDataSetState::Browse);
    const int index = d_->view.IndexOf(row);
    if (d_->filtered && !d_->PassesFilter(row))
        d_->RemoveFromView(index);
    else
        d_->NotifyRow(index);
    Run(AfterPost);
}

void TClientDataSetEx::Cancel()
{
    if (!d_->IsEditing() || d_->posting)
        return;
    const quint64 generation = d_->generation;
    Run(BeforeCancel);
    if (generation != d_->generation || !d_->IsEditing())
        return;
    if (d_->state == TDataSetState::Insert) {
        d_->DropInsertedRow();
    } else {
        d_->EndEdit(TDataSetState::Browse);
        d_->NotifyRow(d_->cursor);
    }
    Run(AfterCancel);
}

void TClientDataSetEx::Private::DropInsertedRow()
{
    const RowNumber back = rowBeforeInsert;
    const int index = view.IndexOf(editRow);
    rows.DropRow(editRow);
    view.RemoveAt(index);
    const int wanted = view.IndexOf(back);
    cursor = wanted >= 0 ? wanted : std::min(index, view.Count() - 1);
    bof = eof = cursor < 0;
    EndEdit(TDataSetState::Browse);
    Notify([&] { Q_EMIT q->RowRemoved(index); });
    NotifyMoved();
    Run(q->AfterScroll);
}

// The row that takes the place of the removed one becomes current; after the last one, the row before it, at
// the end of the set, so that loops up to the end do not meet it again.
void TClientDataSetEx::Private::RemoveFromView(int viewIndex)
{
    view.RemoveAt(viewIndex);
    const bool wasLast = viewIndex == view.Count();
    if (cursor > viewIndex || cursor == view.Count()) {
        --cursor;
        eof = wasLast;
    }
    if (cursor < 0)
        bof = eof = true;
    Notify([&] { Q_EMIT q->RowRemoved(viewIndex); });
    NotifyMoved();
    Run(q->AfterScroll);
}

void TClientDataSetEx::Delete()
{
    d_->RequireActive();
    if (d_->state == TDataSetState::Insert) {
        Cancel();
        return;
    }
    d_->RequireRow();
    if (d_->posting)
        RaiseUsage(u"正在提交当前记录，不能删除！"_s);
    const quint64 generation = d_->generation;
    Run(BeforeDelete);
    if (generation != d_->generation || d_->cursor < 0)
        return;
    if (d_->IsEditing())
        d_->EndEdit(TDataSetState::Browse);
    const RowNumber row = d_->CurrentRow();
    RowState before = d_->rows.StateOf(row);
    d_->rows.Delete(row);
    d_->Record(row, std::move(before));
    d_->RemoveFromView(d_->cursor);
    Run(AfterDelete);
}

void TClientDataSetEx::SetFieldAndPost(QStringView fieldName, const wire::Value& value)
{
    TField& field = FieldByName(fieldName);
    Edit();
    field.SetValue(value);
    Post();
}

bool TClientDataSetEx::IsEditing() const noexcept
{
    return d_->IsEditing();
}

bool TClientDataSetEx::HasUnsavedEdits() const
{
    if (!Active())
        return false;
    if (ChangeCount() > 0 || (d_->IsEditing() && d_->PendingDiffers()))
        return true;
    bool held = false;
    Q_EMIT UnwrittenTextAsked(held);
    return held;
}

void TClientDataSetEx::UpdateRecord()
{
    Q_EMIT UpdateRecordRequested();
}
