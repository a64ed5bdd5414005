#include "runtime/controls/DBControls.h"
#include "runtime/controls/DropDownBox.h"
#include "runtime/controls/LookupCompletion.h"
#include "runtime/controls/LookupPopup.h"
#include "runtime/controls/TextMark.h"
#include "runtime/ui/Application.h"
#include "runtime/ui/Style.h"

#include <QAction>
#include <QFocusEvent>
#include <QKeyEvent>

using namespace Qt::Literals::StringLiterals;

class TDBLookupComboboxEh::Private {
public:
    TLookupParams params;
    TLookupPopup* popup = nullptr;
    TTextMark* mark = nullptr;
    std::vector<QMetaObject::Connection> listConnections;

    // The row taken from the list, by its key too: rows of a list read anew are others.
    struct {
        TBookmark row = 0;
        QString key;
    } chosen;

    TClientDataSetEx* OpenList() const
    {
        TClientDataSetEx* list = params.listSource ? params.listSource->DataSet() : nullptr;
        return list && list->Active() ? list : nullptr;
    }
    // View row of the chosen row while it is still there and the text is its own; -1.
    int ChosenViewRow(const QString& text) const
    {
        const TClientDataSetEx* list = chosen.row ? OpenList() : nullptr;
        const int row = list && list->BookmarkValid(chosen.row) ? list->ViewRowOf(chosen.row) : -1;
        if (row < 0 || FieldText(row, params.keyField) != chosen.key || FieldText(row, ShownField()) != text)
            return -1;
        return row;
    }
    // The row that the text means: the chosen one, or the first of that name; -1.
    int MeantViewRow(const QString& text) const
    {
        const int row = ChosenViewRow(text);
        return row >= 0 ? row : LookupRow(params, ShownField(), text);
    }
    QString FieldText(int viewRow, QStringView field) const
    {
        const TClientDataSetEx* list = OpenList();
        const int index = list ? list->FieldIndex(field) : -1;
        return index >= 0 && viewRow >= 0 ? list->ViewText(viewRow, index) : QString();
    }

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
    d_->mark = new TTextMark(this);
    new TTypedText(this,
        {[this] { return text(); }, [this](const QString& text) { SetText(text); },
            [this] { return ListVisible(); }});
    AddListButton(*this, [this] {
        if (ListVisible())
            CloseUp(false);
        else
            DropDown();
    });
    binding_->Show = [this] {
        const TField* field = binding_->Field();
        const QString key = field ? field->AsString() : QString();
        if (key != d_->chosen.key)
            d_->chosen = {};
        ShowText(*this, LookupShownText(d_->params, key));
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
        MarkUnknown();
    });
    connect(this, &QLineEdit::textChanged, this, [this] {
        if (d_->ChosenViewRow(text()) < 0)
            d_->chosen = {};
        MarkUnknown();
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
    d_->chosen = {};
    for (const QMetaObject::Connection& connection : d_->listConnections)
        disconnect(connection);
    d_->listConnections.clear();
    if (TClientDataSetEx* list = params.listSource ? params.listSource->DataSet() : nullptr) {
        // A text set before its list was read is judged when it is.
        d_->listConnections = {
            connect(list, &TClientDataSetEx::DataReset, this, &TDBLookupComboboxEh::MarkUnknown)};
    }
    MarkUnknown();
}

// While it is typed a text is unknown once no row can be meant any more; otherwise when it is no row's.
void TDBLookupComboboxEh::MarkUnknown()
{
    bool unknown = false;
    if (!isReadOnly() && isEnabled()) {
        const bool typing = hasFocus() && isModified();
        unknown = typing ? ListVisible() && !d_->popup->Matched() : !LookupKnows(d_->params, text());
    }
    d_->mark->Set(unknown ? d_->params.unknownText : QString());
}

const TLookupParams& TDBLookupComboboxEh::Lookup() const noexcept
{
    return d_->params;
}

void TDBLookupComboboxEh::SetText(const QString& newText)
{
    if (!binding_->Changed())
        return;
    setText(newText);
    ShowBeginning(*this);
}

QString TDBLookupComboboxEh::KeyValue() const
{
    const int row = d_->MeantViewRow(text());
    const TClientDataSetEx* list = d_->OpenList();
    return row < 0 || list->FieldIndex(d_->params.keyField) < 0 ? text()
                                                                : d_->FieldText(row, d_->params.keyField);
}

TBookmark TDBLookupComboboxEh::ChosenRow() const
{
    return d_->ChosenViewRow(text()) < 0 ? 0 : d_->chosen.row;
}

void TDBLookupComboboxEh::Complete()
{
    const int row = CompleteLookup(d_->params, text());
    const TClientDataSetEx* list = d_->OpenList();
    if (row < 0 || !list)
        return;
    d_->chosen = {list->ViewBookmark(row), d_->FieldText(row, d_->params.keyField)};
    SetText(d_->FieldText(row, d_->ShownField()));
}

QString TDBLookupComboboxEh::ListText(QStringView field) const
{
    return d_->FieldText(d_->MeantViewRow(text()), field);
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
    const int row = text().isEmpty() ? -1 : d_->MeantViewRow(text());
    d_->popup->ShowRows(d_->params, row >= 0 ? QString() : text(), row);
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
    d_->chosen = {list->ViewBookmark(listRow), d_->FieldText(listRow, d_->params.keyField)};
    setText(list->ViewText(listRow, shown));
    MarkUnknown();
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
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        binding_->Commit();
        setModified(false);
        MarkUnknown();
    }
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
    if (!alive)
        return;
    binding_->Commit();
    MarkUnknown();
    ShowBeginning(*this);
}

void TDBLookupComboboxEh::hideEvent(QHideEvent* event)
{
    CloseUp(false);
    QLineEdit::hideEvent(event);
}
