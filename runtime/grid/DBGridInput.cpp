#include "runtime/controls/DBControls.h"
#include "runtime/grid/DBGridPrivate.h"
#include "runtime/grid/FindBar.h"
#include "runtime/ui/Application.h"

#include <QApplication>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QScrollBar>
#include <QToolTip>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

// Posts what is pending. A refusal has told its reason already.
bool TDBGridEh::Private::PostRow()
{
    TClientDataSetEx* open = OpenDataSet();
    if (!open || open->State() == TDataSetState::Browse)
        return true;
    if (!q->CommitEditor())
        return false;
    const QPointer<TDBGridEh> alive(q);
    bool posted = false;
    Guarded([&] {
        open->Post();
        posted = true;
    });
    return posted && alive;
}

bool TDBGridEh::Private::MoveTo(int viewRow, int column)
{
    TClientDataSetEx* open = OpenDataSet();
    if (!open || moving || viewRow < 0 || viewRow >= open->RecordCount() || !ShownColumn(column))
        return false;
    const bool sameRow = viewRow == CurrentRow();
    if (sameRow && column == currentColumn)
        return true;
    if (!q->CommitEditor())
        return false;
    if (column != currentColumn && q->OnColExit) {
        bool leave = true;
        Guarded([&] { leave = q->OnColExit(currentColumn); });
        if (!leave) {
            FollowCursor();
            return false;
        }
    }
    if (!sameRow) {
        // A post may reorder the rows: the aim is a row, not a number.
        const TBookmark aim = open->ViewBookmark(viewRow);
        if (!PostRow() || !OpenDataSet() || !open->GotoBookmark(aim)) {
            FollowCursor();
            return false;
        }
    }
    const bool entered = column != currentColumn;
    currentColumn = column;
    FollowCursor();
    if (entered)
        Q_EMIT q->SelectionChanged();
    if (entered && q->OnColEnter)
        Guarded(q->OnColEnter);
    return true;
}

bool TDBGridEh::Private::MoveBy(int rows)
{
    TClientDataSetEx* open = OpenDataSet();
    const int row = CurrentRow();
    if (!open || row < 0)
        return false;
    const int last = open->RecordCount() - 1;
    if (row == last && rows == 1 && q->AllowInsert && !q->ReadOnly) {
        // Below the last row a new one begins, unless the last is itself new and untouched.
        if (PostRow())
            Guarded([&] { open->Append(); });
        return true;
    }
    const int target = std::clamp(row + rows, 0, last);
    if (target == row) {
        // Nowhere to go, but the row was meant to be left.
        q->CommitEditor() && PostRow();
        return false;
    }
    return MoveTo(target, currentColumn);
}

bool TDBGridEh::Private::MoveOn(int step)
{
    const int row = CurrentRow();
    if (row < 0)
        return false;
    const int next = NextShownColumn(currentColumn, step);
    if (next >= 0)
        return MoveTo(row, next);
    const int wrapped = NextShownColumn(step > 0 ? -1 : int(columns.size()), step);
    const int target = row + step;
    if (target < 0 || target >= OpenDataSet()->RecordCount()) {
        q->CommitEditor();
        return false;
    }
    if (!MoveTo(target, wrapped))
        return false;
    SelectAfterMove({});
    return true;
}

void TDBGridEh::Private::Escape()
{
    TClientDataSetEx* open = OpenDataSet();
    if (editor)
        CloseEditor();
    else if (open && open->State() != TDataSetState::Browse)
        Guarded([&] { open->Cancel(); });
    else if (findBar)
        findBar->Close();
    else {
        found = {};
        q->ClearSelectedRows();
    }
}

