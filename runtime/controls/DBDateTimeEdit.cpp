#include "runtime/controls/DBControls.h"
#include "runtime/controls/TextMark.h"
#include "runtime/ui/Application.h"
#include "runtime/ui/Style.h"
#include "wire/Error.h"

#include <QAction>
#include <QCalendarWidget>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QTimeEdit>
#include <QVBoxLayout>

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

// Month sheet and time of day below the edit.
class CalendarPopup : public QFrame {
public:
    CalendarPopup(TDBDateTimeEditEh* edit, wire::DateTime shown)
        : QFrame(edit, Qt::Popup)
        , edit_(edit)
    {
        setAttribute(Qt::WA_DeleteOnClose);
        setFrameShape(QFrame::StyledPanel);
        const QDateTime local = QDateTime::fromSecsSinceEpoch(shown.seconds, Qt::UTC);
        calendar_ = new QCalendarWidget(this);
        calendar_->setLocale(QLocale(QLocale::Chinese, QLocale::China));
        calendar_->setFirstDayOfWeek(Qt::Monday);
        calendar_->setVerticalHeaderFormat(QCalendarWidget::NoVerticalHeader);
        calendar_->setGridVisible(false);
        calendar_->setSelectedDate(local.date());
        time_ = new QTimeEdit(local.time(), this);
        time_->setDisplayFormat(u"HH:mm:ss"_s);
        time_->setAccessibleName(u"时间"_s);
        auto* label = new QLabel(u"时间(&T)"_s, this);
        label->setBuddy(time_);
        auto* take = new QPushButton(u"确定(&O)"_s, this);
        auto* today = new QPushButton(u"今天(&D)"_s, this);
        auto* row = new QHBoxLayout;
        row->addWidget(label);
        row->addWidget(time_);
        row->addStretch();
        row->addWidget(today);
        row->addWidget(take);
        auto* box = new QVBoxLayout(this);
        box->setContentsMargins(4, 4, 4, 4);
        box->addWidget(calendar_);
        box->addLayout(row);
        calendar_->setVisible(edit->Kind != TDateTimeKind::Time);
        const bool withTime = edit->Kind != TDateTimeKind::Date;
        label->setVisible(withTime);
        time_->setVisible(withTime);
        connect(calendar_, &QCalendarWidget::activated, this, &CalendarPopup::Take);
        connect(take, &QPushButton::clicked, this, &CalendarPopup::Take);
        connect(
            today, &QPushButton::clicked, this, [this] { calendar_->setSelectedDate(QDate::currentDate()); });
        calendar_->setFocus();
    }

private:
    void Take()
    {
        const QDateTime chosen(calendar_->selectedDate(), time_->time(), Qt::UTC);
        const wire::DateTime value{chosen.toSecsSinceEpoch()};
        edit_->SetText(DateTimeText(edit_->Kind, value));
        edit_->Binding().Commit();
        close();
        edit_->setFocus();
    }

    TDBDateTimeEditEh* edit_;
    QCalendarWidget* calendar_;
    QTimeEdit* time_;
};

} // namespace

TDBDateTimeEditEh::TDBDateTimeEditEh(QWidget* parent, const QString& name)
    : QLineEdit(parent)
    , binding_(new TDBBinding(this))
    , mark_(new TTextMark(this))
{
    setObjectName(name);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    QAction* button = addAction(DropDownIcon(), TrailingPosition);
    button->setToolTip(u"选择日期 (Alt+↓)"_s);
    connect(button, &QAction::triggered, this, &TDBDateTimeEditEh::DropDown);
    binding_->Show = [this] {
        const TField* field = binding_->Field();
        const bool isMoment = field && field->DataType() == wire::ColumnType::DateTime && !field->IsNull();
        ShowText(*this,
            isMoment    ? DateTimeText(Kind, field->AsDateTime())
                : field ? field->AsString()
                        : QString());
        CheckText();
    };
    binding_->Write = [this] {
        TField& field = *binding_->Field();
        const auto value = ReadDateTime(Kind, text());
        if (value && field.DataType() == wire::ColumnType::DateTime)
            field.SetAsDateTime(*value);
        else if (value || text().trimmed().isEmpty() || field.DataType() != wire::ColumnType::Text)
            field.SetAsString(Text().trimmed());
        else
            throw wire::Error(
                wire::ErrorKind::Data, u"“%1”不是时间，请按 %2 输入。"_s.arg(text(), DateTimeForm(Kind)));
        return true;
    };
    connect(this, &QLineEdit::textEdited, this, [this] { binding_->Changed(); });
    connect(this, &QLineEdit::textChanged, this, [this] {
        mark_->Set({});
        if (!binding_->Showing() && OnChange)
            Guarded(OnChange);
    });
    connect(this, &QLineEdit::returnPressed, this, [this] {
        Tidy();
        if (mark_->Reason().isEmpty())
            binding_->Commit();
    });
}

