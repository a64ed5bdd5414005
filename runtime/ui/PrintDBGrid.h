#pragma once

#include "runtime/Export.h"

#include <QObject>
#include <QString>

class TDBGridEh;
class QPainter;
class QPagedPaintDevice;

// Prints a grid: titles on every page, rows in the order shown, footers at the end.
class RUNTIME_EXPORT TPrintDBGridEh : public QObject {
    Q_OBJECT
public:
    explicit TPrintDBGridEh(TDBGridEh* grid, const QString& name = {});

    double MarginTop = 2.0, MarginBottom = 2.0, MarginLeft = 2.0, MarginRight = 2.0; // centimetres
    int HeaderFontPixels = 14;
    int FooterFontPixels = 14;
    bool FooterLine = true; // a single rule under the footer
    QString HeaderText;

    // Asks for a printer, then prints; Preview shows the pages first. Both do nothing on an empty grid.
    void Print();
    void Preview();
    // Pages printed. For a device that was set up already (a PDF file, a picture).
    int PrintTo(QPagedPaintDevice& device);

private:
    TDBGridEh* grid_;
};
