#include "host/PreferencesWindow.h"

#include "runtime/grid/DBGrid.h"
#include "runtime/ui/Style.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QSpinBox>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kSampleRows = 6;
constexpr int kRefusedRow = 2;
constexpr int kUnsavedRow = 1;

QIcon Swatch(const QColor& color, int side)
{
    QPixmap picture(side * 2, side);
    picture.fill(color);
    return picture;
}

} // namespace

TPreferencesWindow::TPreferencesWindow(QWidget* owner)
    : QDialog(owner)
    , before_(ListStyle())
    , stripes_(new QCheckBox(u"隔行底色(&S)"_s))
    , sample_(new TDBGridEh(this, u"SampleList"_s))
{
    setObjectName(u"Preferences"_s);
    setWindowTitle(u"首选项"_s);
    setProperty("guide", u"preferences"_s);
    auto* look = new QGroupBox(u"列表"_s);
    auto* lookRows = new QGridLayout(look);
    fontSize_ = AddNumber(
        *lookRows, u"字号(&F)"_s, u"FontSize"_s, TListStyle::kSmallestFont, TListStyle::kLargestFont);
    rowSpace_ = AddNumber(
        *lookRows, u"行高，比文字多(&H)"_s, u"RowSpace"_s, TListStyle::kLeastSpace, TListStyle::kMostSpace);
    stripes_->setObjectName(u"Stripes"_s);
    lookRows->addWidget(stripes_, lookRows->rowCount(), 0, 1, 2);
    connect(stripes_, &QCheckBox::toggled, this, &TPreferencesWindow::Apply);

    auto* marks = new QGroupBox(u"标记的颜色"_s);
    auto* markRows = new QGridLayout(marks);
    AddColor(*markRows, u"没有保存的单元格(&U)"_s, u"UnsavedColor"_s, &TListStyle::unsaved);
    AddColor(*markRows, u"服务器拒绝的行(&R)"_s, u"RefusedColor"_s, &TListStyle::refused);
    AddColor(*markRows, u"查找框找到的文字(&T)"_s, u"FoundColor"_s, &TListStyle::found);
    AddColor(*markRows, u"查找栏标出的文字(&K)"_s, u"HitColor"_s, &TListStyle::hit);

    auto* hint =
        new QLabel(u"打开着的列表同时按这里的选择显示。颜色太深或太浅，看不清文字的，会自动调整。"_s);
    hint->setWordWrap(true);
    hint->setForegroundRole(QPalette::PlaceholderText);
    auto* buttons = new QDialogButtonBox(this);
    auto* standard = buttons->addButton(u"恢复默认(&D)"_s, QDialogButtonBox::ResetRole);
    standard->setObjectName(u"DefaultsButton"_s);
    auto* take = buttons->addButton(u"确定"_s, QDialogButtonBox::AcceptRole);
    take->setObjectName(u"OkButton"_s);
    take->setDefault(true);
    auto* cancel = buttons->addButton(u"取消"_s, QDialogButtonBox::RejectRole);
    cancel->setObjectName(u"CancelButton"_s);
    standard->setAutoDefault(false);
    connect(standard, &QPushButton::clicked, this, [this] { Show({}); });
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* groups = new QHBoxLayout;
    groups->addWidget(look);
    groups->addWidget(marks);
    auto* column = new QVBoxLayout(this);
    column->addLayout(groups);
    column->addWidget(sample_, 1);
    column->addWidget(hint);
    column->addWidget(buttons);
    OpenSample();
    Show(before_);
    setModal(true);
    // With room for the title bar on a screen of few points.
    const QSize room = screen()->availableSize() - QSize(0, Scaled(*this, 40));
    resize(sizeHint().expandedTo({Scaled(*this, 520), Scaled(*this, 440)}).boundedTo(room));
}

TPreferencesWindow::~TPreferencesWindow()
{
    delete sample_; // before its rows
}

QSpinBox* TPreferencesWindow::AddNumber(
    QGridLayout& rows, const QString& label, const QString& name, int from, int to)
{
    auto* box = new QSpinBox;
    box->setObjectName(name);
    box->setRange(from, to);
    box->setSuffix(u" 像素"_s);
    auto* caption = new QLabel(label);
    caption->setBuddy(box);
    const int row = rows.rowCount();
    rows.addWidget(caption, row, 0);
    rows.addWidget(box, row, 1);
    connect(box, &QSpinBox::valueChanged, this, &TPreferencesWindow::Apply);
    return box;
}

