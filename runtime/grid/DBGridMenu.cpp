// What a list can do besides moving and editing: one table for its keys, the menu of a cell, and the page of
// keys.

#include "runtime/grid/DBGridPrivate.h"
#include "runtime/grid/FindBar.h"
#include "runtime/ui/ActionKeys.h"
#include "runtime/ui/Application.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>

using namespace Qt::Literals::StringLiterals;

// A key without a text is not in the menu.
struct TDBGridEh::Private::Command {
    enum Offer { Always, WhereEditable, WhereUndone, WhereOpened };

    const char16_t* text;
    QKeyCombination key;
    Offer offer;
    bool (*possible)(const Private& d);
    void (*run)(Private& d);
    bool endsGroup = false;

    bool IsOffered(const Private& d) const
    {
        switch (offer) {
        case WhereUndone: // a list beside boxes for its row has no cells to edit, but steps to take back
            return !d.q->ReadOnly || d.MayUndo() || d.MayRedo();
        case WhereEditable:
            return !d.q->ReadOnly;
        case WhereOpened:
            return bool(d.q->OnDblClick);
        case Always:
            break;
        }
        return true;
    }
};

std::span<const TDBGridEh::Private::Command> TDBGridEh::Private::Commands()
{
    using enum Command::Offer;
    constexpr bool kEnd = true;
    const auto always = [](const Private&) { return true; };
    const auto onRow = [](const Private& d) { return d.CurrentRow() >= 0; };
    const auto editable = [](const Private& d) { return d.Editable(d.currentColumn); };
    const auto filterable = [](const Private& d) { return d.CanFilter(d.currentColumn); };
    const auto searching = [](const Private& d) { return d.findBar || !d.lastFound.isEmpty(); };
    static const Command commands[] = {
        {u"打开当前行(&O)", Qt::ALT | Qt::Key_Return, WhereOpened, onRow,
            [](Private& d) { Guarded(d.q->OnDblClick); }, kEnd},
        {u"复制(&C)", Qt::CTRL | Qt::Key_C, Always, onRow, [](Private& d) { d.CopyRows(false); }},
        {u"复制（含标题）", Qt::CTRL | Qt::SHIFT | Qt::Key_C, Always, onRow,
            [](Private& d) { d.CopyRows(true); }},
        {u"复制此列", Qt::CTRL | Qt::ALT | Qt::Key_C, Always, onRow, [](Private& d) { d.CopyColumn(); }},
        {u"粘贴(&V)", Qt::CTRL | Qt::Key_V, WhereEditable,
            [](const Private& d) {
                return d.CurrentRow() >= 0 && !QApplication::clipboard()->text().isEmpty();
            },
            [](Private& d) { d.Paste(); }, kEnd}, // says why, where a column takes nothing
        {u"修改(&E)", Qt::Key_F2, WhereEditable, editable, [](Private& d) { d.q->EditCurrentCell(); }},
        {u"撤销此行", Qt::CTRL | Qt::SHIFT | Qt::Key_Z, WhereUndone,
            [](const Private& d) {
                return d.CurrentRow() >= 0
                    && (d.OpenDataSet()->IsEditing()
                        || d.OpenDataSet()->UpdateStatus() != TRowStatus::Unmodified);
            },
            [](Private& d) { d.UndoRow(); }},
        {u"撤销(&U)", Qt::CTRL | Qt::Key_Z, WhereUndone, [](const Private& d) { return d.MayUndo(); },
            [](Private& d) { d.UndoStep(); }},
        {u"重做(&R)", Qt::CTRL | Qt::Key_Y, WhereUndone, [](const Private& d) { return d.MayRedo(); },
            [](Private& d) { d.RedoStep(); }, kEnd},
        {u"按此值筛选(&T)", Qt::CTRL | Qt::Key_L, Always, filterable,
            [](Private& d) { d.q->FilterByCurrentValue(); }},
        {u"筛选此列…", Qt::CTRL | Qt::SHIFT | Qt::Key_L, Always, filterable,
            [](Private& d) { d.q->ShowFilter(d.currentColumn); }},
        {u"清除筛选", Qt::CTRL | Qt::ALT | Qt::Key_L, Always,
            [](const Private& d) { return !d.filters.empty(); }, [](Private& d) { d.q->ClearFilters(); }},
        {u"按此列排序", Qt::CTRL | Qt::ALT | Qt::Key_S, Always,
            [](const Private& d) {
                return d.sortLocal && d.ShownColumn(d.currentColumn)
                    && d.columns[size_t(d.currentColumn)].info.titleButton;
            },
            [](Private& d) { d.q->ClickTitle(d.currentColumn); }},
        {u"显示哪些列、冻结…", Qt::CTRL | Qt::ALT | Qt::Key_T, Always, always,
            [](Private& d) { d.header->ShowMenu(d.currentColumn); }, kEnd},
        {u"查找(&F)…", Qt::CTRL | Qt::Key_F, Always, always, [](Private& d) { TFindBar::Show(*d.q); }},
        {u"查找下一个", Qt::Key_F3, Always, searching, [](Private& d) { d.FindAgain(false); }},
        {u"查找上一个", Qt::SHIFT | Qt::Key_F3, Always, searching, [](Private& d) { d.FindAgain(true); }},
        {u"查找一列单号(&N)", Qt::CTRL | Qt::SHIFT | Qt::Key_F, Always,
            [](const Private& d) {
                return d.CurrentRow() >= 0 && !QApplication::clipboard()->text().isEmpty();
            },
            [](Private& d) { TFindBar::ShowPasted(*d.q); }},
        {u"全选(&A)", Qt::CTRL | Qt::Key_A, Always, always, [](Private& d) { d.q->selectAll(); }, kEnd},
    };
    return commands;
}

