#include "runtime/grid/SelectionSum.h"

#include <QApplication>
#include <QElapsedTimer>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kRest = 150; // milliseconds that a selection stays as it is before it is read
constexpr qint64 kSlice = 12;
constexpr size_t kRowsAtOnce = 256;

} // namespace

TSelectionSum::TSelectionSum(QWidget* parent)
    : QLabel(parent)
{
    setObjectName(u"SelectionSum"_s);
    setTextFormat(Qt::PlainText);
    rest_.setSingleShot(true);
    rest_.setInterval(kRest);
    connect(&rest_, &QTimer::timeout, this, &TSelectionSum::Begin);
    connect(&soon_, &QTimer::timeout, this, &TSelectionSum::Work);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) {
        if (TDBGridEh* grid = GridOf(now); grid != grid_)
            Follow(grid);
    });
}

void TSelectionSum::Follow(TDBGridEh* grid)
{
    if (grid_)
        disconnect(grid_, nullptr, this, nullptr);
    grid_ = grid;
    if (grid) {
        connect(grid, &TDBGridEh::SelectionChanged, this, &TSelectionSum::Later);
        connect(grid, &QObject::destroyed, this, &TSelectionSum::Later);
    }
    Later();
}

void TSelectionSum::Later()
{
    soon_.stop();
    clear(); // a status bar hides and shows it as its messages come and go
    rest_.start();
}

void TSelectionSum::Begin()
{
    if (rows_)
        disconnect(rows_, nullptr, this, nullptr);
    rows_ = grid_ ? grid_->DataSet() : nullptr;
    if (!rows_ || !rows_->Active())
        return;
    connect(rows_, &TClientDataSetEx::DataReset, this, &TSelectionSum::Later);
    connect(rows_, &TClientDataSetEx::RowChanged, this, &TSelectionSum::Later);
    connect(rows_, &TClientDataSetEx::RowRemoved, this, &TSelectionSum::Later);
    const int column = grid_->SelectedIndex();
    field_ = column < 0 ? -1 : rows_->FieldIndex(grid_->Column(column).fieldName);
    selected_ = grid_->SelectedRows();
    if (field_ < 0 || selected_.size() < 2)
        return;
    const wire::ColumnType type = rows_->FieldInfo(field_).type;
    numeric_ = (type == wire::ColumnType::Integer || type == wire::ColumnType::Number)
        && grid_->Column(column).style == TColumnStyle::Text; // a status is no quantity
    sum_ = {};
    values_ = 0;
    next_ = 0;
    soon_.start(0);
}

void TSelectionSum::Work()
{
    if (!grid_ || !rows_ || !rows_->Active())
        return soon_.stop();
    QElapsedTimer clock;
    clock.start();
    while (next_ < selected_.size() && clock.elapsed() < kSlice) {
        const size_t end = std::min(selected_.size(), next_ + kRowsAtOnce);
        for (; next_ < end; ++next_) {
            const int row = rows_->ViewRowOf(selected_[next_]);
            if (row < 0 || rows_->ViewIsNull(row, field_))
                continue;
            ++values_;
            if (!numeric_)
                continue;
            const wire::Value value = rows_->ViewValue(row, field_);
            if (const auto* whole = std::get_if<qint64>(&value))
                sum_.AddInteger(*whole);
            else if (const auto* number = std::get_if<double>(&value))
                sum_.AddNumber(*number);
        }
    }
    if (next_ < selected_.size())
        return;
    soon_.stop();
    Say();
}

void TSelectionSum::Say()
{
    const int column = grid_->SelectedIndex();
    if (column < 0)
        return;
    QString text = u"选中%1行，“%2”%3个"_s.arg(selected_.size())
                       .arg(QString(grid_->Column(column).title).replace(u'|', u" · "_s))
                       .arg(values_);
    if (numeric_ && values_ > 0) {
        const QString sum = sum_.ToText();
        text += u"，合计%1，平均%2"_s.arg(sum, QString::number(sum.toDouble() / values_, 'f', 2));
    }
    setText(text);
}
