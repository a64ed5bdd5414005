#include "runtime/controls/DBControls.h"
#include "runtime/controls/LookupCompletion.h"
#include "runtime/grid/DBGridPrivate.h"
#include "runtime/ui/Application.h"
#include "runtime/ui/Style.h"

#include <QApplication>
#include <QKeyEvent>
#include <QRegularExpressionValidator>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kListRowsShown = 16;

// Drop-downs are windows of their own, and still parts of their editor.
bool Within(const QWidget* root, const QWidget* widget)
{
    while (widget && widget != root)
        widget = widget->parentWidget();
    return widget && root;
}

} // namespace

bool TDBGridEh::Private::Editable(int column) const
{
    const TClientDataSetEx* open = OpenDataSet();
    return open && !q->ReadOnly && ShownColumn(column) && !columns[size_t(column)].info.readOnly
        && columns[size_t(column)].field >= 0 && (!open->IsEmpty() || q->AllowInsert);
}

// Puts the row in edit; a handler's refusal is no error.
bool TDBGridEh::Private::BeginEdit()
{
    TClientDataSetEx* open = OpenDataSet();
    if (!open)
        return false;
    bool editing = false;
    Guarded([&] {
        if (open->State() == TDataSetState::Browse) {
            if (open->IsEmpty())
                open->Append();
            else
                open->Edit();
        }
        editing = open->State() == TDataSetState::Edit || open->State() == TDataSetState::Insert;
    });
    return editing;
}

// What is stored for a text as shown: the key behind a pick-list or lookup text.
QString TDBGridEh::Private::StoredText(int column, const QString& shown) const
{
    const TColumnEh& info = columns[size_t(column)].info;
    switch (info.style) {
    case TColumnStyle::KeyPickList: {
        const qsizetype index = info.pickList.indexOf(shown);
        return index >= 0 && index < info.keyList.size() ? info.keyList[index] : shown;
    }
    case TColumnStyle::CheckBox:
        return shown == u"1"_s ? info.keyList.value(0, u"1"_s) : info.keyList.value(1, u"0"_s);
    case TColumnStyle::Lookup: {
        const QString typed = shown.trimmed();
        const TLookupParams& lookup = info.lookup;
        int row = CompleteLookup(lookup, typed);
        if (row < 0)
            row = LookupRow(lookup, lookup.listField.isEmpty() ? lookup.keyField : lookup.listField, typed);
        const TClientDataSetEx* list = row < 0 ? nullptr : lookup.listSource->DataSet();
        const int key = list ? list->FieldIndex(lookup.keyField) : -1;
        return key >= 0 ? list->ViewText(row, key) : typed;
    }
    default:
        return shown;
    }
}

const QRegularExpression& TDBGridEh::Private::NumberPattern()
{
    static const QRegularExpression pattern(u"^[-+]?[0-9]*[.]?[0-9]*$"_s);
    return pattern;
}

bool TDBGridEh::Private::WriteCell(int column, const QString& stored)
{
    TClientDataSetEx* open = OpenDataSet();
    const int field = columns[size_t(column)].field;
    if (!open || field < 0 || !BeginEdit())
        return false;
    bool written = false;
    Guarded([&] {
        open->Field(field).SetAsString(stored);
        written = true;
    });
    return written;
}

QWidget* TDBGridEh::Private::MakeEditor(int column)
{
    const TGridColumn& entry = columns[size_t(column)];
    const TField& field = OpenDataSet()->Field(entry.field);
    switch (entry.info.style) {
    case TColumnStyle::PickList:
    case TColumnStyle::KeyPickList:
        return MakeListEditor(column);
    case TColumnStyle::Lookup:
        return MakeLookupEditor(column);
    case TColumnStyle::Memo: {
        auto* memo = new QPlainTextEdit(q->viewport());
        memo->setPlainText(field.AsString());
        memo->setTabChangesFocus(true);
        connect(memo, &QPlainTextEdit::textChanged, q, [this] { EditorChanged(); });
        return memo;
    }
    default:
        break;
    }
    if (field.DataType() == wire::ColumnType::DateTime || entry.info.style == TColumnStyle::DateTime)
        return MakeDateEditor(column);
    return MakeTextEditor(column);
}

