#include "runtime/ui/Application.h"
#include "runtime/ui/DBControls.h"
#include "runtime/ui/Style.h"

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

QString Pattern(TDateTimeKind kind)
{
    switch (kind) {
    case TDateTimeKind::Date:
        return u"yyyy-mm-dd"_s;
    case TDateTimeKind::Time:
        return u"hh:nn:ss"_s;
    case TDateTimeKind::DateTime:
        break;
    }
    return u"yyyy-mm-dd hh:nn:ss"_s;
}

std::optional<wire::DateTime> Read(TDateTimeKind kind, const QString& text)
{
    const QString trimmed = text.trimmed();
    return wire::DateTime::Parse(kind == TDateTimeKind::Time ? u"1899-12-30 "_s + trimmed : trimmed);
}

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
        edit_->SetText(value.Format(Pattern(edit_->Kind)));
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
{
    setObjectName(name);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    QAction* button = addAction(DropDownIcon(), TrailingPosition);
    button->setToolTip(u"选择日期 (Alt+↓)"_s);
    connect(button, &QAction::triggered, this, &TDBDateTimeEditEh::DropDown);
    binding_->Show = [this] {
        const TField* field = binding_->Field();
        const bool empty = !field || field->IsNull();
        setText(empty ? QString() : field->AsDateTime().Format(Pattern(Kind)));
    };
    binding_->Write = [this] {
        const auto value = Read(Kind, text());
        if (value)
            binding_->Field()->SetAsDateTime(*value);
        else
            binding_->Field()->SetAsString(text().trimmed());
        return true;
    };
    connect(this, &QLineEdit::textEdited, this, [this] { binding_->Changed(); });
    connect(this, &QLineEdit::textChanged, this, [this] {
        if (!binding_->Showing() && OnChange)
            Guarded(OnChange);
    });
    connect(this, &QLineEdit::returnPressed, this, [this] {
        Tidy();
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
    if (binding_->Changed())
        setText(newText);
}

// A date that was typed short is shown in full; anything else stays as typed.
void TDBDateTimeEditEh::Tidy()
{
    const auto value = Read(Kind, text());
    if (!value)
        return;
    const QString full = value->Format(Pattern(Kind));
    if (full != text())
        setText(full);
}

void TDBDateTimeEditEh::focusOutEvent(QFocusEvent* event)
{
    QLineEdit::focusOutEvent(event);
    if (event->reason() == Qt::PopupFocusReason)
        return;
    Tidy();
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
    const auto value = Read(Kind, text());
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
    SetText(wire::DateTime{moment.toSecsSinceEpoch()}.Format(Pattern(Kind)));
    setCursorPosition(cursor);
    return true;
}

void TDBDateTimeEditEh::DropDown()
{
    if (isReadOnly() || !isEnabled())
        return;
    auto* popup = new CalendarPopup(this, Read(Kind, text()).value_or(wire::DateTime::Now()));
    PlacePopup(*popup, *this, popup->sizeHint());
    popup->show();
}
