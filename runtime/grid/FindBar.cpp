#include "runtime/grid/FindBar.h"

#include "runtime/grid/DBGridPrivate.h"
#include "runtime/ui/Application.h"
#include "runtime/ui/Style.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QToolButton>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 kSlice = 12; // milliseconds of one go

QString TitleOf(const TDBGridEh& grid, int column)
{
    return column < 0 ? QString() : QString(grid.Column(column).title).replace(u'|', u" · "_s);
}

// Several lines are a list; what else is pasted is text.
class TFindEdit : public QLineEdit {
public:
    using QLineEdit::QLineEdit;
    std::function<void(const QString& text)> OnPasteLines;

protected:
    void keyPressEvent(QKeyEvent* event) override
    {
        const QString pasted =
            event->matches(QKeySequence::Paste) ? QApplication::clipboard()->text().trimmed() : QString();
        if (pasted.contains(u'\n') || pasted.contains(u'\r'))
            OnPasteLines(pasted);
        else
            QLineEdit::keyPressEvent(event);
    }
};

} // namespace

void TFindBar::Show(TDBGridEh& grid)
{
    if (!grid.CommitEditor())
        return;
    auto& d = *grid.d_;
    if (!d.findBar) {
        d.findBar = new TFindBar(grid);
        d.findBar->room_ = d.FindBarHeight();
        grid.setMinimumHeight(grid.minimumHeight() + d.findBar->room_);
    }
    TFindBar& bar = *d.findBar;
    bar.OfferColumn();
    bar.show();
    grid.updateGeometries();
    grid.scrollTo(grid.currentIndex());
    bar.text_->setFocus();
    bar.text_->selectAll();
    if (!bar.gathered_)
        bar.FindTyped();
}

void TFindBar::ShowPasted(TDBGridEh& grid)
{
    Show(grid);
    if (grid.d_->findBar)
        grid.d_->findBar->FindPasted(QApplication::clipboard()->text());
}

TFindBar::TFindBar(TDBGridEh& grid)
    : QFrame(&grid)
    , grid_(grid)
    , find_(grid)
{
    setObjectName(u"FindBar"_s);
    setAutoFillBackground(true);
    Compose();
    text_->setText(grid.d_->findText);
    grid.d_->hits = &find_;
    grid.installEventFilter(this);
    connect(&reading_, &QTimer::timeout, this, &TFindBar::ReadPasted);
    connect(&find_, &TGridFind::Progressed, this, &TFindBar::ShowState);
    connect(&grid, &TDBGridEh::SelectionChanged, this, &TFindBar::ShowState);
    connect(&grid, &TDBGridEh::FiltersChanged, this, &TFindBar::ShowState);
    connect(text_, &QLineEdit::textEdited, this, &TFindBar::FindTyped);
    connect(where_, &QComboBox::activated, this, &TFindBar::FindTyped);
}

QToolButton* TFindBar::AddButton(
    const QString& name, const QString& text, const QString& hint, const std::function<void()>& run)
{
    auto* button = new QToolButton(this);
    button->setObjectName(name);
    button->setText(text);
    button->setToolTip(hint);
    connect(button, &QToolButton::clicked, this, run);
    layout()->addWidget(button);
    return button;
}

void TFindBar::Compose()
{
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(6, 3, 6, 3);
    row->setSpacing(4);
    auto* text = new TFindEdit(this);
    text->OnPasteLines = [this](const QString& pasted) { FindPasted(pasted); };
    text_ = text;
    text_->setObjectName(u"FindText"_s);
    text_->setAccessibleName(u"查找内容"_s);
    text_->setPlaceholderText(u"查找，或粘贴一列单号"_s);
    text_->setClearButtonEnabled(true);
    text_->setMinimumWidth(Scaled(*this, 120));
    text_->setMaximumWidth(Scaled(*this, 240));
    where_ = new QComboBox(this);
    where_->setObjectName(u"FindColumn"_s);
    where_->setAccessibleName(u"在哪一列"_s);
    where_->setMaximumWidth(Scaled(*this, 180));
    state_ = new QLabel(this);
    state_->setObjectName(u"FindState"_s);
    state_->setTextFormat(Qt::PlainText);
    row->addWidget(text_, 1);
    row->addWidget(where_);
    AddButton(u"FindPrior"_s, u"▲"_s, u"上一个（Shift+F3）"_s, [this] { Step(true); });
    AddButton(u"FindNext"_s, u"▼"_s, u"下一个（F3，回车）"_s, [this] { Step(false); });
    row->addWidget(state_);
    missingButton_ =
        AddButton(u"FindMissing"_s, {}, u"列出没有找到的单号，可以复制"_s, [this] { ShowMissing(); });
    select_ = AddButton(u"FindSelect"_s, u"选中这些行"_s, {}, [this] {
        grid_.SelectRows(rows_);
        grid_.setFocus();
    });
    putBack_ = AddButton(u"FindPutBack"_s, u"放回原处"_s, u"各行回到原来的位置（Esc）"_s, [this] {
        text_->clear();
        FindTyped();
    });
    row->addStretch(1);
    AddButton(u"FindPaste"_s, u"粘贴一列"_s,
        u"查找剪贴板中的一列单号，按粘贴的顺序排在最前（Ctrl+Shift+F）"_s,
        [this] { FindPasted(QApplication::clipboard()->text()); });
    AddButton(u"FindClose"_s, u"✕"_s, u"关闭（Esc）"_s, [this] { Close(); });
}