bool TDBGridEh::Private::Navigate(QKeyEvent* event)
{
    const bool control = event->modifiers() & Qt::ControlModifier;
    const int row = CurrentRow();
    const TClientDataSetEx* open = OpenDataSet();
    if (!open)
        return false;
    const int page = std::max(1, q->viewport()->height() / rowHeight - 1);
    const auto rows = [&](int distance) {
        if (MoveBy(distance))
            SelectAfterMove(event->modifiers());
        return true;
    };
    const auto cell = [&](int column) {
        if (column >= 0 && row >= 0)
            MoveTo(row, column);
        return true;
    };
    switch (event->key()) {
    case Qt::Key_Up:
        return rows(control ? -row : -1);
    case Qt::Key_Down:
        if (event->modifiers() & Qt::AltModifier)
            return false;
        return rows(control ? open->RecordCount() - 1 - row : 1);
    case Qt::Key_PageUp:
        return rows(control ? -row : -page);
    case Qt::Key_PageDown:
        return rows(control ? open->RecordCount() - 1 - row : page);
    case Qt::Key_Left:
        return cell(NextShownColumn(currentColumn, -1));
    case Qt::Key_Right:
        return cell(NextShownColumn(currentColumn, 1));
    case Qt::Key_Home:
        return control ? rows(-row) : cell(NextShownColumn(-1, 1));
    case Qt::Key_End:
        return control ? rows(open->RecordCount() - 1 - row) : cell(NextShownColumn(int(columns.size()), -1));
    default:
        return false;
    }
}

bool TDBGridEh::Private::HandleKey(QKeyEvent* event)
{
    const bool control = event->modifiers() & Qt::ControlModifier;
    TClientDataSetEx* open = OpenDataSet();
    switch (event->key()) {
    case Qt::Key_Tab:
        return !control && MoveOn(1);
    case Qt::Key_Backtab:
        return !control && MoveOn(-1);
    case Qt::Key_Return:
    case Qt::Key_Enter:
        MoveOn(event->modifiers() & Qt::ShiftModifier ? -1 : 1);
        return true;
    case Qt::Key_Escape: {
        const bool something = editor || findBar || found.row || selected.size() > 1
            || (open && open->State() != TDataSetState::Browse);
        Escape();
        return something;
    }
    case Qt::Key_F4:
    case Qt::Key_Down: // with Alt; without it, a movement
        if (q->EditCurrentCell())
            DropDownEditor();
        return true;
    case Qt::Key_Insert:
        if (!q->AllowInsert || q->ReadOnly || !open || !PostRow())
            return false;
        Guarded([&] { open->Insert(); });
        return true;
    case Qt::Key_Delete:
        if (!control || !q->AllowDelete || q->ReadOnly || CurrentRow() < 0)
            return false;
        if (!Application
            || Application->MessageBox(u"确定要删除当前行吗？"_s, Application->Title, TMessageIcon::Question,
                   TMessageButtons::OkCancel, true)
                == TMessageResult::Ok)
            Guarded([&] { open->Delete(); });
        return true;
    case Qt::Key_Space:
        if (control && CurrentRow() >= 0) {
            SelectToggle(CurrentRow());
            return true;
        }
        if (Editable(currentColumn) && columns[size_t(currentColumn)].info.style == TColumnStyle::CheckBox) {
            ToggleCheck();
            return true;
        }
        return false;
    default:
        return false;
    }
}

void TDBGridEh::keyPressEvent(QKeyEvent* event)
{
    if (OnKeyDown) {
        event->ignore();
        const QPointer<TDBGridEh> alive(this);
        Guarded([&] { OnKeyDown(event); });
        if (event->isAccepted() || !alive)
            return;
    }
    event->accept();
    if (d_->RunCommand(*event) || d_->Navigate(event) || d_->HandleKey(event))
        return;
    const QString typed = event->text();
    const bool printable = !typed.isEmpty() && typed[0].isPrint()
        && !(event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier));
    if (printable && d_->Editable(d_->currentColumn)) {
        if (d_->OpenDataSet()->IsEmpty() && !d_->BeginEdit())
            return;
        if (EditCurrentCell() && d_->editor) {
            QWidget* receiver = d_->editor->focusProxy() ? d_->editor->focusProxy() : d_->editor.data();
            QCoreApplication::sendEvent(receiver, event);
        }
        return;
    }
    if (printable || (event->key() == Qt::Key_Backspace && !d_->typedSearch.isEmpty())) {
        d_->SearchTyped(typed);
        return;
    }
    event->ignore();
}

