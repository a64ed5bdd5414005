#include "framework/FilterPane.h"
#include "framework/print/PagePreview.h"
#include "framework/print/frm_Print.h"
#include "tests/framework/ProbeScreen.h"

#include <QFile>
#include <QPdfWriter>
#include <QPrinterInfo>
#include <QProcess>
#include <QTabWidget>
#include <QTest>

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <csignal>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

// "rows first-last of columns" of each page; totals as "+n", frozen columns before a bar.
QStringList Pages(const TPagedList& request)
{
    const TPageLayout layout(request);
    QStringList pages;
    for (int page = 0; page < layout.Count(); ++page) {
        const TPagePart part = layout.Page(page);
        QString text = u"%1-%2"_s.arg(part.firstRow).arg(part.firstRow + part.rows - 1);
        if (part.totals > 0)
            text += u"+%1"_s.arg(part.totals);
        for (size_t i = 0; i < part.columns.size(); ++i) {
            const TPageColumn& column = part.columns[i];
            text += (int(i) == part.frozen && i > 0 ? u"|%1:%2"_s : u" %1:%2"_s)
                        .arg(column.column)
                        .arg(column.width);
        }
        pages += text;
    }
    return pages;
}

QString Output(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    EXPECT_TRUE(process.waitForFinished()) << program.toStdString();
    return QString::fromUtf8(process.readAllStandardOutput());
}

// A printer that goes away after its second page.
class GonePrinter final : public TPrintTarget {
public:
    explicit GonePrinter(const QString& path)
        : writer_(path)
    {
        writer_.setResolution(kPageUnits);
    }
    QPagedPaintDevice& Device() override { return writer_; }
    void Check() override { }
    bool Finish() override
    {
        ADD_FAILURE() << "not all pages have gone";
        return true;
    }

private:
    class Writer : public QPdfWriter {
    public:
        using QPdfWriter::QPdfWriter;
        bool newPage() override { return ++pages < 2 && QPdfWriter::newPage(); }
        int pages = 0;
    } writer_;
};

// No file may grow beyond a block: as near as a test comes to a full disk.
class SmallFiles {
public:
    SmallFiles()
    {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit small{4096, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
    }
    ~SmallFiles()
    {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, told_);
    }
    Q_DISABLE_COPY_MOVE(SmallFiles)

private:
    rlimit before_{};
    void (*told_)(int) = std::signal(SIGXFSZ, SIG_IGN);
};

class ListPrint : public ::testing::Test {
protected:
    ListPrint()
    {
        host.SetValue(u"user"_s, u"hefei1"_s);
        screen = MakeScreen<Tfrm_Probe>(&host.App);
        screen->Edit1->setAccessibleName(u"仓库编号"_s);
        screen->Edit1->setText(u"W7"_s);
        auto* pages = new QTabWidget(screen);
        pages->addTab(new QWidget, u"详细数据"_s);
        pages->addTab(new TFilterPane(pages, {screen->Edit1}), u"查询条件"_s);
    }
    void Open(int rows, const QString& extra = u"好"_s)
    {
        std::vector<std::vector<wire::Value>> table;
        for (int row = 0; row < rows; ++row)
            table.push_back({u"D%1"_s.arg(row), u"备注%1"_s.arg(row), extra});
        screen->cds->Close();
        screen->cds->SetCommandText(u"select %1"_s.arg(rows));
        screen->cds->OpenRows(
            MakeRows({{.name = u"ID"_s}, {.name = u"NOTE"_s}, {.name = u"EXTRA"_s}}, table));
    }
    // Opens the form, works it and closes it.
    void WithForm(const std::function<void(Tfrm_Print&)>& work)
    {
        host.App.Unattended = false;
        bool worked = false;
        QTimer::singleShot(0, [&] {
            Tfrm_Print* form = nullptr;
            for (QWidget* window : QApplication::topLevelWidgets())
                form = form ? form : qobject_cast<Tfrm_Print*>(window);
            ASSERT_TRUE(form);
            const QPointer<Tfrm_Print> open = form;
            work(*form);
            worked = true;
            if (open)
                open->Close();
        });
        Tfrm_Print::Execute(*screen->DataView1);
        EXPECT_TRUE(worked);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    static QString Said(const Tfrm_Print& form) { return form.findChild<QLabel*>(u"Label1"_s)->text(); }
    QString File(const QString& name) const { return folder.filePath(name); }
    QStringList Files() const
    {
        return QDir(folder.path()).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
    }
    TPageOptions Options() const
    {
        return {.paper = QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait, {20, 20, 20, 20},
                    QPageLayout::Millimeter)};
    }

    TProbeHost host;
    Tfrm_Probe* screen;
    QTemporaryDir folder;
};

} // namespace

