#include "framework/RecordButtons.h"

#include "runtime/ui/Application.h"

#include <QHBoxLayout>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

namespace {

QPushButton* NewStripButton(QWidget* strip, const QString& name, const QString& caption)
{
    auto* button = new QPushButton(caption, strip);
    button->setObjectName(name);
    strip->layout()->addWidget(button);
    return button;
}

} // namespace

TRecordButtons::TRecordButtons(QWidget* parent, const QString& name)
    : QWidget(parent)
{
    setObjectName(name);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    AddButton = NewStripButton(this, u"AddButton"_s, u"增加(&A)"_s);
    EditButton = NewStripButton(this, u"EditButton"_s, u"修改(&E)"_s);
    DiscardButton = NewStripButton(this, u"DiscardButton"_s, u"放弃(&U)"_s);
    EditButton->hide();
    row->addStretch(1);
    connect(AddButton, &QPushButton::clicked, this, [this] {
        Guarded([this] {
            dataSet_->Post();
            dataSet_->Append();
        });
    });
    connect(EditButton, &QPushButton::clicked, this, [this] { Guarded([this] { dataSet_->Edit(); }); });
    connect(DiscardButton, &QPushButton::clicked, this, [this] { Guarded([this] { Discard(); }); });
    ShowState();
}

void TRecordButtons::SetDataSource(TDataSource* source)
{
    if (source_)
        disconnect(source_, nullptr, this, nullptr);
    source_ = source;
    if (source)
        connect(source, &TDataSource::DataSetChanged, this, &TRecordButtons::Attach);
    Attach(source ? source->DataSet() : nullptr);
}

void TRecordButtons::SetOfferEdit(bool on)
{
    EditButton->setVisible(on);
}

void TRecordButtons::Attach(TClientDataSetEx* dataSet)
{
    if (dataSet_)
        disconnect(dataSet_, nullptr, this, nullptr);
    dataSet_ = dataSet;
    if (dataSet) {
        connect(dataSet, &TClientDataSetEx::StateChanged, this, &TRecordButtons::ShowState);
        connect(dataSet, &TClientDataSetEx::DataReset, this, &TRecordButtons::ShowState);
        connect(dataSet, &TClientDataSetEx::CursorMoved, this, &TRecordButtons::ShowState);
        connect(dataSet, &TClientDataSetEx::RowChanged, this, &TRecordButtons::ShowState);
        connect(dataSet, &TClientDataSetEx::RowInserted, this, &TRecordButtons::ShowState);
        connect(dataSet, &TClientDataSetEx::RowRemoved, this, &TRecordButtons::ShowState);
    }
    ShowState();
}

void TRecordButtons::ShowState()
{
    const bool open = dataSet_ && dataSet_->Active();
    const bool onRow = open && !dataSet_->IsEmpty();
    AddButton->setEnabled(open);
    EditButton->setEnabled(onRow && !dataSet_->IsEditing());
    DiscardButton->setEnabled(
        onRow && (dataSet_->IsEditing() || dataSet_->UpdateStatus() != TRowStatus::Unmodified));
}

void TRecordButtons::Discard()
{
    if (dataSet_->IsEditing())
        dataSet_->Cancel();
    else
        dataSet_->UndoCurrentRow();
    ShowState();
}
