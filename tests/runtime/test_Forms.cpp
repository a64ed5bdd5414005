#include "runtime/ui/Application.h"
#include "runtime/ui/Forms.h"
#include "tests/runtime/DataSetRows.h"
#include "wire/Error.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMainWindow>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QTest>
#include <QTimer>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

class Screen1 : public TForm {
public:
    Screen1(QStringList& happenings, const QString& caption)
        : TForm(Application, caption)
        , log(happenings)
        , edit(new QLineEdit(this))
    {
        SetCaption(caption);
        FormStyle = TFormStyle::MDIChild;
        OpenMaximized = true;
    }
    bool FormKeyDown(QKeyEvent* event) override
    {
        log += u"key"_s;
        return event->key() == Qt::Key_Return;
    }
    TCloseAction onClose = TCloseAction::Free;
    QStringList& log;
    QLineEdit* edit;

protected:
    void FormShow() override { log += u"show "_s + Caption(); }
    void FormActivate() override { log += u"activate "_s + Caption(); }
    TCloseAction FormClose() override
    {
        log += u"close "_s + Caption();
        return onClose;
    }
};

class FormsTest : public testing::Test {
protected:
    FormsTest()
    {
        frame.setCentralWidget(new QMdiArea);
        Application->SetMainForm(&frame);
        Application->ClearShownMessages();
        frame.resize(800, 600);
        frame.show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&frame));
    }
    ~FormsTest() override
    {
        for (TForm* form : std::vector<TForm*>(Screen->Forms()))
            delete form;
        Application->SetMainForm(nullptr);
        Application->OnException = {};
    }
    QMdiArea& Area() { return *qobject_cast<QMdiArea*>(frame.centralWidget()); }
    static void DeleteLater() { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }

    QMainWindow frame;
    QStringList log;
};

TEST_F(FormsTest, AnMdiChildOpensMaximisedAndIsActivatedInTurn)
{
    auto* a = new Screen1(log, u"a"_s);
    a->Show();
    auto* b = new Screen1(log, u"b"_s);
    b->Show();
    EXPECT_EQ(log, (QStringList{u"show a"_s, u"activate a"_s, u"show b"_s, u"activate b"_s}));
    ASSERT_EQ(Area().subWindowList().size(), 2);
    const QMdiSubWindow* window = Area().activeSubWindow();
    ASSERT_NE(window, nullptr);
    EXPECT_TRUE(window->isMaximized());
    EXPECT_TRUE(window->windowFlags() & Qt::WindowMaximizeButtonHint);
    EXPECT_FALSE(window->windowFlags() & Qt::WindowMinimizeButtonHint);
    EXPECT_EQ(Screen->ActiveForm(), b);
    log.clear();
    a->Show();
    a->Show();
    EXPECT_EQ(log, QStringList{u"activate a"_s}) << "brought forward, not shown anew";
    EXPECT_EQ(Screen->ActiveForm(), a);
    EXPECT_TRUE(Area().activeSubWindow()->isMaximized());
    EXPECT_EQ(Screen->Forms(), (std::vector<TForm*>{a, b}));
}

TEST_F(FormsTest, TheCloseButtonAsksAndARefusalKeepsTheScreen)
{
    QPointer<Screen1> a = new Screen1(log, u"a"_s);
    a->Show();
    QPointer<QMdiSubWindow> window = Area().subWindowList().front();
    a->onClose = TCloseAction::None;
    log.clear();
    EXPECT_FALSE(window->close());
    EXPECT_FALSE(a->Close());
    EXPECT_EQ(log, (QStringList{u"close a"_s, u"close a"_s}));
    EXPECT_TRUE(a->isVisible());
    EXPECT_EQ(Screen->Forms().size(), 1u);

    a->onClose = TCloseAction::Free;
    EXPECT_TRUE(window->close());
    EXPECT_TRUE(Screen->Forms().empty()) << "gone for everybody at once";
    EXPECT_EQ(Screen->ActiveForm(), nullptr);
    auto* again = new Screen1(log, u"a"_s);
    again->Show();
    EXPECT_TRUE(again->isVisible());
    DeleteLater();
    EXPECT_EQ(a, nullptr);
    EXPECT_EQ(window, nullptr);
    EXPECT_TRUE(again->isVisible());
    EXPECT_EQ(Area().subWindowList().size(), 1);
}

