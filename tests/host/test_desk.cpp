#include "tests/host/HostFixture.h"

#include "runtime/ScreenTable.h"
#include "runtime/controls/DBControls.h"
#include "runtime/grid/DBGrid.h"
#include "runtime/ui/ActionKeys.h"

#include <QContextMenuEvent>
#include <QMenuBar>
#include <QTabWidget>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>

#include <map>
#include <set>

using namespace Qt::Literals::StringLiterals;

// The host with the module that it is made for.
class DeskTest : public HostTest {
protected:
    void SetUp() override
    {
        HostTest::SetUp();
        UseScreens();
    }
    void Change(THostOptions& options) override { options.dataDir = Folder().filePath(u"desk"_s); }

    static QStringList ScreenNames()
    {
        QStringList names;
        for (const TForm* form : ::Screen->Forms())
            names.append(form->objectName());
        return names;
    }
};

TEST_F(DeskTest, WindowsComeBackToTheAccountThatHadThemOpen)
{
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    EXPECT_EQ(ScreenNames(), QStringList());
    for (const QString& name : {u"frm_BillQuery"_s, u"frm_RecBill"_s, u"frm_BillQuery"_s})
        Open(name);
    EXPECT_TRUE(host->MainForm()->close());

    HostTest::TearDown();
    SetUp();
    ASSERT_TRUE(LogIn(u"hefei2"_s));
    EXPECT_EQ(ScreenNames(), QStringList()) << "another account's desk is its own";
    host->OpenLoginWindow();
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    EXPECT_EQ(ScreenNames(), (QStringList{u"frm_RecBill"_s, u"frm_BillQuery"_s}));
    EXPECT_EQ(::Screen->ActiveForm(), ::Screen->Forms().back()) << "the one last used is in front";
    EXPECT_TRUE(host->CloseScreens());
}

TEST_F(DeskTest, AnEmptyDeskListsTheScreensAndTakesTheKeyboard)
{
    ASSERT_TRUE(LogIn(u"benbu"_s));
    auto* list = host->MainForm()->findChild<QTreeWidget*>(u"StartList"_s);
    ASSERT_TRUE(list->isVisible());
    EXPECT_EQ(list->currentItem()->text(1), u"Ctrl+Shift+2"_s) << "the first of the first menu";
    EXPECT_EQ(QApplication::focusWidget(), list);
    QStringList offered;
    for (QTreeWidgetItemIterator item(list, QTreeWidgetItemIterator::NoChildren); *item; ++item)
        offered += (*item)->text(0);
    EXPECT_EQ(offered.removeDuplicates(), 0) << "no two are called alike";
    QTest::keyClick(list, Qt::Key_Down);
    QTest::keyClick(list, Qt::Key_Return);
    EXPECT_EQ(ScreenNames(), QStringList{u"frm_AcceptBill"_s});
    EXPECT_FALSE(list->isVisible());
    EXPECT_TRUE(host->CloseScreens());
    EXPECT_TRUE(list->isVisible());
    EXPECT_EQ(QApplication::focusWidget(), list);
}

