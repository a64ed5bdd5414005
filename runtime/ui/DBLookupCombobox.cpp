#include "runtime/ui/Application.h"
#include "runtime/ui/DBControls.h"
#include "runtime/ui/LookupCompletion.h"
#include "runtime/ui/LookupPopup.h"
#include "runtime/ui/Style.h"

#include <QAction>
#include <QFocusEvent>
#include <QKeyEvent>

using namespace Qt::Literals::StringLiterals;

class TDBLookupComboboxEh::Private {
public:
    TLookupParams params;
    TLookupPopup* popup = nullptr;

    const QString& ShownField() const
    {
        return params.listField.isEmpty() ? params.keyField : params.listField;
    }
};

TDBLookupComboboxEh::TDBLookupComboboxEh(QWidget* parent, const QString& name)
    : QLineEdit(parent)
    , binding_(new TDBBinding(this))
    , d_(std::make_unique<Private>())
{
    setObjectName(name);
    QAction* button = addAction(DropDownIcon(), TrailingPosition);
    button->setToolTip(u"打开列表 (Alt+↓)"_s);
    connect(button, &QAction::triggered, this, [this] {
        setFocus(Qt::MouseFocusReason);
        if (ListVisible())
            CloseUp(false);
        else
            DropDown();
    });
    binding_->Show = [this] {
        const TField* field = binding_->Field();
        setText(field ? LookupShownText(d_->params, field->AsString()) : QString());
    };
    binding_->Write = [this] {
        binding_->Field()->SetAsString(KeyValue());
        return true;
    };
    connect(this, &QLineEdit::textEdited, this, [this](const QString& typed) {
        if (!binding_->Changed())
            return;
        if (ListVisible())
            d_->popup->Narrow(typed);
        else if (hasFocus() && !typed.isEmpty())
            DropDown();
    });
    connect(this, &QLineEdit::textChanged, this, [this] {
        if (!binding_->Showing() && OnChange)
            Guarded(OnChange);
    });
}

TDBLookupComboboxEh::~TDBLookupComboboxEh()
{
    delete d_->popup;
}

void TDBLookupComboboxEh::SetLookup(const TLookupParams& params)
{
    d_->params = params;
}

const TLookupParams& TDBLookupComboboxEh::Lookup() const noexcept
{
    return d_->params;
}

void TDBLookupComboboxEh::SetText(const QString& newText)
{
    if (binding_->Changed())
        setText(newText);
}

QString TDBLookupComboboxEh::KeyValue() const
{
    const int row = LookupRow(d_->params, d_->ShownField(), text());
    if (row < 0)
        return text();
    const TClientDataSetEx* list = d_->params.listSource->DataSet();
    const int key = list->FieldIndex(d_->params.keyField);
    return key < 0 ? text() : list->ViewText(row, key);
}

bool TDBLookupComboboxEh::ListVisible() const
{
    return d_->popup && d_->popup->isVisible();
}

void TDBLookupComboboxEh::DropDown()
{
    if (isReadOnly() || !isEnabled() || !d_->params.listSource)
        return;
    if (!d_->popup) {
        d_->popup = new TLookupPopup(this);
        d_->popup->OnDone = [this](bool accept) { CloseUp(accept); };
    }
    // A text that is a row's already opens the whole list on that row.
    const bool complete = LookupRow(d_->params, d_->ShownField(), text()) >= 0;
    d_->popup->Open(d_->params, complete ? QString() : text(), text());
}

void TDBLookupComboboxEh::CloseUp(bool accept)
{
    if (!ListVisible())
        return;
    const int row = accept ? d_->popup->CurrentRow() : -1;
    d_->popup->hide();
    if (row >= 0)
        Take(row);
}

void TDBLookupComboboxEh::Take(int listRow)
{
    const TClientDataSetEx* list = d_->params.listSource->DataSet();
    const int shown = list ? list->FieldIndex(d_->ShownField()) : -1;
    if (shown < 0 || !binding_->Changed())
        return;
    setText(list->ViewText(listRow, shown));
    selectAll();
    if (OnUpdateData)
        Guarded(OnUpdateData);
    binding_->Commit();
}

void TDBLookupComboboxEh::keyPressEvent(QKeyEvent* event)
{
    if (ListVisible() && d_->popup->HandleKey(event)) {
        event->accept();
        return;
    }
    if (OnKeyDown) {
        event->ignore();
        Guarded([&] { OnKeyDown(event); });
        if (event->isAccepted())
            return;
    }
    if (event->key() == Qt::Key_Down || event->key() == Qt::Key_F4) {
        DropDown();
        event->accept();
        return;
    }
    QLineEdit::keyPressEvent(event);
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        binding_->Commit();
}

void TDBLookupComboboxEh::focusOutEvent(QFocusEvent* event)
{
    QLineEdit::focusOutEvent(event);
    if (event->reason() == Qt::PopupFocusReason)
        return;
    CloseUp(ListVisible() && d_->popup->Chosen());
    const QPointer<TDBLookupComboboxEh> alive(this);
    if (OnExit)
        Guarded(OnExit);
    if (alive)
        binding_->Commit();
}

void TDBLookupComboboxEh::hideEvent(QHideEvent* event)
{
    CloseUp(false);
    QLineEdit::hideEvent(event);
}
