#include "runtime/ui/Application.h"
#include "runtime/ui/Style.h"

#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    ApplyStyle(application);
    TApplication runtimeApplication;
    TScreen screen;
    // A box that no test has an answer for must not wait for a user.
    runtimeApplication.Unattended = true;
    Application = &runtimeApplication;
    Screen = &screen;
    return RUN_ALL_TESTS();
}