QWidget* TDBGridEh::Private::MakeListEditor(int column)
{
    auto* box = new TDBComboBoxEh(q->viewport());
    box->SetItems(columns[size_t(column)].info.pickList);
    box->setFrame(false);
    box->SetText(q->CellText(CurrentRow(), column));
    box->setMaxVisibleItems(kListRowsShown);
    box->OnChange = [this] { EditorChanged(); };
    // An item picked from the list is the cell's at once.
    connect(
        box, &QComboBox::activated, q, [this] { q->CommitEditor(); }, Qt::QueuedConnection);
    return box;
}

QWidget* TDBGridEh::Private::MakeLookupEditor(int column)
{
    auto* box = new TDBLookupComboboxEh(q->viewport());
    box->SetLookup(columns[size_t(column)].info.lookup);
    box->SetText(q->CellText(CurrentRow(), column));
    box->OnChange = [this] { EditorChanged(); };
    box->OnUpdateData = [this, box, column] {
        if (q->OnLookupUpdateData)
            q->OnLookupUpdateData(q->Column(column), *box);
        QMetaObject::invokeMethod(
            q, [this] { q->CommitEditor(); }, Qt::QueuedConnection);
    };
    return box;
}

QWidget* TDBGridEh::Private::MakeDateEditor(int column)
{
    const QString& format = columns[size_t(column)].info.displayFormat;
    auto* edit = new TDBDateTimeEditEh(q->viewport());
    if (!format.isEmpty() && !format.contains(u"hh"_s))
        edit->Kind = TDateTimeKind::Date;
    else if (!format.isEmpty() && !format.contains(u"dd"_s))
        edit->Kind = TDateTimeKind::Time;
    edit->SetText(q->CellText(CurrentRow(), column));
    edit->OnChange = [this] { EditorChanged(); };
    return edit;
}

QWidget* TDBGridEh::Private::MakeTextEditor(int column)
{
    const TGridColumn& entry = columns[size_t(column)];
    const TField& field = OpenDataSet()->Field(entry.field);
    const bool isText = field.DataType() == wire::ColumnType::Text;
    auto* edit = new QLineEdit(q->viewport());
    if (isText && field.Size() > 0)
        edit->setMaxLength(field.Size());
    if (entry.info.numericOnly)
        edit->setValidator(new QRegularExpressionValidator(NumberPattern(), edit));
    // A number is edited as it is, not as it is shown.
    edit->setText(isText ? q->CellText(CurrentRow(), column) : field.AsString());
    edit->setAlignment(entry.info.alignment == TAlignment::Right ? Qt::AlignRight : Qt::AlignLeft);
    connect(edit, &QLineEdit::textChanged, q, [this] { EditorChanged(); });
    return edit;
}

bool TDBGridEh::EditCurrentCell()
{
    const int column = SelectedIndex();
    if (d_->editor)
        return true;
    if (column < 0 || !d_->Editable(column) || d_->OpenDataSet()->IsEmpty()
        || Column(column).style == TColumnStyle::CheckBox)
        return false;
    scrollTo(currentIndex());
    QWidget* editor = d_->MakeEditor(column);
    editor->setObjectName(u"CellEditor"_s);
    editor->setAccessibleName(QString(Column(column).title).replace(u'|', u' '));
    editor->setProperty("cellEditor", true);
    editor->setFont(font());
    editor->installEventFilter(this);
    if (auto* box = qobject_cast<QComboBox*>(editor))
        box->lineEdit()->installEventFilter(this);
    d_->editor = editor;
    d_->editorColumn = column;
    d_->editorModified = false;
    d_->PlaceEditor();
    editor->show();
    editor->setFocus();
    if (auto* line = qobject_cast<QLineEdit*>(editor))
        line->selectAll();
    else if (auto* box = qobject_cast<QComboBox*>(editor))
        box->lineEdit()->selectAll();
    return true;
}