namespace {

// Lists have their own keys.
bool LiesInList(const QWidget* widget)
{
    while (widget && !widget->inherits("TDataView"))
        widget = widget->parentWidget();
    return widget != nullptr;
}

// What there is to press in a window: its visible buttons with words on them.
QList<QAbstractButton*> ButtonsOf(const TForm& screen)
{
    QList<QAbstractButton*> buttons = screen.findChildren<QAbstractButton*>();
    buttons.removeIf([&](const QAbstractButton* button) {
        return PlainActionText(button->text()).isEmpty() || button->isCheckable() || LiesInList(button)
            || button->isHidden();
    });
    return buttons;
}

// Which button, if any, each action of the screen and of the frame presses.
std::map<QAction*, QAbstractButton*> ActionsOf(const TForm& screen, QAction* query, QAction* save)
{
    std::map<QAction*, QAbstractButton*> actions;
    for (QAction* action : screen.actions()) {
        if (action->isVisible())
            actions[action] = nullptr;
    }
    for (const auto& [action, property] : {std::pair(query, "QueryButton"), std::pair(save, "SaveButton")}) {
        if (auto* button = screen.property(property).value<QAbstractButton*>())
            actions[action] = button;
    }
    for (QAbstractButton* button : ButtonsOf(screen)) {
        const auto* tool = qobject_cast<const QToolButton*>(button);
        const auto shows = [&](const auto& known) {
            if (tool && tool->defaultAction())
                return known.first == tool->defaultAction();
            return known.second == button || known.first->text() == PlainActionText(button->text());
        };
        const auto known = std::ranges::find_if(actions, shows);
        if (known == actions.end())
            ADD_FAILURE() << button->text().toStdString() << " has no key";
        else if (!tool || !tool->defaultAction())
            known->second = button;
    }
    return actions;
}

// Nothing is done: what buttons and actions lead to is cut off.
void PressEachKeyOnce(TForm& screen, const std::map<QAction*, QAbstractButton*>& actions)
{
    std::multiset<const QObject*> reached;
    const QObject here; // what is watched outlives this
    const auto watch = [&](auto* sender, auto signal) {
        QObject::connect(sender, signal, &here, [&reached, sender] { reached.insert(sender); });
    };
    for (const auto& [action, button] : actions) {
        if (button)
            QObject::disconnect(button, &QAbstractButton::clicked, nullptr, nullptr);
        else if (!action->objectName().isEmpty()) // all but what turns to a page or a list
            QObject::disconnect(action, &QAction::triggered, nullptr, nullptr);
        watch(action, &QAction::triggered);
    }
    for (QAbstractButton* button : screen.findChildren<QAbstractButton*>())
        watch(button, &QAbstractButton::clicked);
    for (QWidget* from : {static_cast<QWidget*>(screen.findChild<TDBGridEh*>(u"DataViewGrid"_s)),
             static_cast<QWidget*>(screen.findChild<QLineEdit*>())}) {
        for (const auto& [action, button] : actions) {
            if (auto* pages = screen.findChild<QTabWidget*>())
                pages->setCurrentIndex(0);
            from->setFocus();
            action->setEnabled(true);
            if (button)
                button->setEnabled(true);
            reached.clear();
            QTest::keySequence(from, action->shortcut());
            std::multiset<const QObject*> meant{action};
            if (button)
                meant.insert(button);
            EXPECT_EQ(reached, meant)
                << action->text().toStdString() << " from " << from->metaObject()->className();
        }
    }
}

} // namespace

// Every window in turn: nothing to press or choose is without a key, no key has two meanings, and each
// presses its own button, once.
TEST_F(DeskTest, EveryActionOfEveryScreenHasAKeyOfItsOwn)
{
    ASSERT_TRUE(LogIn(u"benbu"_s));
    const TMainForm& frame = *host->MainForm();
    std::map<QString, QString> ofFrame;
    for (const QMenu* menu : frame.menuBar()->findChildren<QMenu*>(Qt::FindDirectChildrenOnly))
        ofFrame[QKeySequence::mnemonic(menu->title()).toString()] = menu->title();
    for (const QAction* action : frame.findChildren<QAction*>())
        ofFrame[action->shortcut().toString()] = PlainActionText(action->text());
    int screens = 0;
    for (const TScreenInfo& info : ScreenTable()) {
        if (!info.built)
            continue;
        TForm* screen = Open(info.NameText());
        ASSERT_NE(screen, nullptr) << info.className;
        SCOPED_TRACE(info.className);
        ++screens;
        std::map<QString, QString> keys = ofFrame;
        const auto take = [&](const QString& key, const QString& text) {
            const auto [known, isNew] = keys.try_emplace(key, text);
            EXPECT_TRUE(isNew || known->second == text)
                << (key + u": "_s + known->second + u", "_s + text).toStdString();
        };
        const QStringList onPageOfKeys = screen->property("ActionKeys").toStringList();
        for (const QString& line : onPageOfKeys)
            take(line.section(u'\t', 1), line.section(u'\t', 0, 0));
        for (const QLabel* label : screen->findChildren<QLabel*>()) {
            if (label->buddy() && label->isVisible() && !QKeySequence::mnemonic(label->text()).isEmpty())
                take(QKeySequence::mnemonic(label->text()).toString(), label->text());
        }
        for (const QAbstractButton* button : ButtonsOf(*screen)) {
            if (const QKeySequence own = QKeySequence::mnemonic(button->text()); !own.isEmpty())
                take(own.toString(), PlainActionText(button->text()));
        }
        const auto actions = ActionsOf(*screen, Command("QueryAction"), Command("SaveAction"));
        for (const auto& [action, button] : actions) {
            const QString line = PlainActionText(action->text()) + u'\t' + action->shortcut().toString();
            EXPECT_TRUE(onPageOfKeys.contains(line)) << line.toStdString();
        }

        auto* list = screen->findChild<TDBGridEh*>(u"DataViewGrid"_s);
        QStringList keyless;
        QTimer::singleShot(0, list, [&] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            for (const QAction* action : menu ? menu->actions() : QList<QAction*>()) {
                if (!action->isSeparator() && action->isVisible() && !action->text().contains(u'\t')
                    && action->shortcut().isEmpty())
                    keyless += action->text();
            }
            if (menu)
                menu->close();
        });
        QContextMenuEvent event(QContextMenuEvent::Keyboard, {}, list->mapToGlobal(QPoint()));
        QCoreApplication::sendEvent(list->viewport(), &event);
        QCoreApplication::processEvents();
        EXPECT_EQ(keyless, QStringList());

        QApplication::setActiveWindow(host->MainForm()); // a menu leaves none behind
        PressEachKeyOnce(*screen, actions);
        EXPECT_TRUE(screen->Close());
    }
    EXPECT_EQ(screens, 15);
}