// The current column as it is now; which of both is searched stays.
void TFindBar::OfferColumn()
{
    const int column = grid_.SelectedIndex();
    where_->clear();
    where_->addItem(u"全部列"_s, QString());
    const QString field = grid_.SelectedField();
    if (field.isEmpty())
        return;
    where_->addItem(u"“%1”列"_s.arg(TitleOf(grid_, column)), field);
    where_->setCurrentIndex(grid_.d_->findInColumn ? 1 : 0);
}

void TFindBar::FindTyped()
{
    if (!PutBack())
        return;
    grid_.d_->findText = text_->text();
    grid_.d_->findInColumn = where_->currentIndex() == 1;
    find_.FindText(text_->text(), where_->currentData().toString());
}

void TFindBar::FindPasted(const QString& text)
{
    if (!PutBack())
        return;
    text_->clear();
    find_.FindText({}, {});
    numbers_ = TNumberSet(text);
    missing_.clear();
    rows_.clear();
    column_.clear();
    ReadPasted();
}

void TFindBar::ReadPasted()
{
    if (!numbers_.Read(kSlice)) {
        reading_.start(0);
        ShowState();
        return;
    }
    reading_.stop();
    if (numbers_.Count() > 0 && grid_.DataSet() && grid_.DataSet()->Active()) {
        search_ = new TNumberSearch(grid_, numbers_);
        connect(search_, &TNumberSearch::Done, this, &TFindBar::ShowRows);
    }
    ShowState();
}

// A row in edit moves with the others, so it is posted first; where its rules refuse, nothing moves.
void TFindBar::ShowRows()
{
    column_ = TitleOf(grid_, grid_.ColumnIndex(search_->Field));
    rows_ = std::move(search_->Rows);
    missing_ = std::move(search_->Missing);
    const QString field = search_->Field;
    search_->deleteLater();
    search_ = nullptr;
    TClientDataSetEx* open = grid_.DataSet();
    if (open && !rows_.empty() && grid_.d_->PostRow()) {
        gathered_ = true;
        Guarded([&] {
            open->GatherRows(rows_);
            open->GotoBookmark(rows_.front());
        });
        grid_.SelectField(field);
        find_.FindNumbers(&numbers_, field);
    } else if (!rows_.empty()) {
        numbers_ = {}; // the row in edit has told why it stays
    }
    ShowState();
}

bool TFindBar::PutBack()
{
    TClientDataSetEx* open = grid_.DataSet();
    const bool inFront = gathered_ && open && open->GatheredCount() > 0;
    if (inFront && !grid_.d_->PostRow())
        return false;
    delete search_.data();
    reading_.stop();
    find_.FindNumbers(nullptr, {});
    numbers_ = {};
    gathered_ = false;
    if (inFront)
        Guarded([open] { open->GatherRows({}); });
    return true;
}

bool TFindBar::Step(bool backwards)
{
    const bool found = find_.Step(backwards);
    ShowState();
    return found;
}

void TFindBar::Close()
{
    if (!PutBack())
        return;
    const bool inside = isAncestorOf(QApplication::focusWidget());
    auto& d = *grid_.d_;
    grid_.setMinimumHeight(grid_.minimumHeight() - room_);
    d.findBar = nullptr;
    d.hits = nullptr;
    disconnect(&find_, nullptr, this, nullptr);
    find_.FindText({}, {});
    if (inside)
        grid_.setFocus();
    hide();
    deleteLater();
    grid_.updateGeometries();
    grid_.viewport()->update();
}

