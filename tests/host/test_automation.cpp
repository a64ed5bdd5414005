#include "tests/host/HostFixture.h"

#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

using namespace Qt::Literals::StringLiterals;

// Each test is a script run to its end, as `zelmor-host --script` does.
class AutomationTest : public HostTest {
protected:
    void SetUp() override { }

    int Run(const QByteArray& script)
    {
        QFile file(Folder().filePath(u"script.js"_s));
        if (!file.open(QIODevice::WriteOnly))
            return -1;
        file.write(script);
        file.close();
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        HostTest::SetUp();
        const int code = QCoreApplication::exec();
        out = testing::internal::GetCapturedStdout();
        err = testing::internal::GetCapturedStderr();
        host.reset();
        return code;
    }
    void Change(THostOptions& options) override
    {
        options.script = Folder().filePath(u"script.js"_s);
        options.traceFile = Folder().filePath(u"trace.jsonl"_s);
    }

    std::string out;
    std::string err;
};

TEST_F(AutomationTest, FailureNamesFileAndLine)
{
    EXPECT_NE(Run("\n\nassert(1 > 2, 'arithmetic');"), 0);
    EXPECT_NE(err.find("script.js:3:"), std::string::npos) << err;
    EXPECT_NE(err.find("arithmetic"), std::string::npos) << err;

    EXPECT_NE(Run("assert(true);\nassertEqual([1, 2], [1, 3], 'lists');"), 0);
    EXPECT_NE(err.find("script.js:2:"), std::string::npos) << err;
    EXPECT_NE(err.find("[1,2]"), std::string::npos) << err;

    EXPECT_NE(Run("let a = 1;\nb.c();"), 0);
    EXPECT_NE(err.find("script.js:2:"), std::string::npos) << err;

    EXPECT_NE(Run("function ("), 0);
    EXPECT_NE(Run("host.screen('frm_Nothing');"), 0);
    EXPECT_NE(err.find("frm_Nothing"), std::string::npos) << err;
}

TEST_F(AutomationTest, IncludedFilesReportTheirOwnLines)
{
    QFile file(Folder().filePath(u"part.js"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("var shared = 7;\nassert(shared === 8, 'in the part');");
    file.close();
    EXPECT_NE(Run("include('part.js');"), 0);
    EXPECT_NE(err.find("part.js:2:"), std::string::npos) << err;
    EXPECT_NE(Run("include('nowhere.js');"), 0);
}

TEST_F(AutomationTest, ControlsAreTypedIntoAndChosenFrom)
{
    EXPECT_EQ(Run(R"(
        host.login('benbu', 'demo');
        host.exec('frm_Sample101');
        host.exec('frm_Sample000');
        assertEqual(host.screens(), ['frm_Sample']);
        const screen = host.screen('frm_Sample');
        assertEqual(screen.caption, '示例');
        assertEqual(screen.rights(), '101', 'the second call only brings it forward');
        const edit = screen.control('DBEditEh1');
        edit.text = '合肥abc';
        assertEqual(edit.text, '合肥abc');
        assert(!edit.hasFocus, 'left after typing');
        edit.focus();
        assert(edit.hasFocus);
        edit.key('End'); edit.key('Backspace'); edit.type('d');
        assertEqual(edit.text, '合肥abd');
        const combo = screen.control('DBComboBoxEh1');
        assertEqual(combo.items(), ['全部', '中心', '网点']);
        combo.text = '网点';
        assertEqual(combo.text, '网点');
        assertEqual(screen.control('查询').name, 'Button4', 'by what stands on it');
        assertEqual(screen.control('名称').name, 'DBEditEh1', 'by its label');
        let twice = '';
        try { screen.control('类型'); } catch (error) { twice = error.message; }
        assert(twice.includes('DBComboBoxEh1') && twice.includes('DBComboBoxEh2'), twice);
        assert(!screen.has('Button99'));
        assert(screen.control('Button4').enabled && screen.control('Button4').visible);
    )"),
        0)
        << err;
}

TEST_F(AutomationTest, BoxesAreAnsweredBeforehandOrShownToTheScript)
{
    EXPECT_EQ(Run(R"(
        host.login('hefei1', 'demo');
        host.exec('frm_Sample111');
        const screen = host.screen('frm_Sample');
        host.clearMessages();
        screen.control('Button1').click();
        assertEqual(host.messages(), [{text: '详细：要保存吗？', caption: '示例', icon: 'question'}]);

        screen.control('DBEditEh1').text = '未保存';
        host.answer('cancel', 'ok');
        assertEqual(screen.close(), false);
        assertEqual(host.screens().length, 1);
        assert(host.closeAll());
        assertEqual(host.screens().length, 0);

        host.exec('frm_Sample111');
        let seen = '';
        host.onDialog(box => { seen = box.caption; host.screenshot('box.png'); return '取消'; });
        host.screen('frm_Sample').control('Button1').click();
        assertEqual(seen, '示例');
        host.onDialog(null);
        host.exec('frm_Nothing111');
        assertEqual(host.messages().pop(), {text: '详细：此窗体不存在！', caption: 'DLL调用', icon: 'error'});
    )"),
        0)
        << err;
    EXPECT_NE(Run(R"(
        host.login('hefei1', 'demo');
        host.exec('frm_Sample111');
        host.onDialog(() => assert(false, 'in the dialog'));
        host.screen('frm_Sample').control('Button1').click();
    )"),
        0);
    EXPECT_NE(err.find("script.js:4:"), std::string::npos) << err;
    const QImage picture(Folder().filePath(u"pictures/box.png"_s));
    EXPECT_FALSE(picture.isNull());
}

TEST_F(AutomationTest, TraceFileHasOneObjectALineAndNoPassword)
{
    ASSERT_EQ(Run("host.login('hefei1', 'demo');"), 0) << err;
    QFile trace(Folder().filePath(u"trace.jsonl"_s));
    ASSERT_TRUE(trace.open(QIODevice::ReadOnly));
    int queries = 0;
    while (!trace.atEnd()) {
        const QByteArray line = trace.readLine();
        const QJsonObject object = QJsonDocument::fromJson(line).object();
        ASSERT_FALSE(object.isEmpty()) << line.constData();
        EXPECT_FALSE(line.contains("\"demo\""));
        queries += object.value(u"kind"_s).toString() == u"query"_s;
    }
    EXPECT_GE(queries, 10);
}

TEST(HostProgram, ExitCodeIsTheScripts)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath(u"fail.js"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("assert(false, 'on purpose');");
    file.close();
    QProcess host;
    const QString program = QCoreApplication::applicationDirPath() + u"/zelmor-host"_s;
    host.start(program, {u"--data"_s, folder.path(), u"--demo"_s, u"50"_s, u"--script"_s, file.fileName()});
    ASSERT_TRUE(host.waitForFinished(60'000));
    EXPECT_EQ(host.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(host.exitCode(), 1);
    EXPECT_TRUE(host.readAllStandardError().contains("fail.js:1:"));

    host.start(program, {u"--data"_s, folder.path(), u"--script"_s, folder.filePath(u"none.js"_s)});
    ASSERT_TRUE(host.waitForFinished(60'000));
    EXPECT_EQ(host.exitCode(), 2);
    host.start(program, {u"--no-such-option"_s});
    ASSERT_TRUE(host.waitForFinished(60'000));
    EXPECT_EQ(host.exitCode(), 2);
}
