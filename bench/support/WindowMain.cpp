// The main function of the benchmarks that need windows: a display is made up where there is none, and lists
// look as they do in the program.

#include "runtime/ui/Application.h"
#include "runtime/ui/Style.h"

#include <QApplication>

#include <benchmark/benchmark.h>

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    ApplyStyle(application);
    TApplication runtimeApplication;
    TScreen screen;
    Application = &runtimeApplication;
    Screen = &screen;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
