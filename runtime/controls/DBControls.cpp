#include "runtime/controls/DBControls.h"

#include "runtime/controls/DropDownBox.h"
#include "runtime/ui/Application.h"

#include <QAbstractItemView>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QSignalBlocker>
#include <QWheelEvent>

using namespace Qt::Literals::StringLiterals;

namespace {

void Call(const std::function<void()>& handler)
{
    if (handler)
        Guarded(handler);
}

// A pop-up of the control's own takes the focus for a while only; the control has not been left.
bool Leaving(const QFocusEvent* event)
{
    return event->reason() != Qt::PopupFocusReason;
}

// Another window in front, a message box above all, leaves the control where it was: what was typed is kept,
// but nobody has gone on to the next control.
void Left(const QFocusEvent* event, const std::function<void()>& onExit)
{
    if (event->reason() != Qt::ActiveWindowFocusReason)
        Call(onExit);
}

// The longest text the field takes, for controls that limit typing.
int MaxLength(const TField* field)
{
    const bool limited = field && field->DataType() == wire::ColumnType::Text && field->Size() > 0;
    return limited ? field->Size() : 32767;
}

} // namespace

void ShowBeginning(QLineEdit& box)
{
    if (!box.hasFocus())
        box.setCursorPosition(0);
}

void ShowText(QLineEdit& box, const QString& text)
{
    if (box.text() == text) {
        ShowBeginning(box);
        return;
    }
    box.setText(text);
    box.setCursorPosition(0);
}

TDBEditEh::TDBEditEh(QWidget* parent, const QString& name)
    : QLineEdit(parent)
    , binding_(new TDBBinding(this))
{
    setObjectName(name);
    binding_->Show = [this] {
        const TField* field = binding_->Field();
        setMaxLength(MaxLength(field));
        ShowText(*this, field ? field->AsString() : QString());
    };
    binding_->Write = [this] {
        binding_->Field()->SetAsString(text());
        return true;
    };
    connect(this, &QLineEdit::textEdited, this, [this] { binding_->Changed(); });
    connect(this, &QLineEdit::textChanged, this, [this] {
        if (!binding_->Showing())
            Call(OnChange);
    });
    connect(this, &QLineEdit::returnPressed, this, [this] { binding_->Commit(); });
}

void TDBEditEh::SetText(const QString& newText)
{
    if (!binding_->Changed())
        return;
    setText(newText);
    ShowBeginning(*this);
}

void TDBEditEh::focusOutEvent(QFocusEvent* event)
{
    QLineEdit::focusOutEvent(event);
    if (!Leaving(event))
        return;
    ShowBeginning(*this);
    binding_->Commit();
    Left(event, OnExit);
}

TDBComboBoxEh::TDBComboBoxEh(QWidget* parent, const QString& name)
    : QComboBox(parent)
    , binding_(new TDBBinding(this))
{
    setObjectName(name);
    setEditable(true);
    setInsertPolicy(NoInsert);
    new TFixedList(this);
    new TTypedText(this,
        {[this] { return currentText(); }, [this](const QString& text) { SetText(text); },
            [this] { return view()->isVisible(); }});
    setFocusPolicy(Qt::StrongFocus);
    binding_->Show = [this] {
        const TField* field = binding_->Field();
        const QString value = field ? field->AsString() : QString();
        const qsizetype index = keyItems_.indexOf(value);
        const QString before = currentText();
        setCurrentIndex(int(index));
        setEditText(index >= 0 ? itemText(int(index)) : value);
        if (currentText() != before)
            lineEdit()->setCursorPosition(0);
    };
    binding_->Write = [this] {
        binding_->Field()->SetAsString(Value());
        return true;
    };
    connect(this, &QComboBox::currentTextChanged, this, [this] { UserChanged(); });
    connect(this, &QComboBox::activated, this, [this] { binding_->Commit(); });
}

void TDBComboBoxEh::UserChanged()
{
    if (binding_->Showing())
        return;
    binding_->Changed();
    Call(OnChange);
}

void TDBComboBoxEh::SetItems(const QStringList& items, const QStringList& keyItems)
{
    const QString shown = currentText();
    const QSignalBlocker quiet(this);
    clear();
    addItems(items);
    keyItems_ = keyItems;
    setCurrentIndex(int(items.indexOf(shown)));
    setEditText(shown);
}

QStringList TDBComboBoxEh::Items() const
{
    QStringList items;
    for (int i = 0; i < count(); ++i)
        items += itemText(i);
    return items;
}

void TDBComboBoxEh::SetText(const QString& text)
{
    const int index = findText(text, Qt::MatchExactly | Qt::MatchCaseSensitive);
    if (index >= 0)
        setCurrentIndex(index);
    else if (isEditable())
        setEditText(text);
}

int TDBComboBoxEh::ItemIndex() const
{
    return findText(currentText(), Qt::MatchExactly | Qt::MatchCaseSensitive);
}

QString TDBComboBoxEh::Value() const
{
    const int index = ItemIndex();
    return index >= 0 && index < keyItems_.size() ? keyItems_[index] : currentText();
}

void TDBComboBoxEh::focusOutEvent(QFocusEvent* event)
{
    QComboBox::focusOutEvent(event);
    if (!Leaving(event))
        return;
    binding_->Commit();
    Left(event, OnExit);
}

void TDBComboBoxEh::keyPressEvent(QKeyEvent* event)
{
    const bool altDown = event->key() == Qt::Key_Down && event->modifiers() & Qt::AltModifier;
    if (altDown || event->key() == Qt::Key_F4)
        showPopup();
    else
        QComboBox::keyPressEvent(event);
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        binding_->Commit();
}

void TDBComboBoxEh::wheelEvent(QWheelEvent* event)
{
    // A wheel turned to scroll the page must not change a filter on its way.
    if (hasFocus())
        QComboBox::wheelEvent(event);
    else
        event->ignore();
}

TDBCheckBoxEh::TDBCheckBoxEh(QWidget* parent, const QString& name)
    : QCheckBox(parent)
    , binding_(new TDBBinding(this))
{
    setObjectName(name);
    binding_->Show = [this] {
        const TField* field = binding_->Field();
        setChecked(field && field->AsString() == ValueChecked);
    };
    binding_->Write = [this] {
        binding_->Field()->SetAsString(isChecked() ? ValueChecked : ValueUnchecked);
        return true;
    };
    connect(this, &QCheckBox::clicked, this, [this] {
        if (binding_->Changed())
            binding_->Commit();
    });
}

TDBMemo::TDBMemo(QWidget* parent, const QString& name)
    : QPlainTextEdit(parent)
    , binding_(new TDBBinding(this))
{
    setObjectName(name);
    setTabChangesFocus(true);
    binding_->Show = [this] {
        const TField* field = binding_->Field();
        setPlainText(field ? field->AsString() : QString());
    };
    binding_->Write = [this] {
        binding_->Field()->SetAsString(toPlainText());
        return true;
    };
    connect(this, &QPlainTextEdit::textChanged, this, [this] {
        if (!binding_->Showing())
            binding_->Changed();
    });
}

void TDBMemo::focusOutEvent(QFocusEvent* event)
{
    QPlainTextEdit::focusOutEvent(event);
    if (Leaving(event))
        binding_->Commit();
}
