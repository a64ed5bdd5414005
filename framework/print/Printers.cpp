#include "framework/print/Printers.h"

#include "framework/export/ProposedFile.h"
#include "wire/Error.h"

#include <QPrintDialog>
#include <QPrinter>
#include <QPrinterInfo>

using namespace Qt::Literals::StringLiterals;

namespace {

class PrinterTarget final : public TPrintTarget {
public:
    explicit PrinterTarget(std::unique_ptr<QPrinter> printer)
        : printer_(std::move(printer))
    {
    }
    QPagedPaintDevice& Device() override { return *printer_; }
    void Check() override
    {
        const QPrinter::PrinterState state = printer_->printerState();
        if (state == QPrinter::Error || state == QPrinter::Aborted)
            throw wire::Error(wire::ErrorKind::Storage,
                u"打印机“%1”停了。请检查它是否开着、连着，再试一次。"_s.arg(printer_->printerName()));
    }
    bool Finish() override
    {
        Check();
        return true;
    }
    void GiveUp() override { printer_->abort(); }

private:
    std::unique_ptr<QPrinter> printer_;
};

} // namespace

bool HasPrinter()
{
    return !QPrinterInfo::availablePrinterNames().isEmpty();
}

std::unique_ptr<QPrinter> AskPrinter(
    QWidget* parent, const QPageLayout& paper, const QString& title, int pages)
{
    auto printer = std::make_unique<QPrinter>(QPrinter::HighResolution);
    printer->setPageLayout(paper);
    printer->setDocName(title);
    printer->setFromTo(1, pages);
    printer->setPrintRange(QPrinter::AllPages);
    auto* dialog = new QPrintDialog(printer.get(), parent);
    dialog->setOptions(QAbstractPrintDialog::PrintToFile | QAbstractPrintDialog::PrintPageRange
        | QAbstractPrintDialog::PrintCollateCopies | QAbstractPrintDialog::PrintCurrentPage);
    if (!RunDialog(dialog, [] {}))
        printer.reset();
    return printer;
}

std::pair<int, int> ChosenPages(const QPrinter& printer, int pages, int current)
{
    if (printer.printRange() == QPrinter::CurrentPage)
        return {current, current};
    if (printer.printRange() != QPrinter::PageRange || printer.fromPage() <= 0)
        return {0, pages - 1};
    const int first = qMin(printer.fromPage(), pages) - 1;
    return {first, qBound(first, printer.toPage() - 1, pages - 1)};
}

std::unique_ptr<TPrintTarget> NewPrinterTarget(std::unique_ptr<QPrinter> printer)
{
    return std::make_unique<PrinterTarget>(std::move(printer));
}