TEST_F(FormsTest, AnErrorWhileClosingIsToldAndKeepsTheScreen)
{
    struct Failing : Screen1 {
        using Screen1::Screen1;
        TCloseAction FormClose() override { throw wire::Error(wire::ErrorKind::Storage, u"磁盘已满"_s); }
    };
    auto* form = new Failing(log, u"f"_s);
    form->Show();
    EXPECT_FALSE(form->Close());
    ASSERT_EQ(Application->ShownMessages().size(), 1u);
    EXPECT_EQ(Application->ShownMessages()[0].text, u"详细：磁盘已满"_s);
    EXPECT_TRUE(form->isVisible());
}

TEST_F(FormsTest, AScreenLargerThanItsWindowIsScrolledToWhereTheFocusGoes)
{
    const QSize before = frame.size();
    std::vector<Screen1*> screens;
    for (const QString& name : {u"a"_s, u"b"_s, u"c"_s}) {
        screens.push_back(new Screen1(log, name));
        screens.back()->setMinimumSize(1000, 900);
        screens.back()->edit->move(850, 860);
        screens.back()->Show();
    }
    EXPECT_EQ(frame.size(), before);
    auto* first = new QLineEdit(screens.back());
    first->show();
    QLineEdit* last = screens.back()->edit;
    for (const auto& [focused, hidden] : {std::pair(first, last), std::pair(last, first)}) {
        focused->setFocus();
        EXPECT_EQ(focused->visibleRegion().boundingRect(), focused->rect());
        EXPECT_TRUE(hidden->visibleRegion().isEmpty());
    }

    Area().tileSubWindows();
    EXPECT_EQ(frame.size(), before) << "side by side they stay inside the frame";
    for (const QMdiSubWindow* window : Area().subWindowList())
        EXPECT_TRUE(Area().viewport()->rect().contains(window->geometry()));
}

TEST_F(FormsTest, KeyPreviewSeesEachKeyOnceBeforeTheControl)
{
    auto* a = new Screen1(log, u"a"_s);
    auto* ignoring = new QWidget(a); // leaves its keys to its parents
    ignoring->setFocusPolicy(Qt::StrongFocus);
    a->Show();
    log.clear();
    a->edit->setFocus();
    QTest::keyClicks(a->edit, u"x"_s);
    EXPECT_TRUE(log.isEmpty()) << "off unless asked for";
    a->KeyPreview = true;
    QTest::keyClicks(a->edit, u"y"_s);
    QTest::keyClick(a->edit, Qt::Key_Return);
    EXPECT_EQ(log, (QStringList{u"key"_s, u"key"_s}));
    EXPECT_EQ(a->edit->text(), u"xy"_s);
    QTest::keyClick(ignoring, Qt::Key_F9);
    EXPECT_EQ(log.size(), 3);
}

TEST_F(FormsTest, TheApplicationFreesItsScreens)
{
    TApplication* const shared = Application;
    QPointer<Screen1> a;
    {
        TApplication own;
        own.SetMainForm(&frame);
        Application = &own;
        a = new Screen1(log, u"a"_s);
        a->Show();
    }
    EXPECT_EQ(a, nullptr);
    EXPECT_EQ(Application, nullptr);
    Application = shared;
    DeleteLater();
    EXPECT_TRUE(Area().subWindowList().isEmpty());
}