void TDBGridEh::Private::PlaceEditor()
{
    if (!editor)
        return;
    QRect cell = q->visualRect(q->currentIndex());
    if (qobject_cast<QPlainTextEdit*>(editor)) {
        // A memo needs more room than its cell; it stays inside the rows' area.
        const QRect area = q->viewport()->rect();
        cell.setSize(QSize(std::max(cell.width(), Scaled(*q, 240)), Scaled(*q, 100)).boundedTo(area.size()));
        cell.moveBottom(std::min(cell.bottom(), area.bottom()));
        cell.moveRight(std::min(cell.right(), area.right()));
    } else if (qobject_cast<TDBDateTimeEditEh*>(editor)) {
        // The whole date beside its button, whatever the column shows of it.
        const int text = QFontMetrics(q->font()).horizontalAdvance(u"0000-00-00 00:00:00 "_s);
        cell.setWidth(std::max(cell.width(), text + Scaled(*q, 40)));
    } else if (columns[size_t(editorColumn)].info.style != TColumnStyle::Text) {
        cell.setWidth(std::max(cell.width(), Scaled(*q, 60)));
    }
    editor->setGeometry(cell.adjusted(0, 0, -1, -1));
}

// The first change puts the row in edit. Where that is refused the editor goes, with what was typed.
void TDBGridEh::Private::EditorChanged()
{
    if (!editor || editorModified || committing)
        return;
    committing = true; // a refusal may show a box, which takes the focus from the editor
    const bool allowed = BeginEdit();
    committing = false;
    if (!editor)
        return;
    if (allowed)
        editorModified = true;
    else
        CloseEditor();
}

QString TDBGridEh::Private::EditorText() const
{
    if (const auto* box = qobject_cast<QComboBox*>(editor))
        return box->currentText();
    if (const auto* memo = qobject_cast<QPlainTextEdit*>(editor))
        return memo->toPlainText();
    if (const auto* line = qobject_cast<QLineEdit*>(editor))
        return line->text();
    return {};
}

// A list with keys behind it takes its own texts only; the beginning of one stands for it. A tick is written
// as lists are copied or exported.
bool TDBGridEh::Private::AcceptableText(int column, QString& text) const
{
    const TColumnEh& info = columns[size_t(column)].info;
    if (info.style == TColumnStyle::CheckBox) {
        static const QHash<QString, QString> ticks{
            {u"1"_s, u"1"_s}, {u"是"_s, u"1"_s}, {u"0"_s, u"0"_s}, {u"否"_s, u"0"_s}, {QString(), u"0"_s}};
        const bool known = ticks.contains(text);
        text = ticks.value(text, text);
        return known;
    }
    if (info.style != TColumnStyle::KeyPickList || text.isEmpty() || info.pickList.contains(text))
        return true;
    const qsizetype key = info.keyList.indexOf(text);
    if (key >= 0 && key < info.pickList.size()) {
        text = info.pickList[key];
        return true;
    }
    for (const QString& item : info.pickList) {
        if (item.startsWith(text, Qt::CaseInsensitive)) {
            text = item;
            return true;
        }
    }
    return false;
}

bool TDBGridEh::CommitEditor()
{
    if (!d_->editor || d_->committing)
        return true;
    if (!d_->editorModified) {
        d_->CloseEditor();
        return true;
    }
    d_->committing = true;
    const QPointer<TDBGridEh> alive(this);
    QString text = d_->EditorText();
    bool written = d_->AcceptableText(d_->editorColumn, text);
    auto* date = qobject_cast<TDBDateTimeEditEh*>(d_->editor);
    const auto* lookup = qobject_cast<TDBLookupComboboxEh*>(d_->editor);
    if (date) {
        // Its own hint tells the form.
        written = date->CheckText();
        text = date->Text();
    } else if (!written && Application) {
        Application->HandleException(u"“%1”不在列表中，请从列表中选择。"_s.arg(text));
    }
    const QString stored =
        lookup && lookup->ChosenRow() ? lookup->KeyValue() : d_->StoredText(d_->editorColumn, text);
    written = written && d_->WriteCell(d_->editorColumn, stored);
    if (!alive)
        return written;
    d_->committing = false;
    if (written)
        d_->CloseEditor();
    else if (d_->editor)
        d_->editor->setFocus(); // stays open on what could not be stored
    return written;
}

