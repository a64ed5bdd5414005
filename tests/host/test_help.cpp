#include "tests/host/HostFixture.h"

#include "host/HelpView.h"
#include "runtime/ScreenTable.h"

#include <QComboBox>
#include <QDialog>
#include <QDockWidget>
#include <QRegularExpression>
#include <QTextBlock>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace {

QString PageText(const QString& name)
{
    QFile file(guide::Folder() + u'/' + name);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

int WidestPicture(const QTextDocument& page)
{
    int widest = 0;
    for (QTextBlock block = page.begin(); block.isValid(); block = block.next()) {
        for (auto part = block.begin(); !part.atEnd(); ++part) {
            const QTextImageFormat picture = part.fragment().charFormat().toImageFormat();
            if (picture.isValid()) {
                const auto image =
                    page.resource(QTextDocument::ImageResource, QUrl(picture.name())).value<QImage>();
                widest = std::max(widest, image.isNull() ? 1'000'000 : image.width());
            }
        }
    }
    return widest;
}

} // namespace

// Every screen has its page, and nothing in the guide points into the void.
TEST(Guide, IsWholeBesideTheProgram)
{
    const QString contents = PageText(guide::kContents);
    for (const TScreenInfo& screen : ScreenTable()) {
        const QString page = QString::fromLatin1(screen.guide) + u".md"_s;
        EXPECT_TRUE(!screen.built || contents.contains(u"](%1)"_s.arg(page))) << screen.className;
    }
    const QStringList pages = QDir(guide::Folder()).entryList({u"*.md"_s});
    EXPECT_GT(pages.size(), 15);
    static const QRegularExpression link(uR"(\]\(([^)#]+)(?:#([^)]+))?\))"_s);
    for (const QString& page : pages) {
        for (auto found = link.globalMatch(PageText(page)); found.hasNext();) {
            const QRegularExpressionMatch match = found.next();
            EXPECT_TRUE(QFile::exists(guide::Folder() + u'/' + match.captured(1)))
                << qPrintable(page + u" → "_s + match.captured(1));
            EXPECT_TRUE(!match.hasCaptured(2)
                || PageText(match.captured(1)).contains(u"# "_s + match.captured(2) + u'\n'))
                << qPrintable(page + u" → "_s + match.captured(0));
        }
        EXPECT_TRUE(page == guide::kContents || contents.contains(u"](%1)"_s.arg(page))) << qPrintable(page);
    }
}

class HelpTest : public HostTest {
protected:
    THelpView* View() const { return host->MainForm()->findChild<THelpView*>(); }
};

TEST_F(HelpTest, F1OpensTheWindowsPageBesideIt)
{
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    TMainForm& frame = *host->MainForm();
    QTest::keyClick(frame.focusWidget(), Qt::Key_F1);
    ASSERT_NE(View(), nullptr);
    EXPECT_EQ(View()->Page(), guide::kContents) << "nothing is open";

    UseScreens();
    TForm* screen = Open(u"frm_AcceptBill"_s);
    ASSERT_NE(screen, nullptr);
    QTest::keyClick(frame.focusWidget(), Qt::Key_F1);
    EXPECT_EQ(View()->Page(), u"accept.md"_s);
    const auto* contents = View()->findChild<QComboBox*>(u"GuideContents"_s);
    EXPECT_EQ(contents->currentText(), screen->Caption());
    TGuideBrowser& page = View()->Browser();
    EXPECT_GT(WidestPicture(*page.document()), 0);
    EXPECT_LE(WidestPicture(*page.document()), page.viewport()->width());

    // Links, and the ways back and forward.
    page.setSource(QUrl(u"lists.md"_s));
    EXPECT_EQ(View()->Page(), u"lists.md"_s);
    QTest::keyClick(&page, Qt::Key_Left, Qt::AltModifier);
    EXPECT_EQ(View()->Page(), u"accept.md"_s);
    QTest::keyClick(&page, Qt::Key_Right, Qt::AltModifier);
    EXPECT_EQ(View()->Page(), u"lists.md"_s);

    // Find, also from the page's end on.
    const auto* note = View()->findChild<QLabel*>(u"GuideNote"_s);
    QTest::keyClick(&page, Qt::Key_F, Qt::ControlModifier);
    QTest::keyClicks(QApplication::focusWidget(), u"F4"_s);
    for (int hit = 0; hit < 3; ++hit) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        EXPECT_EQ(page.textCursor().selectedText().toUpper(), u"F4"_s);
    }
    QTest::keyClicks(QApplication::focusWidget(), u"zzz"_s);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    EXPECT_TRUE(note->isVisible());

    frame.ShowHelp(u"nothing.md"_s);
    EXPECT_TRUE(note->isVisible());
    EXPECT_TRUE(note->text().contains(u"nothing.md"_s));
    EXPECT_EQ(View()->Page(), guide::kContents);

    QTest::keyClick(&page, Qt::Key_F1, Qt::ControlModifier);
    const QString keys = page.toPlainText();
    for (const QString& word : {u"F5"_s, u"Ctrl+S"_s, u"Ctrl+,"_s, u"更换用户"_s})
        EXPECT_EQ(keys.contains(word), word != u"更换用户") << qPrintable(word) << ": what has a key";

    QTest::keyClick(&page, Qt::Key_Escape);
    EXPECT_FALSE(View()->isVisible());
    EXPECT_TRUE(screen->isAncestorOf(frame.focusWidget()));
}

TEST_F(HelpTest, F1WorksInADialogAndBeforeTheLogin)
{
    ASSERT_TRUE(WaitUntilReady());
    const auto pageBeside = [](QWidget* window) {
        QTest::keyClick(window->focusWidget() ? window->focusWidget() : window, Qt::Key_F1);
        const auto* help = window->findChild<QDialog*>(u"HelpWindow"_s);
        return help && help->isVisible() ? help->findChild<THelpView*>()->Page() : QString();
    };
    EXPECT_EQ(pageBeside(host->LoginWindow()), u"login.md"_s);
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    QString page;
    bool usable = false;
    QTimer::singleShot(0, qApp, [&] {
        QWidget* dialog = QApplication::activeModalWidget();
        page = pageBeside(dialog);
        auto* help = dialog->findChild<QDialog*>(u"HelpWindow"_s);
        help->findChild<THelpView*>()->setFocus();
        QTest::keyClick(help->focusWidget(), Qt::Key_Escape); // as a user would, who must not be shut out
        usable = !help->isVisible() && dialog->isVisible();
        dialog->close();
    });
    Command("PreferencesAction")->trigger();
    EXPECT_EQ(page, u"preferences.md"_s);
    EXPECT_TRUE(usable);
}
