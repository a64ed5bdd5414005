#include "framework/frm_Basic.h"

#include "framework/DataView.h"
#include "framework/ScreenKeys.h"
#include "module/data/dm_BasicData.h"
#include "runtime/ScreenTable.h"
#include "runtime/ui/Application.h"
#include "runtime/ui/Style.h"

#include <QAbstractItemView>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QPlainTextEdit>
#include <QTabWidget>
#include <QTextEdit>
#include <QTimer>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kDefaultWidth = 696;
constexpr int kDefaultHeight = 480;

// Enter belongs to the control itself in a memo, and in a grid or one of its cell editors.
bool TakesEnter(const QWidget* control)
{
    if (qobject_cast<const QPlainTextEdit*>(control) || qobject_cast<const QTextEdit*>(control))
        return true;
    for (; control && !control->isWindow(); control = control->parentWidget()) {
        if (qobject_cast<const QAbstractItemView*>(control))
            return true;
    }
    return qobject_cast<const QAbstractItemView*>(control) != nullptr;
}

} // namespace

Tfrm_Basic::Tfrm_Basic(QObject* owner)
    : TForm(owner)
{
    FormStyle = TFormStyle::MDIChild;
    OpenMaximized = true;
    KeyPreview = true;
    setFont(ScreenFont());
    resize(kDefaultWidth, kDefaultHeight);
}

Tfrm_Basic::~Tfrm_Basic()
{
    if (FormVar && *FormVar == this)
        *FormVar = nullptr;
    FormDestroy();
}

void Tfrm_Basic::FormDestroy()
{
    for (TClientDataSetEx* dataSet : OwnedDataSets()) {
        // The descendant that these handlers and connections belong to is gone already.
        disconnect(dataSet, nullptr, this, nullptr);
        dataSet->BeforeClose = dataSet->AfterClose = dataSet->AfterScroll = nullptr;
        dataSet->BeforeCancel = dataSet->AfterCancel = nullptr;
        dataSet->Close();
    }
}

void Tfrm_Basic::Create()
{
    if (const TScreenInfo* info = FindScreenInfo(metaObject()->className() + 1)) {
        setObjectName(info->NameText());
        SetCaption(info->Caption());
    }
    CreateControls();
    FormCreate();
    GiveActionKeys(*this);
    WatchUnsavedEdits();
    const BusyCursor busy;
    FirstLoad();
}

void Tfrm_Basic::FormCreate()
{
    SendFormMessage(Application->MainForm(), kMessageCreating, this);
    Quiet = false;
    dataView_ = nullptr;
    dataSet_ = nullptr;
    queryButton_ = saveButton_ = nullptr;
    Right1 = Right2 = Right3 = false;
    HostMainForm = Application->MainForm();
    for (TClientDataSetEx* dataSet : OwnedDataSets())
        dataSet->SetRemoteServer(dm_BasicData->HostConnection);
}

void Tfrm_Basic::WatchUnsavedEdits()
{
    auto* soon = new QTimer(this); // once for all that a batch changes
    soon->setSingleShot(true);
    connect(soon, &QTimer::timeout, this, [this] {
        const std::vector<TClientDataSetEx*> dataSets = OwnedDataSets();
        setWindowModified(
            std::ranges::any_of(dataSets, [](const auto* set) { return set->HasUnsavedEdits(); }));
    });
    // A look-up's dataset tells of four changes each time it is asked.
    const auto changed = [soon] {
        if (!soon->isActive())
            soon->start();
    };
    for (TClientDataSetEx* dataSet : OwnedDataSets()) {
        connect(dataSet, &TClientDataSetEx::StateChanged, soon, changed);
        connect(dataSet, &TClientDataSetEx::DataReset, soon, changed);
        connect(dataSet, &TClientDataSetEx::RowChanged, soon, changed);
        connect(dataSet, &TClientDataSetEx::RowRemoved, soon, changed);
        connect(dataSet, &TClientDataSetEx::FieldChanged, soon, changed);
    }
}

TDataView* Tfrm_Basic::DataView() const noexcept
{
    return dataView_;
}

void Tfrm_Basic::SetDataView(TDataView* view)
{
    if (dataView_ == view)
        return;
    dataView_ = view;
    ResetSearch();
}

