// The library as a host meets it: loaded by file name, its entry found by name.

#include "tests/support/FakeHost.h"

#include <QCoreApplication>
#include <QEvent>
#include <QLibrary>
#include <QProcess>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

#if defined(_WIN32) && !defined(_WIN64)
#define ZELMOR_CALL __attribute__((stdcall))
#else
#define ZELMOR_CALL
#endif
using TExec = void(ZELMOR_CALL*)(TApplication*, TScreen*, const std::uintptr_t*, int, const char*);

TEST(LoadedLibrary, ExecOpensAScreenAndUnloadingRestoresTheGlobals)
{
    TFakeHost host;
    host.Server.OnQuery = [](const QString&) {
        return MakeRows({{.name = u"TX_LOGISTIC_ID"_s, .key = true, .stored = true},
                            {.name = u"STATUS"_s, .type = wire::ColumnType::Integer, .stored = true},
                            {.name = u"PREPARE_SITE"_s, .stored = true}},
            {});
    };
    QLibrary library(QStringLiteral(ZELMOR_MODULE));
    ASSERT_TRUE(library.load()) << library.errorString().toStdString();
    const auto exec = reinterpret_cast<TExec>(library.resolve("exec"));
    ASSERT_NE(exec, nullptr);

    const std::vector<std::uintptr_t> data = host.HostData();
    exec(&host.App, &host.Scr, data.data(), 1, "frm_AcceptBill000");
    EXPECT_TRUE(host.App.ShownMessages().empty()) << host.TakeMessages().join(u'|').toStdString();
    ASSERT_EQ(host.Scr.Forms().size(), 1U);
    TForm* screen = host.Scr.Forms().front();
    EXPECT_EQ(screen->Caption(), u"网点接单"_s);
    EXPECT_TRUE(screen->Close());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(host.Scr.Forms().empty());
    library.unload();
    EXPECT_EQ(Application, &host.App);
}

#ifdef __linux__
TEST(LoadedLibrary, ExportsNothingButExec)
{
    QProcess nm;
    nm.start(u"nm"_s, {u"-D"_s, u"--defined-only"_s, u"--format=posix"_s, QStringLiteral(ZELMOR_MODULE)});
    ASSERT_TRUE(nm.waitForFinished());
    QStringList names;
    const QList<QByteArray> lines = nm.readAllStandardOutput().trimmed().split('\n');
    for (const QByteArray& line : lines)
        names += QString::fromUtf8(line.left(line.indexOf(' ')));
    EXPECT_EQ(names, QStringList(u"exec"_s));
}
#endif
