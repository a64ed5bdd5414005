#pragma once

#include "framework/export/GridRows.h"
#include "framework/print/PageFont.h"
#include "framework/print/PageLayout.h"
#include "runtime/grid/PrintDBGrid.h"
#include "runtime/grid/TitleCells.h"

#include <QDeadlineTimer>
#include <QPageLayout>

class QPainter;

// A list on paper. Preview, printer and file are painted by the same hand in the same unit, so that they show
// the same letters at the same place.

inline constexpr int kPageUnits = 600; // to the inch

struct TPageOptions {
    bool selectedOnly = false;
    QPageLayout paper; // with its margins
    bool shrink = true; // columns that do not fit side by side
    int lines = 1; // of text in a row: what does not fit in them ends in "…"
};

// What stands around the rows on every page.
struct TPageWords {
    QString caption;
    QString criteria; // what the rows were asked for by
    QString printed; // when and by whom
};

class TListPages {
public:
    // The grid shows rows, and goes on showing the same ones.
    TListPages(const TDBGridEh& grid, const TPrintDBGridEh& settings, TPageOptions options, TPageWords words);

    int Count() const noexcept { return layout_.Count(); }
    int Across() const noexcept { return layout_.Across(); }
    double Scale() const noexcept { return layout_.Scale(); }
    int RowCount() const { return rows_.RowCount(); }
    const QPageLayout& Paper() const noexcept { return options_.paper; }
    QSize SheetSize() const { return options_.paper.fullRectPixels(kPageUnits).size(); }
    QPoint Corner() const { return options_.paper.paintRectPixels(kPageUnits).topLeft(); }

private:
    friend class TPagePainter;
    TPageLayout Layout() const;

    TPageOptions options_;
    TPageWords words_;
    bool footerLine_;
    TGridRows rows_;
    QStringList titles_; // of the columns shown
    TPageFont body_, total_, header_, footer_;
    QSize area_; // inside the margins
    int line_; // a line of text in the list
    int headHeight_ = 0;
    int footHeight_ = 0;
    int titleLine_ = 0;
    int rowHeight_ = 0;
    QStringList criteria_; // by line
    TPageLayout layout_;
};

// Paints a page, in steps, so that one of many cells holds nobody up. The painter's origin is the corner
// inside the margins.
class TPagePainter {
public:
    TPagePainter(TListPages& pages, int page);
    // Goes on where it stopped; true when the page is complete.
    bool Paint(QPainter& painter, const QDeadlineTimer& until = QDeadlineTimer(QDeadlineTimer::Forever));

private:
    void PaintHead(QPainter& painter) const;
    void PaintTitles(QPainter& painter) const;
    void PaintLine(QPainter& painter, int line);
    void PaintCell(QPainter& painter, const TPageFont& font, const QRect& cell, const QString& text,
        TAlignment alignment, int lines) const;
    void PaintFoot(QPainter& painter) const;
    int Right() const;

    TListPages& pages_;
    int page_;
    TPagePart part_;
    int next_ = -1; // line of the page; -1: its head
};
