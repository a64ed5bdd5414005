#include "bench/system/Measure.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

double Median(std::vector<double> values)
{
    std::ranges::sort(values);
    const size_t half = values.size() / 2;
    return values.size() % 2 ? values[half] : (values[half - 1] + values[half]) / 2;
}

void Print(const QString& work, const QString& measured, const QString& against, double ratio,
    const char* relation, double target, bool good)
{
    std::printf("| %s | %s | %s | %.3g | %s%g | %s |\n", qUtf8Printable(work), qUtf8Printable(measured),
        qUtf8Printable(against), ratio, relation, target, good ? "ok" : "missed");
    std::fflush(stdout);
}

} // namespace

double MillisecondsOf(const std::function<void()>& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

Comparison Compare(int rounds, const std::function<double()>& subject, const std::function<double()>& peer)
{
    subject();
    peer();
    std::vector<double> subjects, peers, ratios;
    for (int round = 0; round < rounds; ++round) {
        subjects.push_back(subject());
        peers.push_back(peer());
        ratios.push_back(subjects.back() / peers.back());
    }
    return {Median(subjects), Median(peers), Median(ratios)};
}

void PrintHead()
{
    std::puts("| work | measured | against | ratio | target | |\n|---|---|---|---|---|---|");
}

void PrintRow(
    const QString& work, const QString& measured, const QString& against, double ratio, double target)
{
    Print(work, measured, against, ratio, "", target, ratio <= target);
}

void PrintRateRow(
    const QString& work, const QString& measured, const QString& against, double ratio, double target)
{
    Print(work, measured, against, ratio, "≥ ", target, ratio >= target);
}

QString Milliseconds(double value)
{
    return QString::number(value, 'f', value < 10 ? 2 : 0) + u" ms"_s;
}