TEST(PageLayout, EveryRowAndColumnHasItsPage)
{
    const TPagedList plain{
        .rows = 5, .totals = 2, .rowHeight = 10, .titleHeight = 20, .room = {100, 60}, .widths = {40, 40}};
    const auto with = [&plain](const std::function<void(TPagedList&)>& change) {
        TPagedList request = plain;
        change(request);
        return Pages(request).join(u" / "_s).toStdString();
    };
    struct {
        const char* what;
        std::function<void(TPagedList&)> change;
        QString pages;
    } const cases[] = {
        {"totals at the end", [](auto&) {}, u"0-3 0:40 1:40 / 4-4+2 0:40 1:40"_s},
        {"totals over two pages", [](auto& r) { r.rows = 7; },
            u"0-3 0:40 1:40 / 4-6+1 0:40 1:40 / 7-6+1 0:40 1:40"_s},
        {"a full page", [](auto& r) { r.rows = 2; }, u"0-1+2 0:40 1:40"_s},
        {"no rows", [](auto& r) { r.rows = 0; }, QString()},
        {"a row higher than the page", [](auto& r) { r.rowHeight = 90, r.rows = 2, r.totals = 0; },
            u"0-0 0:40 1:40 / 1-1 0:40 1:40"_s},
        {"across, then down",
            [](auto& r) {
                r.widths = {40, 40, 40};
            },
            u"0-3 0:40 1:40 / 0-3 2:40 / 4-4+2 0:40 1:40 / 4-4+2 2:40"_s},
        {"frozen on each",
            [](auto& r) {
                r.widths = {30, 60, 60}, r.frozen = 1, r.rows = 1;
            },
            u"0-0+2 0:30|1:60 / 0-0+2 0:30|2:60"_s},
        {"too much frozen",
            [](auto& r) {
                r.widths = {60, 60}, r.frozen = 1, r.rows = 1;
            },
            u"0-0+2 0:60 / 0-0+2 1:60"_s},
        {"all frozen",
            [](auto& r) {
                r.widths = {30, 30}, r.frozen = 2, r.rows = 1;
            },
            u"0-0+2 0:30 1:30"_s},
        {"wider than the page",
            [](auto& r) {
                r.widths = {30, 500, 20}, r.frozen = 1, r.rows = 1;
            },
            u"0-0+2 0:30|1:70 / 0-0+2 0:30|2:20"_s},
        {"shrunk to fit",
            [](auto& r) {
                r.widths = {50, 50, 25}, r.shrink = true, r.rows = 1;
            },
            u"0-0+2 0:50 1:50 2:25"_s},
        {"shrunk to half, the rest over",
            [](auto& r) {
                r.widths = {150, 150}, r.shrink = true, r.rows = 1;
            },
            u"0-0+2 0:150 / 0-0+2 1:150"_s},
    };
    for (const auto& row : cases)
        EXPECT_EQ(with(row.change), row.pages.toStdString()) << row.what;
    EXPECT_DOUBLE_EQ(
        TPageLayout({.rows = 1, .room = {100, 60}, .widths = {125}, .shrink = true}).Scale(), 0.8);
}

