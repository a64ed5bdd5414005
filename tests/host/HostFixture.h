#pragma once

#include "host/Host.h"
#include "host/LoginWindow.h"
#include "host/MainForm.h"

#include <QAction>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLibrary>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <algorithm>

// A host over a small embedded database that is made once for all tests, with the test module's one screen.
class HostTest : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        if (!Folder().isValid())
            GTEST_FAIL() << "no temporary folder";
    }

    void SetUp() override
    {
        // After a test that has ended the program no loop would run until one of the application's own
        // begins.
        QTimer::singleShot(0, qApp, &QCoreApplication::quit);
        QCoreApplication::exec();
        THostOptions options;
        options.dataDir = Folder().path();
        options.demo = QStringLiteral("300");
        options.now = wire::DateTime::FromParts(2026, 11, 20, 10, 30, 0);
        options.screenshots = Folder().filePath(QStringLiteral("pictures"));
        Change(options);
        host = std::make_unique<THost>(options);
        host->SetModulePath(QCoreApplication::applicationDirPath() + QStringLiteral("/zelmor_test_module"));
        ::Application->Unattended = true;
        host->Start();
    }
    void TearDown() override { host.reset(); }

    virtual void Change(THostOptions&) { }

    // The screens themselves in place of the test module's; their settings lie in the test's folder. Qt
    // remembers a library's own types, so that none may be loaded again: each host has a copy that stays.
    void UseScreens()
    {
        static int copies = 0;
        const QDir programs(QCoreApplication::applicationDirPath());
        const QString name =
            programs.entryList({QStringLiteral("Zelmor.so"), QStringLiteral("Zelmor.dll")}).value(0);
        const QString copy = Folder().filePath(QString::number(++copies) + name);
        ASSERT_TRUE(QFile::copy(programs.filePath(name), copy));
        ::Application->SetExeName(Folder().filePath(QStringLiteral("zelmor-host")));
        QLibrary library(copy);
        library.setLoadHints(QLibrary::PreventUnloadHint);
        ASSERT_TRUE(library.load()) << qPrintable(library.errorString());
        host->SetModulePath(copy);
    }
    // Opens the screen; nullptr when it is not there afterwards.
    TForm* Open(const QString& name)
    {
        host->ExecScreen(name + QStringLiteral("101"));
        QCoreApplication::processEvents();
        const auto& forms = ::Screen->Forms();
        const auto found = std::find_if(
            forms.begin(), forms.end(), [&](const TForm* form) { return form->objectName() == name; });
        return found == forms.end() ? nullptr : *found;
    }
    QAction* Command(const char* name) const
    {
        return host->MainForm()->findChild<QAction*>(QLatin1StringView(name));
    }

    template <typename TWidget> TWidget* OnLogin(const char* name) const
    {
        return host->LoginWindow()->findChild<TWidget*>(QLatin1StringView(name));
    }
    bool WaitUntilReady() const
    {
        return QTest::qWaitFor([this] { return OnLogin<QPushButton>("LoginButton")->isEnabled(); }, 120'000);
    }
    void TypeLogin(const QString& account, const QString& password) const
    {
        for (const auto& [name, text] :
            {std::pair("AccountEdit", account), std::pair("PasswordEdit", password)}) {
            auto* edit = OnLogin<QLineEdit>(name);
            edit->setFocus();
            edit->clear();
            QTest::keyClicks(edit, text);
        }
        QTest::keyClick(OnLogin<QLineEdit>("PasswordEdit"), Qt::Key_Return);
    }
    bool LogIn(const QString& account)
    {
        if (!WaitUntilReady())
            return false;
        TypeLogin(account, QStringLiteral("demo"));
        return QTest::qWaitFor(
            [this] { return host->LoggedInForm() && host->PublishedData().IsLoaded(); }, 20'000);
    }

    static QTemporaryDir& Folder()
    {
        static QTemporaryDir folder;
        return folder;
    }

    std::unique_ptr<THost> host;
};