// Alt+Enter opens what a double click opens, and Esc comes back to the list. Enter alone moves like Tab.
TEST_F(DeskTest, AltEnterOpensARowOfAQueryListAndEscReturns)
{
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    TForm* screen = Open(u"frm_BillQuery"_s);
    auto* pages = screen->findChild<QTabWidget*>();
    auto* list = screen->findChild<TDataSource*>(u"DS"_s)->DataSet();
    list->OpenQuery(u"select a.* from tab_zelmor_bill a where a.bl_dispart=1"_s);
    ASSERT_GT(list->RecordCount(), 1);
    auto* grid = screen->findChild<TDBGridEh*>(u"DataViewGrid"_s);
    grid->setFocus();
    QTest::keyClick(grid, Qt::Key_Down);
    const int column = grid->SelectedIndex();
    QTest::keyClick(grid, Qt::Key_Return);
    EXPECT_EQ(pages->currentIndex(), 0);
    EXPECT_GT(grid->SelectedIndex(), column);
    QTest::keyClick(grid, Qt::Key_Return, Qt::AltModifier);
    EXPECT_EQ(pages->currentIndex(), 1);
    EXPECT_EQ(list->RecNo(), 2);
    EXPECT_EQ(QApplication::focusWidget(), grid) << "the arrows go on through the rows";
    QTest::keyClick(grid, Qt::Key_Escape);
    EXPECT_EQ(pages->currentIndex(), 0);
    QTest::keyClick(grid, Qt::Key_2, Qt::AltModifier);
    EXPECT_EQ(pages->currentIndex(), 1);
    EXPECT_TRUE(screen->Close());
}

TEST_F(DeskTest, TheLayoutOfAnOpenWindowIsKeptWhenTheProgramEnds)
{
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    auto* grid = Open(u"frm_AcceptBill"_s)->findChild<QWidget*>(u"DataView1"_s)->findChild<TDBGridEh*>();
    ASSERT_NE(grid, nullptr);
    std::vector<TColumnEh> columns;
    for (int i = 0; i < grid->ColumnCount(); ++i)
        columns.push_back(grid->Column(i));
    columns[size_t(grid->ColumnIndex(u"TX_LOGISTIC_ID"_s))].width = 237;
    grid->SetColumns(columns);
    EXPECT_TRUE(host->MainForm()->close());
    HostTest::TearDown();

    QFile settings(Folder().filePath(u"WindowsIni/Zelmor.ini"_s));
    ASSERT_TRUE(settings.open(QIODevice::ReadOnly));
    const QByteArray written = settings.readAll();
    EXPECT_TRUE(written.contains("TX_LOGISTIC_ID;物流号;237")) << written.constData();
}

TEST_F(DeskTest, AnotherLoginHasItsOwnSitesAndEmployees)
{
    // What the lookups of the order query offer, by the field that they give.
    const auto offered = [this](const QString& account) {
        host->OpenLoginWindow();
        EXPECT_TRUE(LogIn(account));
        QHash<QString, int> rows;
        for (const auto* box : Open(u"frm_BillQuery"_s)->findChildren<TDBLookupComboboxEh*>())
            rows.insert(box->Lookup().listField, box->Lookup().listSource->DataSet()->RecordCount());
        return rows;
    };
    const QHash<QString, int> branch = offered(u"hefei1"_s);
    const QHash<QString, int> centre = offered(u"hefei"_s);
    const QHash<QString, int> again = offered(u"hefei1"_s);
    ASSERT_EQ(branch.size(), 2);
    for (auto list = branch.begin(); list != branch.end(); ++list) {
        EXPECT_LT(list.value(), centre.value(list.key())) << qPrintable(list.key());
        EXPECT_EQ(list.value(), again.value(list.key())) << qPrintable(list.key());
    }
}
