#include "framework/print/frm_Print.h"

#include "framework/CriteriaWords.h"
#include "framework/DataView.h"
#include "framework/LabelledControls.h"
#include "framework/Questions.h"
#include "framework/ScreenHandlers.h"
#include "framework/export/ProposedFile.h"
#include "framework/print/PageOptionBoxes.h"
#include "framework/print/PagePreview.h"
#include "framework/print/Printers.h"
#include "module/data/DataSetRows.h"
#include "module/data/HostBridge.h"
#include "runtime/ui/Style.h"
#include "wire/Error.h"

#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QKeyEvent>
#include <QPrinter>
#include <QUrl>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kPanelWidth = 210;
constexpr int kControl = int(Qt::ControlModifier);
const QString kNoPrinter =
    u"这台电脑上没有打印机。\n可以请管理员添加打印机以后再打印，或者先存为 PDF 文件，拿到别处打印。\n\n现在存为 PDF 吗？"_s;

QString Printed()
{
    return u"打印 %1  %2 %3"_s.arg(
        ServerDateTime().ToText(), GlobalValue(u"site"_s), GlobalValue(u"EmployeeName"_s));
}

} // namespace

Tfrm_Print::Tfrm_Print(QObject* owner, TDataView& view)
    : TForm(owner, u"frm_Print"_s)
    , view_(&view)
    , Preview(new TPagePreview(this))
    , Boxes(new TPageOptionBoxes(this, *view.DataViewPrint))
    , ComboBox6(new QComboBox(this))
    , SpinEdit1(new QSpinBox(this))
    , Label1(new QLabel(this))
    , ProgressBar1(new QProgressBar(this))
    , Button1(NewButton(this, u"Button1"_s, u"打印(&P)…"_s))
    , Button2(NewButton(this, u"Button2"_s, u"存为 PDF(&D)…"_s))
    , Button3(NewButton(this, u"Button3"_s, u"关闭(&C)"_s))
    , Button4(NewButton(this, u"Button4"_s, u"打开文件(&F)"_s))
    , Button5(NewButton(this, u"Button5"_s, u"刷新(&U)"_s))
{
    SetCaption(u"打印 - "_s + ListTitle(view));
    setProperty("guide", u"lists"_s);
    KeyPreview = true;
    setWindowFlag(Qt::WindowMaximizeButtonHint);
    ComboBox6->setObjectName(u"ComboBox6"_s);
    ComboBox6->addItems(TPagePreview::Zooms());
    Boxes->OfferRows(*view.DataViewGrid);
    PlaceControls();
    connect(Boxes, &TPageOptionBoxes::Changed, this, &Tfrm_Print::MakePages);
    connect(ComboBox6, &QComboBox::currentIndexChanged, Preview, &TPagePreview::SetZoom);
    connect(SpinEdit1, &QSpinBox::valueChanged, this, [this](int page) { Preview->ShowPage(page - 1); });
    connect(Preview, &TPagePreview::PageChanged, this, [this](int page) {
        const QSignalBlocker still(SpinEdit1);
        SpinEdit1->setValue(page + 1);
    });
    connect(Preview, &TPagePreview::ZoomWanted, this, [this](int steps) {
        ComboBox6->setCurrentIndex(qBound(0, ComboBox6->currentIndex() + steps, ComboBox6->count() - 1));
    });
    OnClick(Button1, this, &Tfrm_Print::Button1Click);
    OnClick(Button2, this, &Tfrm_Print::Button2Click);
    connect(Button3, &QPushButton::clicked, this, [this] { job_ ? StopJob() : void(Close()); });
    OnClick(Button4, this, &Tfrm_Print::Button4Click);
    OnClick(Button5, this, &Tfrm_Print::Button5Click);
    WatchList();
    ShowBusy(false);
    MakePages();
    resize(Scaled(*this, 1000), Scaled(*this, 700));
}

Tfrm_Print::~Tfrm_Print() = default;

void Tfrm_Print::Execute(TDataView& view)
{
    TDBGridEh& grid = *view.DataViewGrid;
    if (!grid.DataSet() || !HasRows(*grid.DataSet())) {
        ShowNotice(u"列表里没有行，没有可以打印的。"_s);
        return;
    }
    if (!grid.CommitEditor())
        return;
    auto* form = new Tfrm_Print(Application, view); // frees itself when it closes
    form->ShowModal();
}

