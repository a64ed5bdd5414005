// The screens on a million orders: from the menu to painted against an empty window, and the centres' query,
// which reads the waybills as well, against the order query of the same orders.
#include "bench/system/Measure.h"
#include "host/Host.h"
#include "host/LoginWindow.h"
#include "host/MainForm.h"
#include "runtime/ScreenTable.h"
#include "runtime/data/ClientDataSet.h"
#include "runtime/ui/DBControls.h"
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

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    ApplyStyle(application);
    QApplication::setQuitOnLastWindowClosed(false);
    if (argc < 2) {
        std::fputs("usage: bench_screens CACHE_FOLDER [SIZE]\n", stderr);
        return 1;
    }
    THostOptions options;
    const QString size = QCoreApplication::arguments().value(2, u"large"_s);
    options.dataDir = QCoreApplication::arguments()[1] + u'/' + size;
    options.demo = size;
    options.now = kNow;
    try {
        Desk desk(options);
        PrintHead();
        BenchOpening(desk);
        BenchJoinedColumns(desk);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_screens: %s\n", error.what());
        return 1;
    }
    return 0;
}
