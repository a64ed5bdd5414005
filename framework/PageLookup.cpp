#include "framework/PageLookup.h"

#include "module/data/ServerLink.h"
#include "module/data/dm_BasicData.h"
#include "runtime/controls/DropDownBox.h"
#include "runtime/ui/Application.h"
#include "runtime/ui/ListStyle.h"
#include "runtime/ui/Style.h"

#include <QAction>
#include <QFrame>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QTimer>
#include <QToolTip>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kPageSize = 20;
constexpr int kRowsShown = 10;

} // namespace

TDBPageLookup::TDBPageLookup(QWidget* parent, const QString& name, TFields fields)
    : QLineEdit(parent)
    , fields_(std::move(fields))
    , list_(new TClientDataSetEx(this, u"list"_s))
    , source_(new TDataSource(this))
    , popup_(new QFrame(this, Qt::ToolTip | Qt::FramelessWindowHint))
    , grid_(new TDBGridEh(popup_, u"ListGrid"_s))
    , foot_(new QLabel(popup_))
    , pause_(new QTimer(this))
    , mark_(new TTextMark(this))
{
    setObjectName(name);
    AddListButton(*this, [this] {
        if (ListVisible())
            CloseUp(false);
        else
            DropDown();
    });

    // With the name the row comes back that was taken for it.
    const auto kept = std::make_shared<QHash<QString, QString>>();
    new TTypedText(this,
        {[this, kept] {
             if (HasTaken())
                 *kept = taken_;
             return text();
         },
            [this, kept](const QString& text) {
                SetText(text);
                if (kept->value(fields_.name.toUpper()) == text)
                    taken_ = *kept;
            },
            [this] { return ListVisible(); }});
    ComposeList();
    FollowTyping();
}

TDBPageLookup::~TDBPageLookup() = default;

void TDBPageLookup::ComposeList()
{
    // The list never takes the focus: its keys come through the box.
    popup_->setAttribute(Qt::WA_ShowWithoutActivating);
    popup_->setFrameShape(QFrame::Box);
    popup_->setFocusPolicy(Qt::NoFocus);
    auto* box = new QVBoxLayout(popup_);
    box->setContentsMargins(1, 1, 1, 1);
    box->setSpacing(0);
    box->addWidget(grid_, 1);
    box->addWidget(foot_);
    foot_->setTextFormat(Qt::PlainText);
    foot_->setWordWrap(true);
    foot_->setMargin(3);
    grid_->setFocusPolicy(Qt::NoFocus);
    grid_->setFrameShape(QFrame::NoFrame);
    grid_->ReadOnly = true;
    grid_->SetSortLocal(false);
    grid_->SetColumns(fields_.columns);
    source_->SetDataSet(list_);
    grid_->SetDataSource(source_);
    grid_->OnCellClick = [this](const TColumnEh&) { CloseUp(true); };
}

void TDBPageLookup::FollowTyping()
{
    pause_->setSingleShot(true);
    connect(pause_, &QTimer::timeout, this, [this] {
        AskFirstPage(text());
        if (hasFocus())
            ShowList();
    });
    connect(this, &QLineEdit::textEdited, this, [this](const QString& typed) {
        taken_.clear();
        typing_ = true;
        chosen_ = false;
        if (typed.trimmed().isEmpty()) {
            pause_->stop();
            CloseUp(false);
        } else {
            pause_->start(PauseMilliseconds);
        }
    });
    connect(this, &QLineEdit::textChanged, this, [this] {
        mark_->Set({});
        if (OnChange)
            Guarded(OnChange);
    });
}

void TDBPageLookup::SetRemoteServer(TSocketConnectionEx* connection)
{
    list_->SetRemoteServer(connection);
}

void TDBPageLookup::SetText(const QString& newText)
{
    pause_->stop();
    CloseUp(false);
    taken_.clear();
    typing_ = false;
    setText(newText);
}

bool TDBPageLookup::ListVisible() const
{
    return popup_->isVisible();
}

void TDBPageLookup::DropDown()
{
    if (isReadOnly() || !isEnabled())
        return;
    pause_->stop();
    chosen_ = false;
    AskFirstPage(typing_ ? text() : QString());
    ShowList();
}

void TDBPageLookup::CloseUp(bool accept)
{
    if (!ListVisible())
        return;
    popup_->hide();
    window()->removeEventFilter(this);
    if (accept)
        Take();
}

void TDBPageLookup::NextPage()
{
    if (!list_->Active() || list_->RecordCount() < kPageSize)
        return;
    const int key = list_->FieldIndex(fields_.key);
    const QString lastKey = list_->ViewText(list_->RecordCount() - 1, key);
    if (!AskPage(lastKey))
        return;
    if (list_->IsEmpty())
        AskPage(pageStarts_.back()); // the page before was the last, and full
    else
        pageStarts_.push_back(lastKey);
    ShowFoot();
}

void TDBPageLookup::PriorPage()
{
    if (pageStarts_.size() < 2)
        return;
    if (AskPage(pageStarts_[pageStarts_.size() - 2]))
        pageStarts_.pop_back();
    ShowFoot();
}

void TDBPageLookup::AskFirstPage(const QString& typed)
{
    asked_ = typed;
    pageStarts_ = {QString()};
    AskPage({});
}