QPushButton* TPreferencesWindow::AddColor(
    QGridLayout& rows, const QString& label, const QString& name, QColor TListStyle::*color)
{
    auto* button = new QPushButton(u"选择…"_s);
    button->setObjectName(name);
    button->setAutoDefault(false);
    auto* caption = new QLabel(label);
    caption->setBuddy(button);
    const QString title = label.section(u'(', 0, 0);
    button->setAccessibleName(title);
    const int row = rows.rowCount();
    rows.addWidget(caption, row, 0);
    rows.addWidget(button, row, 1);
    connect(button, &QPushButton::clicked, this, [this, color, title] { ChooseColor(color, title); });
    colors_.emplace_back(button, color);
    return button;
}

void TPreferencesWindow::ChooseColor(QColor TListStyle::*color, const QString& title)
{
    QColorDialog chooser(style_.*color, this);
    chooser.setWindowTitle(title);
    chooser.setOption(QColorDialog::DontUseNativeDialog);
    const TListStyle before = style_;
    connect(&chooser, &QColorDialog::currentColorChanged, this, [this, color](const QColor& chosen) {
        TListStyle changed = style_;
        changed.*color = chosen;
        Show(changed);
    });
    if (chooser.exec() == Rejected)
        Show(before);
}

// Rows that show every mark.
void TPreferencesWindow::OpenSample()
{
    const QStringList titles{u"物流号"_s, u"网点"_s, u"备注"_s};
    const QStringList sites{u"上海浦东"_s, u"安徽合肥一部"_s, u"江苏南京"_s};
    const QStringList remarks{u"这里改过，没有保存"_s, u"服务器拒绝了这一行"_s};
    wire::RowSet rows;
    std::vector<TColumnEh> columns;
    for (const QString& title : titles) {
        rows.infos.push_back({.name = title});
        rows.columns.emplace_back(wire::ColumnType::Text);
        columns.push_back({.fieldName = title, .title = title, .width = columns.size() < 2 ? 110 : 200});
    }
    for (int row = 0; row < kSampleRows; ++row) {
        rows.columns[0].AppendValue(wire::TextValue(u"ZM2026112000%1"_s.arg(row + 1)));
        rows.columns[1].AppendValue(wire::TextValue(sites[row % sites.size()]));
        rows.columns[2].AppendValue(wire::TextValue(remarks.value(row - kUnsavedRow)));
    }
    sampleRows_.OpenRows(std::move(rows));
    sampleRows_.SetRecNo(kUnsavedRow + 1);
    sampleRows_.Edit();
    sampleRows_.FieldByName(titles[2]).SetAsString(remarks[0] + u"。"_s);
    sampleRows_.Post();
    sampleSource_.SetDataSet(&sampleRows_);
    sample_->SetColumns(std::move(columns));
    sample_->ReadOnly = true;
    sample_->OnGetCellParams = [](const TColumnEh&, int row, TCellParams& params) {
        if (row == kRefusedRow)
            params.background = ListStyle().refused;
    };
    sample_->SetDataSource(&sampleSource_);
    sample_->SelectField(titles[1]);
    sampleRows_.First();
    sample_->FindText(u"上海"_s, true);
}

void TPreferencesWindow::Show(const TListStyle& style)
{
    showing_ = true;
    fontSize_->setValue(style.fontSize);
    rowSpace_->setValue(style.rowSpace);
    stripes_->setChecked(style.stripes);
    showing_ = false;
    style_ = style;
    Apply();
}

void TPreferencesWindow::Apply()
{
    if (showing_)
        return;
    style_.fontSize = fontSize_->value();
    style_.rowSpace = rowSpace_->value();
    style_.stripes = stripes_->isChecked();
    TListStyles::Instance().Set(style_);
    // As it is shown, which may not be quite what was chosen.
    const int side = fontMetrics().ascent();
    for (const auto& [button, color] : colors_)
        button->setIcon(Swatch(ListStyle().*color, side));
}

void TPreferencesWindow::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    activateWindow();
}

void TPreferencesWindow::done(int result)
{
    if (result != Accepted)
        TListStyles::Instance().Set(before_);
    QDialog::done(result);
}