QSize TDBDateTimeEditEh::sizeHint() const
{
    const int text =
        fontMetrics().horizontalAdvance(Kind == TDateTimeKind::DateTime ? u"0000-00-00 00:00:00"_s
                : Kind == TDateTimeKind::Date                           ? u"0000-00-00"_s
                                                                        : u"00:00:00"_s);
    return {text + Scaled(*this, 44), QLineEdit::sizeHint().height()};
}

void TDBDateTimeEditEh::SetText(const QString& newText)
{
    if (!binding_->Changed())
        return;
    setText(newText);
    ShowBeginning(*this);
}

QString TDBDateTimeEditEh::Text() const
{
    const auto value = ReadDateTime(Kind, text());
    return value ? DateTimeText(Kind, *value) : text();
}

bool TDBDateTimeEditEh::CheckText()
{
    const bool taken = text().trimmed().isEmpty() || ReadDateTime(Kind, text());
    mark_->Set(taken ? QString() : u"请按 "_s + DateTimeForm(Kind) + u" 输入"_s);
    return taken;
}

// A date is shown in its form; anything else stays as typed.
void TDBDateTimeEditEh::Tidy()
{
    const QString full = Text();
    if (full != text())
        setText(full);
    CheckText();
    ShowBeginning(*this);
}

void TDBDateTimeEditEh::focusOutEvent(QFocusEvent* event)
{
    QLineEdit::focusOutEvent(event);
    if (event->reason() == Qt::PopupFocusReason)
        return;
    Tidy();
    // What cannot be taken is told at the box; a post asks for it once more, and refuses.
    if (mark_->Reason().isEmpty())
        binding_->Commit();
    if (OnExit)
        Guarded(OnExit);
}

void TDBDateTimeEditEh::keyPressEvent(QKeyEvent* event)
{
    const bool altDown = event->key() == Qt::Key_Down && event->modifiers() & Qt::AltModifier;
    if (altDown || event->key() == Qt::Key_F4)
        DropDown();
    else if ((event->key() == Qt::Key_Up && StepPart(1)) || (event->key() == Qt::Key_Down && StepPart(-1)))
        event->accept();
    else
        QLineEdit::keyPressEvent(event);
}

// Up and down count the part under the cursor.
bool TDBDateTimeEditEh::StepPart(int steps)
{
    const auto value = ReadDateTime(Kind, text());
    if (!value || isReadOnly())
        return false;
    const int cursor = cursorPosition();
    const int place = Kind == TDateTimeKind::Time ? cursor + 11 : cursor;
    QDateTime moment = QDateTime::fromSecsSinceEpoch(value->seconds, Qt::UTC);
    if (place <= 4)
        moment = moment.addYears(steps);
    else if (place <= 7)
        moment = moment.addMonths(steps);
    else if (place <= 10)
        moment = moment.addDays(steps);
    else
        moment = moment.addSecs(steps * (place <= 13 ? 3600 : place <= 16 ? 60 : 1));
    SetText(DateTimeText(Kind, {moment.toSecsSinceEpoch()}));
    setCursorPosition(cursor);
    return true;
}

void TDBDateTimeEditEh::DropDown()
{
    if (isReadOnly() || !isEnabled())
        return;
    auto* popup = new CalendarPopup(this, ReadDateTime(Kind, text()).value_or(wire::DateTime::Now()));
    PlacePopup(*popup, *this, popup->sizeHint());
    popup->show();
}