void Tfrm_Basic::SetRights(const QString& code)
{
    const auto granted = [&](qsizetype index) { return index < code.size() && code[index] == u'1'; };
    Right1 = granted(0);
    Right2 = granted(1);
    Right3 = granted(2);
}

void Tfrm_Basic::Setup(
    TDataView* view, TClientDataSetEx* dataSet, QAbstractButton* saveButton, QAbstractButton* queryButton)
{
    SetDataView(view);
    SetDataSet(dataSet);
    SetSaveButton(saveButton);
    SetQueryButton(queryButton);
}

QStringList Tfrm_Basic::KeyTexts() const
{
    QStringList texts;
    std::vector<TActionKey> keys = ::ActionKeys(*this);
    if (dataView_)
        std::ranges::copy(dataView_->DataViewGrid->Keys(), std::back_inserter(keys));
    for (const TActionKey& key : keys)
        texts += key.text + u'\t' + key.keys;
    return texts;
}

void Tfrm_Basic::ResetSearch()
{
    if (!HostMainForm)
        return;
    QWidget* grid = dataView_ ? dataView_->DataViewGrid : nullptr;
    QMetaObject::invokeMethod(HostMainForm, "ResetSearch", Qt::DirectConnection, Q_ARG(QWidget*, grid));
}

void Tfrm_Basic::FormActivate()
{
    if (!Quiet)
        SendFormMessage(HostMainForm, kMessageActivated, this);
    ResetSearch();
}

TCloseAction Tfrm_Basic::FormClose()
{
    const std::vector<TClientDataSetEx*> dataSets = OwnedDataSets();
    if (!Quiet) {
        for (const TClientDataSetEx* dataSet : dataSets) {
            if (!dataSet->HasUnsavedEdits())
                continue;
            const auto answer = Application->MessageBox(u"详细：您所做的操作并未保存，确定要关闭吗？"_s,
                Caption(), TMessageIcon::Question, TMessageButtons::OkCancel, true);
            if (answer != TMessageResult::Ok)
                return TCloseAction::None;
        }
    }
    for (TClientDataSetEx* dataSet : dataSets)
        dataSet->Close();
    SendFormMessage(HostMainForm, kMessageClosed, this);
    if (FormVar) {
        *FormVar = nullptr;
        FormVar = nullptr;
    }
    return TCloseAction::Free;
}

bool Tfrm_Basic::FormKeyDown(QKeyEvent* event)
{
    if (!KeyPreview || passingKeyOn_)
        return false;
    if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter)
        return false;
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::KeypadModifier;
    const QPointer<QWidget> focused = focusWidget();
    if (TakesEnter(focused)) {
        if (modifiers != Qt::ControlModifier)
            return false;
        focusNextChild();
        return true;
    }
    if (modifiers != Qt::NoModifier)
        return false;
    // The control has its Enter first (a lookup takes the row of its list), then the focus moves on.
    const QPointer<Tfrm_Basic> self = this;
    if (focused) {
        passingKeyOn_ = true;
        QKeyEvent copy(event->type(), event->key(), event->modifiers(), event->text(), event->isAutoRepeat());
        QCoreApplication::sendEvent(focused, &copy);
        if (!self)
            return true;
        passingKeyOn_ = false;
    }
    if (focusWidget() == focused)
        focusNextChild();
    return true;
}

void Tfrm_Basic::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape && ReturnToList())
        return;
    TForm::keyPressEvent(event);
}

bool Tfrm_Basic::ReturnToList()
{
    auto* pages = findChild<QTabWidget*>();
    const bool otherPage = pages && pages->currentIndex() > 0;
    if (otherPage)
        pages->setCurrentIndex(0);
    TDBGridEh* list = dataView_ ? dataView_->DataViewGrid : nullptr;
    const TDBGridEh* here = GridOf(focusWidget());
    if (!list || here == list || (!otherPage && !here))
        return otherPage;
    list->setFocus();
    return true;
}

std::vector<TClientDataSetEx*> Tfrm_Basic::OwnedDataSets() const
{
    const auto found = findChildren<TClientDataSetEx*>(Qt::FindDirectChildrenOnly);
    return {found.begin(), found.end()};
}