// Text from an input method, the way Chinese is typed.
void TDBGridEh::inputMethodEvent(QInputMethodEvent* event)
{
    if (d_->Editable(d_->currentColumn) && EditCurrentCell() && d_->editor) {
        QWidget* receiver = d_->editor->focusProxy() ? d_->editor->focusProxy() : d_->editor.data();
        QCoreApplication::sendEvent(receiver, event);
    } else if (!event->commitString().isEmpty()) {
        d_->SearchTyped(event->commitString());
    }
    event->accept();
}

// Letters typed into a column that cannot be edited lead to the next row that begins with them.
void TDBGridEh::Private::SearchTyped(const QString& typed)
{
    const TClientDataSetEx* open = OpenDataSet();
    if (!open || CurrentRow() < 0)
        return;
    if (!typed.isEmpty() && typed[0].isPrint())
        typedSearch += typed;
    else
        typedSearch.chop(1);
    searchPause.start();
    const int count = open->RecordCount();
    const int from = CurrentRow();
    for (int i = 0; i < count && !typedSearch.isEmpty(); ++i) {
        const int row = (from + i) % count;
        if (q->CellText(row, currentColumn).startsWith(typedSearch, Qt::CaseInsensitive)) {
            if (MoveTo(row, currentColumn) && i > 0)
                SelectAfterMove({});
            break;
        }
    }
    const QRect cell = q->visualRect(q->currentIndex());
    QToolTip::showText(q->viewport()->mapToGlobal(cell.bottomLeft()), typedSearch, q);
}

void TDBGridEh::mousePressEvent(QMouseEvent* event)
{
    const QPoint point = event->position().toPoint();
    const QModelIndex index = indexAt(point);
    d_->pressed = QModelIndex();
    d_->dragging = false;
    if (!index.isValid()) {
        CommitEditor();
        return;
    }
    const bool already = index.row() == d_->CurrentRow() && index.column() == d_->currentColumn && hasFocus();
    const TBookmark aim = d_->OpenDataSet()->ViewBookmark(index.row());
    d_->pressedRow = aim;
    d_->pressedAt = event->globalPosition().toPoint();
    d_->sincePress.start();
    if (!d_->MoveTo(index.row(), index.column()))
        return;
    const int row = d_->OpenDataSet()->ViewRowOf(aim);
    if (event->button() == Qt::RightButton && row >= 0 && !IsRowSelected(aim))
        d_->SelectOnly(row); // its menu is for it, not for those selected elsewhere
    if (event->button() != Qt::LeftButton || row < 0)
        return;
    d_->pressed = d_->model->index(row, index.column());
    d_->dragging = true;
    const bool plain = !(event->modifiers() & (Qt::ControlModifier | Qt::ShiftModifier));
    if (event->modifiers() & Qt::ControlModifier) {
        d_->SelectToggle(row);
        d_->dragging = false;
    } else if (event->modifiers() & Qt::ShiftModifier) {
        d_->SelectTo(row);
    } else {
        d_->SelectOnly(row);
    }
    if (!plain || !d_->Editable(index.column()))
        return;
    if (Column(index.column()).style == TColumnStyle::CheckBox) {
        const QRect cell = visualRect(d_->pressed);
        if (already || std::abs(point.x() - cell.center().x()) <= d_->rowHeight / 2)
            d_->ToggleCheck();
    } else if (already) {
        EditCurrentCell();
    }
}

void TDBGridEh::mouseMoveEvent(QMouseEvent* event)
{
    if (!d_->dragging || !(event->buttons() & Qt::LeftButton) || d_->editor)
        return;
    const QPoint point = event->position().toPoint();
    // Held beyond an edge, the rows move under the pointer.
    if (point.y() < 0)
        verticalScrollBar()->triggerAction(QScrollBar::SliderSingleStepSub);
    else if (point.y() >= viewport()->height())
        verticalScrollBar()->triggerAction(QScrollBar::SliderSingleStepAdd);
    const int y = std::clamp(point.y(), 0, std::max(0, viewport()->height() - d_->rowHeight));
    const int row = rowAt(y);
    if (row >= 0 && row != d_->CurrentRow() && d_->MoveTo(row, d_->currentColumn))
        d_->SelectTo(d_->CurrentRow());
}