TEST_F(ListPrint, AnotherToolReadsInThePdfWhatTheListShows)
{
    Open(100, u"包河区屯溪路一百九十三号院内三栋二单元"_s);
    screen->Edit1->setText(u"typed afterwards"_s);
    const QString path = File(u"list.pdf"_s);
    host.App.QueueAnswer({path});
    screen->DataView1->DataViewGrid->findChild<QAction*>(u"PrintAction"_s)->trigger();
    ASSERT_EQ(Files(), QStringList(u"list.pdf"_s));
    const QStringList pages = Output(u"pdftotext"_s, {u"-layout"_s, path, u"-"_s})
                                  .replace(u'⻚', u'页') // one picture in the font, two letters
                                  .split(u'\f', Qt::SkipEmptyParts);
    ASSERT_GT(pages.size(), 2);
    for (qsizetype i = 0; i < pages.size(); ++i) {
        const QString& page = pages[i];
        for (const QString& words : {u"试验"_s, u"仓库编号 W7"_s, u"编号"_s, u"备注"_s,
                 u"第 %1 页，共 %2 页"_s.arg(i + 1).arg(pages.size())})
            EXPECT_TRUE(page.contains(words)) << words.toStdString() << '\n' << page.toStdString();
    }
    const QString all = pages.join(QString());
    for (int row = 0; row < 100; ++row)
        EXPECT_EQ(all.count(QRegularExpression(u"\\bD%1\\b"_s.arg(row))), 1) << row;
    EXPECT_FALSE(all.contains(u"屯溪路"_s)) << "one line of text, cut short";
    EXPECT_TRUE(pages.last().contains(u"记录数"_s));
    EXPECT_FALSE(pages.first().contains(u"记录数"_s)) << "totals at the end";
    const QStringList fonts = Output(u"pdffonts"_s, {path}).split(u'\n', Qt::SkipEmptyParts).mid(2);
    ASSERT_FALSE(fonts.isEmpty());
    for (const QString& font : fonts)
        EXPECT_TRUE(font.contains(QRegularExpression(u" yes +(yes|no) +yes "_s))) << font.toStdString();

    // The file's picture is that of the preview, seen from some way off.
    Output(u"pdftoppm"_s,
        {u"-r"_s, u"96"_s, u"-f"_s, u"2"_s, u"-singlefile"_s, u"-png"_s, path, File(u"page"_s)});
    WithForm([&](Tfrm_Print& form) {
        auto& preview = *form.findChild<TPagePreview*>();
        preview.ShowPage(1);
        ASSERT_TRUE(QTest::qWaitFor([&] { return preview.IsPainted(1); }));
        EXPECT_FALSE(preview.IsPainted(4)) << "what nobody looks at is not painted";
        const QSize far(40, 28);
        const QImage shown = preview.Picture(1).scaled(far, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        const QImage file =
            QImage(File(u"page.png"_s)).scaled(far, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        ASSERT_FALSE(file.isNull());
        int inked = 0;
        for (int y = 0; y < far.height(); ++y) {
            for (int x = 0; x < far.width(); ++x) {
                EXPECT_NEAR(qGray(shown.pixel(x, y)), qGray(file.pixel(x, y)), 40) << x << ' ' << y;
                inked += qGray(file.pixel(x, y)) < 240;
            }
        }
        EXPECT_GT(inked, far.width());
    });
}

TEST_F(ListPrint, WhatGoesWrongIsSaidAndLeavesNoFile)
{
    Open(0);
    Tfrm_Print::Execute(*screen->DataView1);
    EXPECT_EQ(host.MainForm.Notices, QStringList(u"列表里没有行，没有可以打印的。"_s));

    Open(300);
    const TDataView& view = *screen->DataView1;
    TListPages pages(*view.DataViewGrid, *view.DataViewPrint, Options(), {});
    const auto failure = [&](std::unique_ptr<TPrintTarget> target) {
        TPrintJob job(pages, std::move(target), 0, pages.Count() - 1);
        std::optional<QString> said;
        QObject::connect(&job, &TPrintJob::Finished, &job, [&](const QString& text) { said = text; });
        EXPECT_TRUE(QTest::qWaitFor([&] { return said.has_value(); }));
        return said.value_or(QString());
    };
    const QPageLayout paper = Options().paper;
    EXPECT_TRUE(failure(std::make_unique<GonePrinter>(File(u"spool"_s)))
                    .startsWith(u"打印机在第 2 页停了。请看它是否开着"_s));
    QFile::remove(File(u"spool"_s));
    EXPECT_THROW(NewPdfTarget(File(u"none/a.pdf"_s), paper, {}), wire::Error);
    {
        const SmallFiles full;
        EXPECT_TRUE(failure(NewPdfTarget(File(u"a.pdf"_s), paper, {})).startsWith(u"不能写入文件"_s))
            << "a full disk";
    }
    EXPECT_EQ(Files(), QStringList());
    Open(20'000); // more than is painted before anybody can give it up
    {
        TListPages many(*view.DataViewGrid, *view.DataViewPrint, Options(), {});
        TPrintJob given(many, NewPdfTarget(File(u"a.pdf"_s), paper, {}), 0, many.Count() - 1);
        QTest::qWait(1);
    }
    EXPECT_EQ(Files(), QStringList()) << "given up";

    const auto click = [](Tfrm_Print& form, const QString& name) {
        form.findChild<QPushButton*>(name)->click();
    };
    WithForm([&](Tfrm_Print& form) {
        EXPECT_TRUE(Said(form).startsWith(u"共 "_s));
        screen->cds->SetFieldAndPost(u"NOTE", u"改了"_s);
        EXPECT_TRUE(Said(form).startsWith(u"列表在预览打开以后变了"_s));
        EXPECT_FALSE(form.findChild<QPushButton*>(u"Button1"_s)->isEnabled());
        Open(2);
        QTest::keyClick(&form, Qt::Key_F5);
        EXPECT_EQ(Said(form), u"共 1 页。"_s);
        EXPECT_TRUE(form.findChild<QPushButton*>(u"Button1"_s)->isEnabled());
        if (!QPrinterInfo::availablePrinterNames().isEmpty())
            return; // a desk with printers: their dialog would come
        host.App.QueueAnswer({u"no"_s});
        click(form, u"Button1"_s);
        EXPECT_TRUE(host.TakeMessages().join(QString()).startsWith(u"这台电脑上没有打印机。"_s));
    });
    WithForm([&](Tfrm_Print&) { delete std::exchange(screen, nullptr); });
}