TEST_F(FormsTest, QueuedAnswersServeBoxesInOrderAndAllIsRecorded)
{
    Application->QueueAnswer({u"cancel"_s});
    Application->QueueAnswer({u"yes"_s});
    Application->QueueAnswer({u"驳回"_s});
    Application->QueueAnswer({u"cancel"_s});
    using enum TMessageResult;
    EXPECT_EQ(
        Application->MessageBox(u"一"_s, u"甲"_s, TMessageIcon::Question, TMessageButtons::OkCancel), Cancel);
    EXPECT_EQ(
        Application->MessageBox(u"二"_s, u"甲"_s, TMessageIcon::Question, TMessageButtons::YesNo, true), Yes);
    bool confirmed = false;
    EXPECT_EQ(Application->InputBox(u"撤消原因"_s, u"请输入"_s, u"默认"_s, &confirmed), u"驳回"_s);
    EXPECT_TRUE(confirmed);
    EXPECT_EQ(Application->InputBox(u"撤消原因"_s, u"请输入"_s, u"默认"_s, &confirmed), u"默认"_s);
    EXPECT_FALSE(confirmed);
    EXPECT_EQ(
        Application->MessageBox(u"三"_s, u"甲"_s, TMessageIcon::Question, TMessageButtons::OkCancel, true),
        Cancel)
        << "unattended and unanswered: the default button";
    ASSERT_EQ(Application->ShownMessages().size(), 5u);
    EXPECT_EQ(Application->ShownMessages()[1].text, u"二"_s);
    EXPECT_EQ(Application->ShownMessages()[1].icon, TMessageIcon::Question);
    QStringList left;
    EXPECT_FALSE(Application->TakeAnswer(left));
    for (int box = 0; box < 2'000; ++box)
        Application->NoteShown(QString::number(box), u"甲"_s, TMessageIcon::None);
    EXPECT_LE(Application->ShownMessages().size(), 1'000u) << "a client runs for weeks";
    EXPECT_EQ(Application->ShownMessages().back().text, u"1999"_s);
}

TEST_F(FormsTest, ARealBoxShowsTheTextAsItIs)
{
    Application->Unattended = false;
    const QString text = u"详细：<b>原样</b>\n第二行"_s;
    QString shown, focused;
    bool busyMeanwhile = true;
    QTimer::singleShot(0, &frame, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr);
        shown = box->textFormat() == Qt::PlainText ? box->text() : QString();
        focused = box->defaultButton()->text();
        busyMeanwhile = QGuiApplication::overrideCursor() != nullptr;
        QTest::keyClick(box, Qt::Key_Escape);
    });
    {
        const BusyCursor busy;
        EXPECT_EQ(
            Application->MessageBox(text, u"t"_s, TMessageIcon::Question, TMessageButtons::OkCancel, true),
            TMessageResult::Cancel);
        EXPECT_EQ(Screen->Cursor(), crBusy);
    }
    Application->Unattended = true;
    EXPECT_EQ(shown, text);
    EXPECT_TRUE(focused.startsWith(u"取消"_s));
    EXPECT_FALSE(busyMeanwhile);
    EXPECT_EQ(Screen->Cursor(), crDefault);
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST_F(FormsTest, ABoxWithALongTextKeepsItsButtonsOnTheScreen)
{
    Application->Unattended = false;
    QString text;
    for (int line = 0; line < 200; ++line)
        text += u"第%1行\n"_s.arg(line);
    QTimer::singleShot(0, &frame, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr);
        EXPECT_LT(box->height(), box->screen()->availableSize().height());
        EXPECT_EQ(box->text(), text);
        QTest::keyClick(box, Qt::Key_Escape);
    });
    Application->MessageBox(text, u"t"_s, TMessageIcon::Error);
    Application->Unattended = true;
}

TEST_F(FormsTest, GuardedSortsOutFailures)
{
    QStringList told;
    Application->OnException = [&](const QString& message) { told += message; };
    Guarded([] { Abort(); });
    EXPECT_TRUE(told.isEmpty());
    Guarded([] {
        const BusyCursor outer;
        const BusyCursor inner;
        throw wire::Error(wire::ErrorKind::Data, u"甲"_s);
    });
    EXPECT_EQ(Screen->Cursor(), crDefault);
    Guarded([] { throw std::runtime_error("乙"); });
    EXPECT_EQ(told, (QStringList{u"甲"_s, u"乙"_s}));
    Guarded([] { throw wire::Error(wire::ErrorKind::Data, u"丙"_s); },
        [&](const QString& message) { told = QStringList{message}; });
    EXPECT_EQ(told, QStringList{u"丙"_s});
}

} // namespace
