#pragma once

#include <QString>

// Orders that have waited too long at one step of their life, summed by region and one by one.

// The step at which they wait.
struct TOverdueStep {
    QStringView condition;
    bool bySite; // summed by the site that accepted them as well
};

extern const TOverdueStep kNotAccepted;
extern const TOverdueStep kNotPickedUp;

// A row of the summary.
struct TOverdueGroup {
    QString province;
    QString city;
    QString county;
    QString site = {}; // where the step is summed by it

    QString Key() const { return province + city + county + site; }
};

// The three days that ended so many hours ago. The hours go in as they were typed.
QString OverdueCondition(const TOverdueStep& step, const QString& hours);
QString OverdueSummaryQuery(const TOverdueStep& step, const QString& condition);
// An empty name in the group finds nothing: the server keeps empty texts as null.
QString OverdueOrdersQuery(const TOverdueStep& step, const QString& condition, const TOverdueGroup& group);