bool TDBGridEh::Private::RunCommand(const QKeyEvent& event)
{
    const QKeyCombination key(event.modifiers() & ~Qt::KeypadModifier, Qt::Key(event.key()));
    for (const Command& command : Commands()) {
        if (command.key != key || !command.IsOffered(*this))
            continue;
        const bool possible = command.possible(*this);
        if (possible)
            command.run(*this);
        // A function key of no use here may be the window's.
        return possible || key.keyboardModifiers() != Qt::NoModifier;
    }
    return false;
}

std::vector<TActionKey> TDBGridEh::Keys() const
{
    std::vector<TActionKey> keys;
    for (const Private::Command& command : Private::Commands()) {
        if (command.IsOffered(*d_))
            keys.push_back({PlainActionText(QString::fromUtf16(command.text)),
                QKeySequence(command.key).toString(QKeySequence::PortableText)});
    }
    return keys;
}

// Right under the pointer, or under the current cell where a key asked for it.
void TDBGridEh::contextMenuEvent(QContextMenuEvent* event)
{
    if (!d_->OpenDataSet() || !CommitEditor())
        return;
    QMenu menu(this);
    menu.setObjectName(u"CellMenu"_s);
    d_->FillMenu(menu);
    const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
    menu.exec(byKey ? viewport()->mapToGlobal(visualRect(currentIndex()).bottomLeft()) : event->globalPos());
}

void TDBGridEh::Private::FillMenu(QMenu& menu)
{
    for (const Command& command : Commands()) {
        if (command.IsOffered(*this)) {
            const QString keys = QKeySequence(command.key).toString(QKeySequence::NativeText);
            menu.addAction(QString::fromUtf16(command.text) + u'\t' + keys, q,
                    [this, run = command.run] { run(*this); })
                ->setEnabled(command.possible(*this));
        }
        if (command.endsGroup)
            menu.addSeparator();
    }
    menu.addActions(q->actions());
    if (q->OnContextMenu)
        q->OnContextMenu(menu);
}
