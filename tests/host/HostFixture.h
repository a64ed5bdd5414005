#pragma once

#include "host/Host.h"
#include "host/LoginWindow.h"
#include "host/MainForm.h"

#include <QCoreApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

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
            [this] { return host->LoggedInForm() && host->SharedData().IsLoaded(); }, 20'000);
    }

    static QTemporaryDir& Folder()
    {
        static QTemporaryDir folder;
        return folder;
    }

    std::unique_ptr<THost> host;
};
