// The menu of a cell.

#include "runtime/ui/Application.h"
#include "runtime/ui/DBGridPrivate.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QMenu>

using namespace Qt::Literals::StringLiterals;

// Right under the pointer, or under the current cell where a key asked for it.
void TDBGridEh::contextMenuEvent(QContextMenuEvent* event)
{
    if (d_->CurrentRow() < 0 || !CommitEditor())
        return;
    QMenu menu(this);
    menu.setObjectName(u"CellMenu"_s);
    d_->FillMenu(menu);
    const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
    menu.exec(byKey ? viewport()->mapToGlobal(visualRect(currentIndex()).bottomLeft()) : event->globalPos());
}

void TDBGridEh::Private::FillMenu(QMenu& menu)
{
    const auto add = [&menu, this](const QString& text, bool enabled, const std::function<void()>& run) {
        menu.addAction(text, q, run)->setEnabled(enabled);
    };
    const TClientDataSetEx& open = *OpenDataSet();
    add(u"复制(&C)\tCtrl+C"_s, true, [this] { CopyRows(false); });
    add(u"复制（含标题）\tCtrl+Shift+C"_s, true, [this] { CopyRows(true); });
    add(u"复制此列"_s, true, [this] { CopyColumn(); });
    if (!q->ReadOnly) {
        add(u"粘贴(&V)\tCtrl+V"_s, Editable(currentColumn) && !QApplication::clipboard()->text().isEmpty(),
            [this] { Paste(); });
        menu.addSeparator();
        add(u"修改(&E)\tF2"_s, Editable(currentColumn), [this] { q->EditCurrentCell(); });
        add(u"撤销此行\tCtrl+Shift+Z"_s, open.IsEditing() || open.UpdateStatus() != TRowStatus::Unmodified,
            [this] { UndoRow(); });
        add(u"撤销(&U)\tCtrl+Z"_s, open.CanUndo(), [this] { UndoStep(); });
        add(u"重做(&R)\tCtrl+Y"_s, open.CanRedo(), [this] { RedoStep(); });
    }
    menu.addSeparator();
    add(u"按此值筛选(&T)\tCtrl+L"_s, CanFilter(currentColumn), [this] { q->FilterByCurrentValue(); });
    add(u"筛选此列…\tCtrl+Shift+L"_s, CanFilter(currentColumn), [this] { q->ShowFilter(currentColumn); });
    add(u"清除筛选"_s, !filters.empty(), [this] { q->ClearFilters(); });
    menu.addSeparator();
    add(u"查找(&F)…\tCtrl+F"_s, true, [this] { q->ShowFindDialog(); });
    add(u"全选(&A)\tCtrl+A"_s, true, [this] { q->selectAll(); });
    if (!q->actions().isEmpty()) {
        menu.addSeparator();
        menu.addActions(q->actions());
    }
    if (q->OnContextMenu)
        q->OnContextMenu(menu);
}