bool TFindBar::eventFilter(QObject*, QEvent* event)
{
    // The frame has a key of that name for its search box.
    if (event->type() == QEvent::ShortcutOverride && isVisible()
        && static_cast<QKeyEvent*>(event)->key() == Qt::Key_F3)
        event->accept();
    return false;
}

void TFindBar::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Escape:
        Close();
        return;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        Step(event->modifiers() & Qt::ShiftModifier);
        return;
    default:
        break;
    }
    // The rows are moved through from here; a letter is none of theirs.
    const bool letter = !event->text().isEmpty() && event->text()[0].isPrint();
    if (letter && !(event->modifiers() & (Qt::ControlModifier | Qt::AltModifier)))
        event->accept();
    else
        QFrame::keyPressEvent(event);
}

// Among its own parts; the list around it would take Tab for its cells.
bool TFindBar::focusNextPrevChild(bool next)
{
    QWidget* const from = QApplication::focusWidget();
    QWidget* part = from;
    do
        part = next ? part->nextInFocusChain() : part->previousInFocusChain();
    while (part != from
        && !(isAncestorOf(part) && part->isVisible() && part->isEnabled()
            && (part->focusPolicy() & Qt::TabFocus)));
    part->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    return true;
}

void TFindBar::ShowState()
{
    // A click on a title, or other rows, took them back.
    const TClientDataSetEx* open = grid_.DataSet();
    gathered_ = gathered_ && open && open->GatheredCount() > 0;
    const bool listed = numbers_.Count() > 0 && !search_ && !reading_.isActive();
    const QString more = find_.IsRunning() ? u"…"_s : QString();
    QStringList words;
    if (!numbers_.Complaint().isEmpty())
        words += numbers_.Complaint();
    else if (reading_.isActive())
        words += u"正在读取粘贴的单号…"_s;
    else if (search_)
        words += u"正在%1列中找%2个单号…"_s.arg(grid_.ColumnCount()).arg(numbers_.Count());
    else if (listed && rows_.empty())
        words += u"哪一列都没有这%1个单号"_s.arg(numbers_.Count());
    else if (listed)
        words +=
            u"“%1”列有%2个，共%3行"_s.arg(column_).arg(numbers_.Count() - missing_.size()).arg(rows_.size());
    if (listed && numbers_.Doubles() > 0)
        words += u"重复%1个"_s.arg(numbers_.Doubles());
    if (!text_->text().isEmpty() || (listed && !rows_.empty()))
        words += (find_.Place() > 0 ? u"%1 / "_s.arg(find_.Place()) : QString())
            + QString::number(find_.Hits()) + (find_.Place() > 0 || listed ? u""_s : u" 处"_s) + more;
    if (!words.isEmpty() && !grid_.Filters().empty())
        words += u"只在筛选出的行里找"_s;
    state_->setText(words.join(u"，"_s));
    missingButton_->setVisible(listed && !missing_.isEmpty());
    missingButton_->setText(u"没有的%1个…"_s.arg(missing_.size()));
    select_->setVisible(gathered_);
    putBack_->setVisible(gathered_);
}

void TFindBar::ShowMissing()
{
    auto* popup = new QFrame(this, Qt::Popup);
    popup->setObjectName(u"FindMissingList"_s);
    popup->setAttribute(Qt::WA_DeleteOnClose);
    popup->setFrameShape(QFrame::StyledPanel);
    auto* list = new QPlainTextEdit(missing_.join(u'\n'), popup);
    list->setReadOnly(true);
    auto* copy = new QPushButton(u"复制(&C)"_s, popup);
    connect(copy, &QPushButton::clicked, popup, [this, popup] {
        QApplication::clipboard()->setText(missing_.join(u'\n'));
        popup->close();
    });
    auto* column = new QVBoxLayout(popup);
    column->setContentsMargins(6, 6, 6, 6);
    column->addWidget(
        new QLabel(grid_.Filters().empty() ? u"列表里没有的单号："_s : u"筛选出的行里没有的单号："_s, popup));
    column->addWidget(list);
    column->addWidget(copy);
    PlacePopup(*popup, *missingButton_, QSize(Scaled(*this, 220), Scaled(*this, 260)));
    popup->show();
    list->setFocus();
    list->selectAll();
}
