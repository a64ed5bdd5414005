#include "tests/host/HostFixture.h"

#include "runtime/grid/DBGrid.h"

#include <QCheckBox>
#include <QDialog>
#include <QSpinBox>
#include <QTimer>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

TListStyle Standard()
{
    return {};
}

// Works the window once it waits for the user.
template <typename Work> void OnDialog(Work work)
{
    QTimer::singleShot(0, qApp, [work] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        work(*dialog);
        dialog->close();
    });
}

} // namespace

class PreferencesTest : public HostTest {
protected:
    ~PreferencesTest() override { TListStyles::Instance().Set({}); }
};

TEST_F(PreferencesTest, AreShownAtOnceKeptForTheAccountAndCancelled)
{
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    ASSERT_EQ(ListStyle(), Standard());
    auto* list = Open(u"frm_Sample"_s)->findChild<TDBGridEh*>();
    const int height = list->RowHeight();
    QAction* command = Command("PreferencesAction");
    EXPECT_EQ(command->shortcut(), QKeySequence(u"Ctrl+,"_s));

    OnDialog([&](QDialog& dialog) {
        auto* size = dialog.findChild<QSpinBox*>(u"FontSize"_s);
        size->setFocus();
        size->selectAll();
        QTest::keyClicks(size, u"20"_s);
        dialog.findChild<QCheckBox*>(u"Stripes"_s)->click();
        EXPECT_EQ(ListStyle().fontSize, 20);
        EXPECT_TRUE(ListStyle().stripes);
        EXPECT_GT(list->RowHeight(), height) << "the list behind shows it";
        EXPECT_EQ(dialog.findChild<TDBGridEh*>()->RowHeight(), list->RowHeight());
        QTest::keyClick(&dialog, Qt::Key_Escape);
    });
    command->trigger();
    EXPECT_EQ(ListStyle(), Standard());
    EXPECT_EQ(list->RowHeight(), height);

    OnDialog([](QDialog& dialog) {
        dialog.findChild<QSpinBox*>(u"RowSpace"_s)->setValue(11);
        dialog.findChild<QSpinBox*>(u"FontSize"_s)->setValue(1000);
        QTest::keyClick(&dialog, Qt::Key_Return);
    });
    command->trigger();
    const TListStyle kept = ListStyle();
    EXPECT_EQ(kept.rowSpace, 11);
    EXPECT_EQ(kept.fontSize, TListStyle::kLargestFont);

    host->OpenLoginWindow();
    ASSERT_TRUE(LogIn(u"hefei2"_s));
    EXPECT_EQ(ListStyle(), Standard()) << "another account's lists";
    host->OpenLoginWindow();
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    EXPECT_EQ(ListStyle(), kept);

    OnDialog([](QDialog& dialog) {
        dialog.findChild<QPushButton*>(u"DefaultsButton"_s)->click();
        QTest::keyClick(&dialog, Qt::Key_Return);
    });
    Command("PreferencesAction")->trigger();
    EXPECT_EQ(ListStyle(), Standard());
}

TEST(PreferencesFile, DamageFallsBackValueByValueWithALineInTheLog)
{
    TListStyle large;
    large.fontSize = TListStyle::kLargestFont;
    TListStyle spacious;
    spacious.rowSpace = 9;
    TListStyle green;
    green.unsaved = QColor(u"#007755"_s);
    const struct {
        const char* lines;
        TListStyle expected;
        int complaints;
    } cases[] = {
        {"", {}, 0},
        {"font=a4\nspace=9\n", spacious, 1},
        {"font=99999\n", large, 0},
        {"font=\nspace=9\nstripes=2\n", spacious, 2},
        {"unsaved=#007755\nrefused=reddish\n", green, 1},
        {"space=9\nfont=999999999999\n", spacious, 1},
    };
    static int complaints;
    for (const auto& [lines, expected, complained] : cases) {
        QTemporaryDir folder;
        QFile file(folder.filePath(u"host.ini"_s));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray("[lists.a%2Fb]\n") + lines);
        file.close();
        complaints = 0;
        const QtMessageHandler before = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext&, const QString&) { ++complaints; });
        const THostSettings settings(folder.path(), {});
        EXPECT_EQ(settings.ListStyle(u"a/b"_s), expected) << lines;
        EXPECT_EQ(settings.ListStyle(u"other"_s), Standard()) << lines;
        qInstallMessageHandler(before);
        EXPECT_EQ(complaints, complained) << lines;
    }
}

// Marks that cannot be seen, or that hide the text over them, are brought back to where they can be used.
TEST(PreferencesFile, ColoursStayUsable)
{
    TListStyle style;
    style.unsaved = Qt::white;
    style.refused = QColor(10, 0, 0, 40);
    style.found = QColor();
    style = style.Bounded();
    EXPECT_LT(qGray(style.unsaved.rgb()), 200);
    EXPECT_GT(qGray(style.refused.rgb()), 120);
    EXPECT_EQ(style.refused.alpha(), 255);
    EXPECT_EQ(style.found, Standard().found);
}

// As the two common kinds of colour blindness see them, linear light.
TEST(PreferencesFile, StandardMarksAreToldApartByColourBlindEyes)
{
    const double eyes[][3][3] = {{{0.152, 1.053, -0.205}, {0.115, 0.786, 0.099}, {-0.004, -0.048, 1.052}},
        {{0.367, 0.861, -0.228}, {0.280, 0.673, 0.047}, {-0.012, 0.043, 0.969}}};
    const TListStyle style;
    const QColor marks[] = {style.unsaved, style.refused, style.found, style.hit, Qt::white};
    for (const auto& eye : eyes) {
        for (const QColor& one : marks) {
            for (const QColor& other : marks) {
                double apart = 0;
                for (const auto& row : eye) {
                    const auto seen = [&row](const QColor& color) {
                        const double light = row[0] * std::pow(color.redF(), 2.2)
                            + row[1] * std::pow(color.greenF(), 2.2) + row[2] * std::pow(color.blueF(), 2.2);
                        return 255 * std::pow(std::clamp(light, 0.0, 1.0), 1 / 2.2);
                    };
                    apart += std::abs(seen(one) - seen(other));
                }
                EXPECT_TRUE(one == other || apart > 90)
                    << qPrintable(one.name()) << ' ' << qPrintable(other.name());
            }
        }
    }
}
