// The screens on a million orders: from the menu to painted against an empty window, and the centres' query,
// which reads the waybills as well, against the order query of the same orders.
#include "bench/host/Statistics.h"
#include "bench/system/Measure.h"
#include "host/Host.h"
#include "host/LoginWindow.h"
#include "host/MainForm.h"
#include "reports/BarChart.h"
#include "runtime/ScreenTable.h"
#include "runtime/controls/DBControls.h"
#include "runtime/data/ClientDataSet.h"
#include "runtime/ui/Forms.h"
#include "runtime/ui/Style.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

#include <cstdio>
#include <stdexcept>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kRounds = 9;
constexpr double kMostMilliseconds = 100;
constexpr int kLoginMilliseconds = 600'000; // the database may have to be made first
const wire::DateTime kNow = wire::DateTime::FromParts(2026, 11, 20, 15, 30, 0);

class EmptyScreen : public TForm {
public:
    EmptyScreen()
        : TForm(::Application, u"frm_Empty"_s)
    {
        FormStyle = TFormStyle::MDIChild;
        OpenMaximized = true;
    }
};

void WaitFor(const char* what, const std::function<bool()>& condition)
{
    QElapsedTimer waited;
    waited.start();
    while (!condition()) {
        if (waited.hasExpired(kLoginMilliseconds))
            throw std::runtime_error(std::string("waited in vain for ") + what);
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    }
}

template <typename T> T& Control(const QWidget& window, const QString& name)
{
    T* control = window.findChild<T*>(name);
    if (!control)
        throw std::runtime_error("no control " + name.toStdString());
    return *control;
}

class Desk {
public:
    explicit Desk(const THostOptions& options)
        : host_(options)
    {
        ::Application->Unattended = true;
        host_.SetReopening(false);
        host_.Start();
        const TLoginWindow& login = *host_.LoginWindow();
        auto& enter = Control<QPushButton>(login, u"LoginButton"_s);
        WaitFor("the database", [&] { return enter.isEnabled(); });
        Control<QLineEdit>(login, u"AccountEdit"_s).setText(u"benbu"_s);
        Control<QLineEdit>(login, u"PasswordEdit"_s).setText(u"demo"_s);
        enter.click();
        WaitFor("the frame", [this] { return host_.LoggedInForm() && host_.PublishedData().IsLoaded(); });
        host_.MainForm()->resize(1280, 800);
        Paint();
    }

    TForm& Open(const QString& name)
    {
        host_.ExecScreen(name + u"111"_s);
        for (TForm* form : ::Screen->Forms()) {
            if (form->objectName() == name)
                return *form;
        }
        throw std::runtime_error("no screen " + name.toStdString());
    }
    // Milliseconds from asking for the screen to painted.
    double MeasureOpening(const std::function<void()>& open)
    {
        const double elapsed = MillisecondsOf([&] {
            open();
            Paint();
        });
        host_.CloseScreens();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        Paint();
        return elapsed;
    }
    void Paint()
    {
        QCoreApplication::processEvents();
        host_.MainForm()->repaint();
    }

private:
    THost host_;
};

void BenchOpening(Desk& desk)
{
    for (const TScreenInfo& info : ScreenTable()) {
        if (!info.built)
            continue;
        const Comparison opening = Compare(
            kRounds, [&] { return desk.MeasureOpening([&] { desk.Open(info.NameText()); }); },
            [&] { return desk.MeasureOpening([] { (new EmptyScreen)->Show(); }); });
        PrintRow(info.Caption() + u" ("_s + info.NameText() + u") opens on 1,000,000 orders, ms more"_s,
            Milliseconds(opening.subject), u"an empty screen: "_s + Milliseconds(opening.peer),
            opening.subject - opening.peer, kMostMilliseconds);
    }
}

// A search screen on the widest window, set to the one source that both screens ask for alike.
class Search {
public:
    Search(Desk& desk, const QString& name)
        : desk_(desk)
        , screen_(desk.Open(name))
    {
        Control<TDBDateTimeEditEh>(screen_, u"DBDateTimeEditEh1"_s).SetText(kNow.AddDays(-31).ToText());
        Control<TDBDateTimeEditEh>(screen_, u"DBDateTimeEditEh2"_s).SetText(kNow.ToText());
        Control<TDBLookupComboboxEh>(screen_, u"DBLookupComboboxEh2"_s).SetText({});
        Control<TDBComboBoxEh>(screen_, u"DBComboBoxEh2"_s).SetText(u"洛维卡特"_s);
    }
    // Milliseconds from the button to painted.
    double Run()
    {
        screen_.Show();
        desk_.Paint();
        Orders().Close();
        return MillisecondsOf([this] {
            Control<QPushButton>(screen_, u"Button1"_s).click();
            desk_.Paint();
        });
    }
    int Rows() { return Orders().RecordCount(); }

private:
    TClientDataSetEx& Orders()
    {
        auto* orders = screen_.findChild<TClientDataSetEx*>(u"cds"_s);
        return *orders;
    }

    Desk& desk_;
    TForm& screen_;
};

