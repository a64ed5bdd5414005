#pragma once

#include "reports/BarChart.h"

// What the charts of the monitors and of the statistics draw: the rows in view of the tables beside them.

// Overdue orders by region.
TChartContent OverdueChart(const TClientDataSetEx& sums, const QString& title);
// Of the sites shown, regions left out; the sites with the most orders first.
TChartContent AcceptanceChart(const TClientDataSetEx& figures);
TChartContent PickupChart(const TClientDataSetEx& figures);
// The table's column that lists the orders of a series.
QString AcceptanceColumn(int series);
QString PickupColumn(int series);
