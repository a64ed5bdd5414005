#pragma once

#include "framework/print/PrintJob.h"

#include <utility>

class QPrinter;
class QWidget;

// The printers of this machine.

bool HasPrinter();
// The one that the user chooses, set to the paper; none when he gave it up.
std::unique_ptr<QPrinter> AskPrinter(
    QWidget* parent, const QPageLayout& paper, const QString& title, int pages);
// The first and the last page that he chose, from 0.
std::pair<int, int> ChosenPages(const QPrinter& printer, int pages, int current);
// What has gone to a printer cannot always be called back.
std::unique_ptr<TPrintTarget> NewPrinterTarget(std::unique_ptr<QPrinter> printer);