QAction* Tfrm_Print::AddAction(TDataView& view)
{
    auto* action = new QAction(u"打印(&P)…\tCtrl+P"_s, view.DataViewGrid);
    action->setObjectName(u"PrintAction"_s);
    connect(action, &QAction::triggered, &view, [&view] { Guarded([&view] { Execute(view); }); });
    view.DataViewGrid->addAction(action);
    return action;
}

void Tfrm_Print::PlaceControls()
{
    Preview->setObjectName(u"Preview"_s);
    SpinEdit1->setObjectName(u"SpinEdit1"_s);
    Label1->setObjectName(u"Label1"_s);
    Label1->setWordWrap(true);
    Label1->setTextFormat(Qt::PlainText);
    ProgressBar1->setObjectName(u"ProgressBar1"_s);
    ProgressBar1->setAccessibleName(u"进度"_s);
    ProgressBar1->setTextVisible(false);
    Button1->setToolTip(u"Ctrl+P"_s);
    Button2->setToolTip(u"Ctrl+S"_s);
    Button3->setToolTip(u"Esc"_s);
    Button5->setToolTip(u"F5"_s);
    SpinEdit1->setToolTip(u"PageUp、PageDown"_s);
    ComboBox6->setToolTip(u"Ctrl+加号、减号、0"_s);
    auto* panel = new QWidget(this);
    panel->setFixedWidth(Scaled(*this, kPanelWidth));
    auto* box = new QGridLayout(panel);
    box->setContentsMargins(0, 0, 0, 0);
    box->setVerticalSpacing(4);
    auto* ways = new QHBoxLayout;
    ways->setSpacing(6);
    ways->addWidget(Button1);
    ways->addWidget(Button2);
    box->addLayout(ways, 0, 0, 1, 2);
    box->addWidget(Boxes, 1, 0, 1, 2);
    int row = 2;
    const auto add = [&](QWidget* control, const QString& label) {
        box->addWidget(LabelFor(control, label, panel), row, 0);
        box->addWidget(control, row++, 1);
    };
    add(SpinEdit1, u"页(&G)"_s);
    add(ComboBox6, u"缩放(&M)"_s);
    box->addWidget(Label1, row++, 0, 1, 2);
    box->addWidget(ProgressBar1, row++, 0, 1, 2);
    box->addWidget(Button5, row++, 0, 1, 2);
    box->addWidget(Button4, row++, 0, 1, 2);
    box->setRowStretch(row++, 1);
    box->addWidget(Button3, row, 1);
    box->setColumnStretch(1, 1);
    auto* sides = new QHBoxLayout(this);
    sides->addWidget(Preview, 1);
    sides->addWidget(panel);
}

// The rows may go or change under the window: by a timer of the screen, or because the screen is closed.
void Tfrm_Print::WatchList()
{
    const TClientDataSetEx* rows = view_->DataViewGrid->DataSet();
    connect(rows, &TClientDataSetEx::DataReset, this, &Tfrm_Print::Outdated);
    connect(rows, &TClientDataSetEx::RowChanged, this, &Tfrm_Print::Outdated);
    connect(rows, &TClientDataSetEx::RowInserted, this, &Tfrm_Print::Outdated);
    connect(rows, &TClientDataSetEx::RowRemoved, this, &Tfrm_Print::Outdated);
    connect(view_, &QObject::destroyed, this, [this] {
        view_ = nullptr;
        Outdated();
        if (!asking_)
            Close();
    });
}

void Tfrm_Print::MakePages()
{
    if (!view_ || job_ || !view_->DataViewGrid->DataSet())
        return;
    const auto* words = view_->findChild<TCriteriaWords*>(QString(), Qt::FindDirectChildrenOnly);
    const int page = Preview->Page();
    Preview->SetPages(nullptr);
    pages_ = std::make_unique<TListPages>(*view_->DataViewGrid, *view_->DataViewPrint, Boxes->Options(),
        TPageWords{ListTitle(*view_), words ? words->Text() : QString(), Printed()});
    Preview->SetPages(pages_.get(), u"没有可以打印的行"_s);
    {
        const QSignalBlocker still(SpinEdit1);
        SpinEdit1->setRange(1, qMax(1, pages_->Count()));
    }
    SpinEdit1->setSuffix(u" / %1"_s.arg(pages_->Count()));
    Preview->ShowPage(page);
    outdated_ = false;
    Button4->hide();
    ShowPageCount();
    ShowBusy(false);
}

