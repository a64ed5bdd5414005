#pragma once

#include <QString>

#include <functional>

// Wall time of one call, in milliseconds.
double MillisecondsOf(const std::function<void()>& work);

// Two ways of doing the same work, measured in turn (A B A B …) so that a machine whose speed drifts slows
// both: medians in milliseconds, and the median of the ratios pair by pair.
struct Comparison {
    double subject = 0;
    double peer = 0;
    double ratio = 0;
};

// Each way measures itself, so that what leads up to it is not counted; one round before the counted ones.
Comparison Compare(int rounds, const std::function<double()>& subject, const std::function<double()>& peer);

// Rows of a Markdown table on standard output.
void PrintHead();
void PrintRow(
    const QString& work, const QString& measured, const QString& against, double ratio, double target);
// The same where more is better: the ratio must be at least `target`.
void PrintRateRow(
    const QString& work, const QString& measured, const QString& against, double ratio, double target);
QString Milliseconds(double value);