void TDBGridEh::Private::CloseEditor()
{
    if (!editor)
        return;
    QWidget* old = editor;
    const bool hadFocus =
        old->isAncestorOf(QApplication::focusWidget()) || old == QApplication::focusWidget();
    editor = nullptr;
    editorColumn = -1;
    editorModified = false;
    old->removeEventFilter(q);
    if (auto* box = qobject_cast<QComboBox*>(old))
        box->lineEdit()->removeEventFilter(q);
    if (hadFocus)
        q->setFocus();
    old->hide();
    old->deleteLater();
}

void TDBGridEh::Private::ToggleCheck()
{
    const QString checked = q->CellText(CurrentRow(), currentColumn);
    WriteCell(currentColumn, StoredText(currentColumn, checked == u"1"_s ? u"0"_s : u"1"_s));
}

void TDBGridEh::Private::DropDownEditor()
{
    if (auto* box = qobject_cast<QComboBox*>(editor))
        box->showPopup();
    else if (auto* lookup = qobject_cast<TDBLookupComboboxEh*>(editor))
        lookup->DropDown();
    else if (auto* date = qobject_cast<TDBDateTimeEditEh*>(editor))
        date->DropDown();
}

bool TDBGridEh::eventFilter(QObject* watched, QEvent* event)
{
    const bool ours = d_ && d_->editor
        && (watched == d_->editor
            || (watched->isWidgetType() && d_->editor->isAncestorOf(static_cast<QWidget*>(watched))));
    if (ours && event->type() == QEvent::KeyPress)
        return d_->EditorKey(static_cast<QKeyEvent*>(event));
    if (ours && event->type() == QEvent::ShortcutOverride) {
        // Esc and Enter are the editor's while it is open, whatever shortcuts the window has.
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Escape || key == Qt::Key_Return || key == Qt::Key_Enter)
            event->accept();
    }
    if (ours && event->type() == QEvent::FocusOut) {
        const auto reason = static_cast<QFocusEvent*>(event)->reason();
        if (reason != Qt::PopupFocusReason && reason != Qt::ActiveWindowFocusReason && !d_->committing) {
            // After the new owner of the focus is known: the editor's own parts do not count as leaving.
            QMetaObject::invokeMethod(
                this,
                [this] {
                    QWidget* focus = QApplication::focusWidget();
                    if (d_->editor && !Within(d_->editor, focus)
                        && !Within(d_->editor, QApplication::activePopupWidget()))
                        CommitEditor();
                },
                Qt::QueuedConnection);
        }
    }
    return QTableView::eventFilter(watched, event);
}

// Keys that mean the grid rather than the editor. True: taken.
bool TDBGridEh::Private::EditorKey(QKeyEvent* event)
{
    if (q->OnKeyDown) {
        event->ignore();
        const QPointer<QWidget> open(editor);
        Guarded([&] { q->OnKeyDown(event); });
        if (event->isAccepted() || !open)
            return true;
        event->accept();
    }
    auto* lookup = qobject_cast<TDBLookupComboboxEh*>(editor);
    if (lookup && lookup->ListVisible()) {
        // The list goes first; what is taken from it is then the cell's.
        const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
        const bool tab = event->key() == Qt::Key_Tab || event->key() == Qt::Key_Backtab;
        if (!enter && !tab)
            return false;
        lookup->CloseUp(true);
    }
    const bool memo = qobject_cast<QPlainTextEdit*>(editor) != nullptr;
    const bool plain = !(event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::ShiftModifier));
    switch (event->key()) {
    case Qt::Key_Escape: {
        CloseEditor();
        return true;
    }
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (memo && plain)
            return false;
        MoveOn(event->modifiers() & Qt::ShiftModifier ? -1 : 1);
        return true;
    case Qt::Key_Tab:
        MoveOn(1);
        return true;
    case Qt::Key_Backtab:
        MoveOn(-1);
        return true;
    case Qt::Key_Up:
    case Qt::Key_Down:
        if (memo || !plain)
            return false;
        if (MoveBy(event->key() == Qt::Key_Up ? -1 : 1))
            SelectAfterMove({});
        return true;
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        if (memo)
            return false;
        return Navigate(event);
    default:
        return false;
    }
}