void Tfrm_Print::ShowPageCount()
{
    QString text = u"共 %L1 页"_s.arg(pages_->Count());
    if (pages_->Across() > 1)
        text += u"，左右 %1 页接成一张表"_s.arg(pages_->Across());
    if (pages_->Scale() < 1)
        text += u"，缩到 %1%"_s.arg(qRound(pages_->Scale() * 100));
    if (pages_->Scale() < 1 && pages_->Across() > 1)
        text += u"。再小就看不清了，可以隐藏几列，或者换大的纸"_s;
    Label1->setText(text + u"。"_s);
}

void Tfrm_Print::Outdated()
{
    if (std::exchange(outdated_, true))
        return;
    const QString stopped = job_ ? u"打印停了，没有打完。"_s : QString();
    if (job_)
        StopJob();
    Preview->Freeze();
    Label1->setText(stopped + u"列表在预览打开以后变了，这里是以前的样子。按“刷新”(F5) 按现在的行重排。"_s);
    ShowBusy(false);
}

void Tfrm_Print::ShowBusy(bool busy)
{
    const bool ready = !busy && !outdated_ && pages_ && pages_->Count() > 0;
    Button1->setEnabled(ready);
    Button2->setEnabled(ready);
    Boxes->setEnabled(!busy && !outdated_);
    Button5->setVisible(outdated_);
    ProgressBar1->setVisible(busy);
    Button3->setText(busy ? u"取消(&N)"_s : u"关闭(&C)"_s);
}

// After a dialog over this window: the list may have gone meanwhile.
bool Tfrm_Print::Asked(const std::function<bool()>& dialog)
{
    asking_ = true;
    const bool confirmed = dialog();
    asking_ = false;
    if (!view_)
        Close();
    return confirmed && view_ && !outdated_;
}

void Tfrm_Print::Button1Click()
{
    if (!Button1->isEnabled())
        return;
    if (!HasPrinter()) {
        if (Asked([this] { return AskYesNo(kNoPrinter, Caption()); }))
            Button2Click();
        return;
    }
    std::unique_ptr<QPrinter> printer;
    const bool chosen = Asked([&] {
        printer = AskPrinter(this, pages_->Paper(), ListTitle(*view_), pages_->Count());
        return printer != nullptr;
    });
    if (!chosen)
        return;
    if (Boxes->Take(printer->pageLayout()))
        MakePages();
    printer->setPageMargins(pages_->Paper().margins(), pages_->Paper().units());
    const auto [first, last] = ChosenPages(*printer, pages_->Count(), Preview->Page());
    path_.clear();
    const QString name = printer->printerName();
    Start(NewPrinterTarget(std::move(printer)), first, last,
        u"%L1 页已送到打印机“%2”。"_s.arg(last - first + 1).arg(name));
}

void Tfrm_Print::Button2Click()
{
    if (!Button2->isEnabled())
        return;
    QString path;
    const bool chosen = Asked([&] {
        path = AskFile(this, Caption(), ProposedFile(ListTitle(*view_), u".pdf"), u"PDF 文件 (*.pdf)"_s);
        return !path.isEmpty();
    });
    if (chosen)
        WritePdf(path);
}

void Tfrm_Print::WritePdf(const QString& path)
{
    path_ = path;
    Start(NewPdfTarget(path, pages_->Paper(), ListTitle(*view_)), 0, pages_->Count() - 1,
        u"已写入 %L1 页：%2"_s.arg(pages_->Count())
            .arg(QDir::toNativeSeparators(QFileInfo(path).absoluteFilePath())));
    KeepFolder(QFileInfo(path).absolutePath());
}

void Tfrm_Print::Button4Click()
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(path_));
}

void Tfrm_Print::Button5Click()
{
    if (!view_ || !outdated_)
        return;
    const TClientDataSetEx* rows = view_->DataViewGrid->DataSet();
    if (!rows || !rows->Active())
        return;
    Boxes->OfferRows(*view_->DataViewGrid);
    MakePages();
}