void BenchJoinedColumns(Desk& desk)
{
    Search centre(desk, u"frm_CenterBillQuery"_s);
    Search plain(desk, u"frm_BillQuery"_s);
    const Comparison queries = Compare(
        kRounds, [&] { return centre.Run(); }, [&] { return plain.Run(); });
    if (centre.Rows() != plain.Rows() || plain.Rows() == 0)
        throw std::runtime_error("the two searches found " + std::to_string(centre.Rows()) + " and "
            + std::to_string(plain.Rows()) + " orders");
    PrintRow(u"centres' query of 31 days, with what %1 waybills say, shown"_s.arg(centre.Rows()),
        Milliseconds(queries.subject), u"order query: "_s + Milliseconds(queries.peer), queries.ratio, 2.0);
}

// Both queries of the statistics and their pictures against the same sums in one statement.
void BenchStatistics(Desk& desk, const QString& dataDir)
{
    TForm& screen = desk.Open(u"frm_Collect"_s);
    const wire::DateTime from = kNow.AddDays(-31);
    Control<TDBDateTimeEditEh>(screen, u"DBDateTimeEditEh1"_s).SetText(from.ToText());
    Control<TDBDateTimeEditEh>(screen, u"DBDateTimeEditEh2"_s).SetText(kNow.ToText());
    auto& figures = *screen.findChild<TClientDataSetEx*>(u"cds"_s);
    HandWrittenStatistics peer(dataDir);
    const Comparison statistics = Compare(
        kRounds,
        [&] {
            figures.Close();
            desk.Paint();
            return MillisecondsOf([&] {
                Control<QPushButton>(screen, u"Button1"_s).click();
                desk.Paint();
            });
        },
        [&] { return MillisecondsOf([&] { peer.Run(from, kNow); }); });
    if (figures.RecordCount() != peer.Rows())
        throw std::runtime_error("the statistics have " + std::to_string(figures.RecordCount())
            + " rows, by hand " + std::to_string(peer.Rows()));
    PrintRow(u"statistics of 31 days, %1 rows and two charts, shown"_s.arg(figures.RecordCount()),
        Milliseconds(statistics.subject),
        u"the same sums in one statement, by the C interface: "_s + Milliseconds(statistics.peer),
        statistics.ratio, 1.5);
}

void BenchMonitors(Desk& desk)
{
    for (const QString& name : {u"frm_UnAccept"_s, u"frm_UnRec"_s}) {
        TForm& screen = desk.Open(name);
        auto& sums = *screen.findChild<TClientDataSetEx*>(u"cdsSum"_s);
        const auto query = [&] {
            sums.Close();
            desk.Paint();
            return MillisecondsOf([&] {
                Control<QPushButton>(screen, u"Button1"_s).click();
                desk.Paint();
            });
        };
        const Comparison summary = Compare(kRounds, query, [] { return 1; });
        PrintRow(screen.Caption() + u", summary of %1 rows and its chart, shown"_s.arg(sums.RecordCount()),
            Milliseconds(summary.subject), u"ms"_s, summary.subject, 150);
    }
}

void BenchChart()
{
    constexpr int kSites = 400;
    TChartContent content{
        .title = u"接单是否及时"_s, .series = {u"准时"_s, u"超时"_s, u"未接单"_s}, .shareName = u"准时率"_s};
    for (int site = kSites; site > 0; --site)
        content.bars.push_back({.name = u"安徽合肥%1部"_s.arg(site), .values = {site, site / 2, site / 3}});
    const Comparison painted = Compare(
        kRounds,
        [&] {
            TBarChart chart(nullptr, u"Chart1"_s);
            chart.resize(640, 320);
            return MillisecondsOf([&] {
                TChartContent shown = content;
                shown.bars = WithRestSummed(std::move(shown.bars));
                chart.Show(shown);
                chart.show();
                chart.repaint();
            });
        },
        [] { return 1; });
    PrintRow(u"chart of %1 sites, first paint"_s.arg(kSites), Milliseconds(painted.subject), u"ms"_s,
        painted.subject, 50);
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    ApplyStyle(application);
    QApplication::setQuitOnLastWindowClosed(false);
    if (argc < 2) {
        std::fputs("usage: bench_screens CACHE_FOLDER [SIZE [opening|joined|statistics|monitors|chart …]]\n",
            stderr);
        return 1;
    }
    THostOptions options;
    const QString size = QCoreApplication::arguments().value(2, u"large"_s);
    options.dataDir = QCoreApplication::arguments()[1] + u'/' + size;
    options.demo = size;
    options.now = kNow;
    try {
        const auto wanted = [parts = QCoreApplication::arguments().mid(3)](
                                const QString& part) { return parts.isEmpty() || parts.contains(part); };
        Desk desk(options);
        PrintHead();
        if (wanted(u"opening"_s))
            BenchOpening(desk);
        if (wanted(u"joined"_s))
            BenchJoinedColumns(desk);
        if (wanted(u"statistics"_s))
            BenchStatistics(desk, options.dataDir);
        if (wanted(u"monitors"_s))
            BenchMonitors(desk);
        if (wanted(u"chart"_s))
            BenchChart();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_screens: %s\n", error.what());
        return 1;
    }
    return 0;
}