bool TDBPageLookup::AskPage(const QString& afterKey)
{
    if (!list_->RemoteServer() && dm_BasicData)
        list_->SetRemoteServer(dm_BasicData->HostConnection);
    lastError_.clear();
    try {
        const BusyCursor busy;
        OpenQuery(*list_,
            PageQuery({.typed = asked_, .afterKey = afterKey, .scope = scope_, .pageSize = kPageSize}));
    } catch (const wire::Error& error) {
        lastError_ = error.Message();
    } catch (const EAbort&) {
        lastError_ = u"已取消"_s;
    }
    ShowFoot();
    return lastError_.isEmpty();
}

void TDBPageLookup::Take()
{
    if (!list_->Active() || list_->IsEmpty())
        return;
    taken_.clear();
    for (int i = 0; i < list_->FieldCount(); ++i) {
        const TField& field = list_->Field(i);
        taken_.insert(field.FieldName().toUpper(), field.AsString());
    }
    typing_ = false;
    pause_->stop();
    setText(list_->FieldByName(fields_.name).AsString());
    selectAll();
    if (OnUpdateData)
        Guarded(OnUpdateData);
}

void TDBPageLookup::TakeExactMatch()
{
    const QString typed = text().trimmed();
    if (!list_->Active() || typed.isEmpty())
        return;
    if (list_->Locate(fields_.key, {typed}, true)
        || (Namesakes(typed) == 1 && list_->RecordCount() < kPageSize
            && list_->Locate(fields_.name, {typed})))
        Take();
}

int TDBPageLookup::Namesakes(const QString& name) const
{
    const int field = list_->FieldIndex(fields_.name);
    int rows = 0;
    for (int row = 0; row < list_->RecordCount(); ++row)
        rows += list_->ViewText(row, field) == name ? 1 : 0;
    return rows;
}

// Where the page is full the row may stand on a later one: that is not known.
void TDBPageLookup::MarkUnknown()
{
    const bool open = typing_ && !text().trimmed().isEmpty() && lastError_.isEmpty() && list_->Active();
    if (open && Namesakes(text().trimmed()) > 0)
        mark_->Set(u"请从列表中选"_s);
    else
        mark_->Set(open && list_->RecordCount() < kPageSize ? u"无此记录"_s : QString());
}

void TDBPageLookup::ShowList()
{
    ShowFoot();
    popup_->setFont(font());
    int width = Scaled(*this, 30);
    for (const TColumnEh& column : fields_.columns)
        width += ShownWidth(*this, column.width);
    const int rowHeight = grid_->verticalHeader()->defaultSectionSize();
    const int height = rowHeight * (kRowsShown + 2) + foot_->sizeHint().height();
    PlacePopup(*popup_, *this, QSize(std::max(width, this->width()), height));
    popup_->show();
    window()->installEventFilter(this);
}

void TDBPageLookup::ShowFoot()
{
    if (!lastError_.isEmpty())
        foot_->setText(u"详细："_s + lastError_);
    else if (!list_->Active() || list_->IsEmpty())
        foot_->setText(u"没有符合的记录"_s);
    else
        foot_->setText(u"第 %1 页　PgUp/PgDn 翻页　Enter 选定"_s.arg(Page()));
}

void TDBPageLookup::Enter()
{
    if (pause_->isActive()) {
        // Typed faster than the list came: ask now, so that Enter takes the row that belongs to the text.
        pause_->stop();
        AskFirstPage(text());
        if (lastError_.isEmpty())
            Take();
        else
            ShowList();
        return;
    }
    CloseUp(chosen_ || typing_);
}

bool TDBPageLookup::HandleListKey(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Up:
        list_->Prior();
        break;
    case Qt::Key_Down:
        list_->Next();
        break;
    case Qt::Key_PageUp:
        PriorPage();
        break;
    case Qt::Key_PageDown:
        NextPage();
        break;
    case Qt::Key_Escape:
        CloseUp(false);
        return true;
    default:
        return false;
    }
    chosen_ = true;
    return true;
}

void TDBPageLookup::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        Enter();
        event->accept();
    } else if (ListVisible() && HandleListKey(event)) {
        event->accept();
    } else if (event->key() == Qt::Key_Down || event->key() == Qt::Key_F4) {
        DropDown();
        event->accept();
    } else {
        QLineEdit::keyPressEvent(event);
    }
}

void TDBPageLookup::focusOutEvent(QFocusEvent* event)
{
    QLineEdit::focusOutEvent(event);
    if (event->reason() == Qt::PopupFocusReason)
        return;
    CloseUp(chosen_);
    if (pause_->isActive()) {
        pause_->stop();
        AskFirstPage(text());
        if (!lastError_.isEmpty())
            QToolTip::showText(mapToGlobal(QPoint(0, height())), u"详细："_s + lastError_, this);
    }
    if (typing_)
        TakeExactMatch();
    // Not at once: the focus also goes when the window around the box does.
    QMetaObject::invokeMethod(this, &TDBPageLookup::MarkUnknown, Qt::QueuedConnection);
    // Another window in front, a message box above all, leaves the box where it was.
    if (OnExit && event->reason() != Qt::ActiveWindowFocusReason)
        Guarded(OnExit);
}

void TDBPageLookup::hideEvent(QHideEvent* event)
{
    CloseUp(false);
    QLineEdit::hideEvent(event);
}

bool TDBPageLookup::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == window()
        && (event->type() == QEvent::Move || event->type() == QEvent::Resize
            || event->type() == QEvent::Hide))
        CloseUp(false);
    return QLineEdit::eventFilter(watched, event);
}