void Tfrm_Print::Start(std::unique_ptr<TPrintTarget> target, int first, int last, const QString& done)
{
    Boxes->Keep();
    done_ = done;
    Button4->hide();
    ProgressBar1->setRange(0, last - first + 1);
    ProgressBar1->setValue(0);
    Label1->setText(u"正在打印…"_s);
    job_ = std::make_unique<TPrintJob>(*pages_, std::move(target), first, last);
    connect(job_.get(), &TPrintJob::Advanced, this, [this](int pages) {
        ProgressBar1->setValue(pages);
        Label1->setText(u"正在打印：%L1 / %L2 页"_s.arg(pages).arg(ProgressBar1->maximum()));
    });
    connect(job_.get(), &TPrintJob::Finished, this, &Tfrm_Print::Finished);
    ShowBusy(true);
}

void Tfrm_Print::Finished(const QString& failure)
{
    job_.release()->deleteLater();
    ShowBusy(false);
    ProgressBar1->setValue(ProgressBar1->maximum());
    if (!failure.isEmpty()) {
        ShowPageCount();
        ShowFailure(failure, Caption());
        return;
    }
    Label1->setText(done_);
    Button4->setVisible(!path_.isEmpty());
}

void Tfrm_Print::StopJob()
{
    const int pages = ProgressBar1->value();
    const bool toFile = !path_.isEmpty();
    job_.reset();
    ShowBusy(false);
    Label1->setText(
        toFile ? u"已取消，没有写入文件。"_s : u"已取消。已经送到打印机的 %L1 页收不回来。"_s.arg(pages));
}

bool Tfrm_Print::FormKeyDown(QKeyEvent* event)
{
    const int page = Preview->Page();
    const int zoom = ComboBox6->currentIndex();
    const std::pair<int, std::function<void()>> keys[] = {
        {Qt::Key_Escape, [this] { Button3->click(); }},
        {Qt::Key_F5, [this] { Button5Click(); }},
        {Qt::Key_PageUp, [&] { Preview->ShowPage(page - 1); }},
        {Qt::Key_PageDown, [&] { Preview->ShowPage(page + 1); }},
        {kControl + Qt::Key_Home, [this] { Preview->ShowPage(0); }},
        {kControl + Qt::Key_End, [this] { Preview->ShowPage(SpinEdit1->maximum() - 1); }},
        {kControl + Qt::Key_P, [this] { Button1->click(); }},
        {kControl + Qt::Key_S, [this] { Button2->click(); }},
        {kControl + Qt::Key_Plus,
            [&] { ComboBox6->setCurrentIndex(qMin(zoom + 1, ComboBox6->count() - 1)); }},
        {kControl + Qt::Key_Equal,
            [&] { ComboBox6->setCurrentIndex(qMin(zoom + 1, ComboBox6->count() - 1)); }},
        {kControl + Qt::Key_Minus, [&] { ComboBox6->setCurrentIndex(qMax(zoom - 1, 0)); }},
        {kControl + Qt::Key_0, [this] { ComboBox6->setCurrentIndex(0); }},
    };
    const int pressed = int(event->modifiers() & Qt::ControlModifier) | event->key();
    const auto found = std::ranges::find(keys, pressed, [](const auto& key) { return key.first; });
    if (found == std::end(keys))
        return false;
    found->second();
    return true;
}

TCloseAction Tfrm_Print::FormClose()
{
    job_.reset();
    Preview->SetPages(nullptr);
    pages_.reset();
    return TCloseAction::Free;
}

void Tfrm_Print::showEvent(QShowEvent* event)
{
    TForm::showEvent(event);
    Preview->setFocus();
    // An answer given beforehand is the PDF's name; nobody there to give one closes the form.
    QTimer::singleShot(0, this, [this] {
        QStringList answer;
        if (Application->TakeAnswer(answer)) {
            RunHandler(this, [&] { WritePdf(answer.value(0)); });
            if (job_)
                connect(job_.get(), &TPrintJob::Finished, this, &Tfrm_Print::Close, Qt::QueuedConnection);
            else
                Close();
        } else if (Application->Unattended) {
            Close();
        }
    });
}