void TDBGridEh::mouseReleaseEvent(QMouseEvent* event)
{
    d_->dragging = false;
    if (event->button() != Qt::LeftButton || !d_->pressed.isValid())
        return;
    const QModelIndex pressed = d_->pressed;
    d_->pressed = QModelIndex();
    if (indexAt(event->position().toPoint()) == pressed && OnCellClick)
        Guarded([&] { OnCellClick(Column(pressed.column())); });
}

void TDBGridEh::mouseDoubleClickEvent(QMouseEvent* event)
{
    const QModelIndex index = indexAt(event->position().toPoint());
    const bool again = d_->sincePress.isValid()
        && d_->sincePress.elapsed() < 2 * QApplication::doubleClickInterval()
        && (event->globalPosition().toPoint() - d_->pressedAt).manhattanLength()
            <= QApplication::startDragDistance();
    if (again && index.isValid() && d_->OpenDataSet()->ViewBookmark(index.row()) != d_->pressedRow) {
        // The rows moved under the pointer after the first press: a click, then, on what is there now.
        mousePressEvent(event);
        return;
    }
    if (event->button() != Qt::LeftButton || !index.isValid() || !d_->MoveTo(index.row(), index.column()))
        return;
    if (OnDblClick)
        Guarded(OnDblClick);
    else
        EditCurrentCell();
}

bool TDBGridEh::viewportEvent(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QTableView::viewportEvent(event);
    const auto* help = static_cast<QHelpEvent*>(event);
    const QModelIndex index = indexAt(help->pos());
    QToolTip::showText(help->globalPos(), index.isValid() ? d_->ToolTipAt(index) : QString(), this);
    return true;
}

// Of a cell: the whole text where the column cuts it, why it has its colour, what stood there before.
QString TDBGridEh::Private::ToolTipAt(const QModelIndex& index) const
{
    const TClientDataSetEx* open = OpenDataSet();
    const TGridColumn& column = columns[size_t(index.column())];
    QStringList lines;
    const QString text = q->CellText(index.row(), index.column());
    if (column.info.style != TColumnStyle::CheckBox
        && q->fontMetrics().horizontalAdvance(text) > q->columnWidth(index.column()) - 7)
        lines += text;
    if (ShowsUnknown(index.row(), index.column()))
        lines += column.info.lookup.unknownText;
    if (open->ViewCellChanged(index.row(), column.field)) {
        const QString before = ShownText(column, open->ViewOldValue(index.row(), column.field));
        lines += u"未保存，原值：%1"_s.arg(before.isEmpty() ? u"（空）"_s : before);
    }
    return lines.join(u'\n').toHtmlEscaped().replace(u'\n', u"<br>"_s);
}

void TDBGridEh::Private::UndoStep()
{
    TClientDataSetEx* open = OpenDataSet();
    CloseEditor();
    if (open)
        Guarded([&] { open->UndoStep(); });
}

void TDBGridEh::Private::RedoStep()
{
    TClientDataSetEx* open = OpenDataSet();
    if (open && !editor)
        Guarded([&] { open->RedoStep(); });
}

void TDBGridEh::Private::UndoRow()
{
    TClientDataSetEx* open = OpenDataSet();
    CloseEditor();
    if (open && CurrentRow() >= 0)
        Guarded([&] { open->UndoCurrentRow(); });
}

void TDBGridEh::currentChanged(const QModelIndex& current, const QModelIndex& previous)
{
    QTableView::currentChanged(current, previous);
    if (!d_ || d_->moving || !current.isValid())
        return;
    // Moved by the view itself: the dataset follows, or the view goes back.
    if (!d_->MoveTo(current.row(), current.column()))
        QMetaObject::invokeMethod(
            this, [this] { d_->FollowCursor(); }, Qt::QueuedConnection);
}

void TDBGridEh::focusInEvent(QFocusEvent* event)
{
    QTableView::focusInEvent(event);
    if (d_->CurrentRow() >= 0)
        d_->UpdateRow(d_->CurrentRow());
}

void TDBGridEh::focusOutEvent(QFocusEvent* event)
{
    QTableView::focusOutEvent(event);
    d_->typedSearch.clear();
    if (d_->CurrentRow() >= 0)
        d_->UpdateRow(d_->CurrentRow());
}
