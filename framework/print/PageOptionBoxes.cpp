#include "framework/print/PageOptionBoxes.h"

#include "framework/LabelledControls.h"
#include "framework/ViewState.h"
#include "module/data/LayoutStorage.h"

#include <QSignalBlocker>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QPageSize::PageSizeId kPapers[] = {
    QPageSize::A4, QPageSize::A3, QPageSize::A5, QPageSize::JisB5, QPageSize::Letter};
enum TOrientation { Portrait, Landscape }; // in the order of the box
const QString kSection = u".Print"_s;

} // namespace

TPageOptionBoxes::TPageOptionBoxes(QWidget* parent, const TPrintDBGridEh& settings)
    : QWidget(parent)
    , margins_(QMarginsF(settings.MarginLeft, settings.MarginTop, settings.MarginRight, settings.MarginBottom)
          * 10)
{
    auto* box = new QGridLayout(this);
    box->setContentsMargins(0, 0, 0, 0);
    box->setVerticalSpacing(4);
    box->setColumnStretch(1, 1);
    int row = 0;
    const auto add = [&](const QString& label, const QStringList& texts) {
        auto* made = new QComboBox(this);
        made->setObjectName(u"ComboBox%1"_s.arg(row + 1));
        made->addItems(texts);
        box->addWidget(LabelFor(made, label, this), row, 0);
        box->addWidget(made, row++, 1);
        return made;
    };
    ComboBox1 = add(u"范围(&A)"_s, {});
    ComboBox2 = add(u"纸张(&Z)"_s, {});
    ComboBox3 = add(u"方向(&O)"_s, {u"纵向"_s, u"横向"_s});
    ComboBox4 = add(u"列(&L)"_s, {u"缩到页宽"_s, u"原大小，分页"_s});
    ComboBox5 = add(u"行高(&H)"_s, {u"一行字"_s, u"两行字"_s, u"三行字"_s});
    for (const QPageSize::PageSizeId paper : kPapers)
        ComboBox2->addItem(QPageSize(paper).name().section(u' ', 0, 0), int(paper));
    ComboBox3->setCurrentIndex(Landscape);
    Recall();
    for (const QComboBox* made : {ComboBox1, ComboBox2, ComboBox3, ComboBox4, ComboBox5})
        connect(made, &QComboBox::currentIndexChanged, this, &TPageOptionBoxes::Changed);
}

void TPageOptionBoxes::OfferRows(const TDBGridEh& grid)
{
    const QSignalBlocker still(ComboBox1);
    const size_t selected = grid.SelectedRows().size();
    ComboBox1->clear();
    ComboBox1->addItem(u"全部 %L1 行"_s.arg(grid.DataSet()->RecordCount()));
    if (selected > 0)
        ComboBox1->addItem(u"选中的 %L1 行"_s.arg(selected));
    ComboBox1->setCurrentIndex(selected > 1 ? 1 : 0);
}

TPageOptions TPageOptionBoxes::Options() const
{
    const QVariant known = ComboBox2->currentData();
    const QPageSize size = known.canConvert<QPageSize>() ? known.value<QPageSize>()
                                                         : QPageSize(QPageSize::PageSizeId(known.toInt()));
    return {.selectedOnly = ComboBox1->currentIndex() == 1,
        .paper = QPageLayout(size,
            ComboBox3->currentIndex() == Portrait ? QPageLayout::Portrait : QPageLayout::Landscape, margins_,
            QPageLayout::Millimeter),
        .shrink = ComboBox4->currentIndex() == 0,
        .lines = ComboBox5->currentIndex() + 1};
}

bool TPageOptionBoxes::Take(const QPageLayout& paper)
{
    const QPageLayout present = Options().paper;
    const QPageSize size = paper.pageSize();
    if (size.isEquivalentTo(present.pageSize()) && paper.orientation() == present.orientation())
        return false;
    const QSignalBlocker still(this);
    int index = size.id() == QPageSize::Custom ? -1 : ComboBox2->findData(int(size.id()));
    if (index < 0) {
        ComboBox2->addItem(size.name(), QVariant::fromValue(size));
        index = ComboBox2->count() - 1;
    }
    ComboBox2->setCurrentIndex(index);
    ComboBox3->setCurrentIndex(paper.orientation() == QPageLayout::Portrait ? Portrait : Landscape);
    return true;
}

void TPageOptionBoxes::Recall()
{
    const QString section = AccountSection(kSection);
    if (!LayoutStorage || section.isEmpty())
        return;
    for (QComboBox* box : {ComboBox2, ComboBox3, ComboBox4, ComboBox5}) {
        const int index = box->findText(LayoutStorage->ReadString(section, box->objectName()));
        box->setCurrentIndex(index < 0 ? box->currentIndex() : index);
    }
}

void TPageOptionBoxes::Keep() const
{
    const QString section = AccountSection(kSection);
    if (!LayoutStorage || section.isEmpty())
        return;
    for (const QComboBox* box : {ComboBox2, ComboBox3, ComboBox4, ComboBox5})
        LayoutStorage->WriteString(section, box->objectName(), box->currentText());
    LayoutStorage->Flush();
}
