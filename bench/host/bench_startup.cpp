// From the start of the process to the first picture on the screen: the host's login window against a bare
// main window with an MDI area, by turns in the same run.
#include "bench/system/Measure.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>
#include <stdexcept>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kRuns = 15;
constexpr int kMilliseconds = 20'000;

// Milliseconds until the program says that it has painted.
double StartOnce(const QString& program, const QStringList& arguments, const QProcessEnvironment& environment)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setStandardErrorFile(QProcess::nullDevice());
    QElapsedTimer timer;
    timer.start();
    process.start(program, arguments, QIODevice::ReadOnly);
    QByteArray said;
    while (!said.contains("painted")) {
        if (!process.waitForReadyRead(kMilliseconds))
            throw std::runtime_error("no picture from " + program.toStdString());
        said += process.readAllStandardOutput();
    }
    const double milliseconds = static_cast<double>(timer.nsecsElapsed()) / 1e6;
    process.waitForFinished(kMilliseconds);
    return milliseconds;
}

void CompareStarts(const QProcessEnvironment& environment, const QString& data)
{
    const QString folder = QCoreApplication::applicationDirPath();
    const auto host = [&] {
        return StartOnce(folder + u"/zelmor-host"_s, {u"--paint-and-quit"_s, u"--data"_s, data}, environment);
    };
    const auto bare = [&] { return StartOnce(folder + u"/bare_window"_s, {}, environment); };
    const Comparison starts = Compare(kRuns, host, bare);
    PrintRow(u"start to login window painted, under Xvfb"_s, Milliseconds(starts.subject),
        u"bare window: "_s + Milliseconds(starts.peer), starts.ratio, 2.0);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QTemporaryDir data;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    QProcess display;
    try {
        // A display of its own, so that runs can be compared wherever they are made.
        display.start(u"Xvfb"_s,
            {u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s, u"1280x1024x24"_s, u"-nolisten"_s, u"tcp"_s});
        if (!display.waitForReadyRead(kMilliseconds))
            throw std::runtime_error("needs Xvfb: install the package xvfb");
        const QString number = QString::fromLatin1(display.readAllStandardOutput()).trimmed();
        environment.insert(u"DISPLAY"_s, u':' + number);
        environment.remove(u"QT_QPA_PLATFORM"_s);
        environment.remove(u"WAYLAND_DISPLAY"_s);
        CompareStarts(environment, data.path());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_startup: %s\n", error.what());
        display.kill();
        display.waitForFinished();
        return 1;
    }
    display.terminate();
    display.waitForFinished();
    return 0;
}
