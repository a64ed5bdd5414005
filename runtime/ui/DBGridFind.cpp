#include "runtime/ui/Application.h"
#include "runtime/ui/DBGridPrivate.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kRowsAroundFound = 2; // rows shown above and below a cell that was found

// Stays open beside the grid while the user steps through the hits.
class FindDialog : public QDialog {
public:
    explicit FindDialog(TDBGridEh* grid, const QString& text)
        : QDialog(grid)
        , grid_(grid)
    {
        setObjectName(u"FindDialog"_s);
        setWindowTitle(u"查找"_s);
        setAttribute(Qt::WA_DeleteOnClose);
        text_ = new QLineEdit(text, this);
        text_->setObjectName(u"FindText"_s);
        text_->selectAll();
        text_->setMinimumWidth(240);
        auto* label = new QLabel(u"查找内容(&N)"_s, this);
        label->setBuddy(text_);
        column_ = new QComboBox(this);
        column_->setObjectName(u"FindColumn"_s);
        for (int column = 0; column < grid->ColumnCount(); ++column) {
            if (!grid->Column(column).visible)
                continue;
            column_->addItem(QString(grid->Column(column).title).replace(u'|', u" · "_s), column);
            if (column == grid->SelectedIndex())
                column_->setCurrentIndex(column_->count() - 1);
        }
        auto* where = new QLabel(u"在列(&L)"_s, this);
        where->setBuddy(column_);
        backwards_ = new QCheckBox(u"向上查找(&U)"_s, this);
        result_ = new QLabel(this);
        auto* next = new QPushButton(u"查找下一个(&F)"_s, this);
        next->setObjectName(u"FindNext"_s);
        next->setDefault(true);
        auto* close = new QPushButton(u"关闭(&C)"_s, this);
        auto* layout = new QGridLayout(this);
        layout->addWidget(label, 0, 0);
        layout->addWidget(text_, 0, 1);
        layout->addWidget(next, 0, 2);
        layout->addWidget(where, 1, 0);
        layout->addWidget(column_, 1, 1);
        layout->addWidget(close, 1, 2);
        layout->addWidget(backwards_, 2, 1);
        layout->addWidget(result_, 3, 0, 1, 3);
        connect(next, &QPushButton::clicked, this, [this] { Next(); });
        connect(close, &QPushButton::clicked, this, &QDialog::close);
    }

private:
    void Next()
    {
        if (text_->text().isEmpty())
            return;
        grid_->SetSelectedIndex(column_->currentData().toInt());
        const bool found = grid_->FindText(text_->text(), true, backwards_->isChecked());
        result_->setText(found ? QString() : u"没有找到“%1”。"_s.arg(text_->text()));
    }

    TDBGridEh* grid_;
    QLineEdit* text_;
    QComboBox* column_;
    QCheckBox* backwards_;
    QLabel* result_;
};

} // namespace

bool TDBGridEh::FindText(const QString& text, bool fromCurrent, bool backwards)
{
    const TClientDataSetEx* open = d_->OpenDataSet();
    if (!open || text.isEmpty() || open->IsEmpty() || SelectedIndex() < 0)
        return false;
    d_->lastFound = text;
    const int count = open->RecordCount();
    const int step = backwards ? -1 : 1;
    int row = fromCurrent ? d_->CurrentRow() + step : backwards ? count - 1 : 0;
    for (; row >= 0 && row < count; row += step) {
        if (!CellText(row, d_->currentColumn).contains(text, Qt::CaseInsensitive))
            continue;
        if (!d_->MoveTo(row, d_->currentColumn))
            return false;
        d_->SelectAfterMove({});
        d_->ShowFound(d_->CurrentRow(), d_->currentColumn);
        return true;
    }
    return false;
}

bool TDBGridEh::Private::IsFound(int viewRow, int column) const
{
    return found.row && column == found.column && OpenDataSet()->ViewBookmark(viewRow) == found.row;
}

void TDBGridEh::Private::ShowFound(int viewRow, int column)
{
    found = {OpenDataSet()->ViewBookmark(viewRow), column};
    const int fitting = std::max(1, q->viewport()->height() / rowHeight);
    const int neighbours = std::min(kRowsAroundFound, (fitting - 1) / 2);
    QScrollBar& bar = *q->verticalScrollBar();
    if (viewRow - neighbours < bar.value())
        bar.setValue(viewRow - neighbours);
    else if (viewRow + neighbours >= bar.value() + fitting)
        bar.setValue(viewRow + neighbours + 1 - fitting);
    q->viewport()->update();
}

void TDBGridEh::ShowFindDialog()
{
    auto* dialog = new FindDialog(this, d_->lastFound);
    dialog->show();
}
