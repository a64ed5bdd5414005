#pragma once

#include "runtime/grid/TitleCells.h"

#include <QElapsedTimer>
#include <QHeaderView>

class QMenu;
class TDBGridEh;
struct TGridColumn;

// Titles: groups over several lines, sort markers, frozen columns; the user drags edges and titles.
class TGridHeader : public QHeaderView {
    Q_OBJECT
public:
    explicit TGridHeader(TDBGridEh* grid);

    QSize sizeHint() const override;
    // Called when titles or columns changed.
    void Relayout();
    // Which columns are shown, frozen and sorted; under the column's title.
    void ShowMenu(int column);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void leaveEvent(QEvent* event) override;
    bool event(QEvent* event) override;

private:
    using Cell = TTitleCell; // columns are the grid's
    int LineHeight() const;
    QRect CellRect(const Cell& cell) const;
    QRect SeenOf(const Cell& cell) const; // what of it lies in the window, beside the frozen columns
    void PaintCell(QPainter& painter, const Cell& cell);
    void PaintFunnel(QPainter& painter, const QRect& funnel, bool filtered) const;
    int PaintSortMarker(QPainter& painter, const QRect& room, const TGridColumn& column) const;
    bool HasFilter(int column) const;
    QRect FunnelRect(int column) const; // the lower right corner of its title; empty where it has none
    int ColumnAt(int x) const;
    int EdgeAt(int x) const; // the column whose right edge is there; -1
    int DropPlace(int x) const;
    void FitColumn(int column);
    void OfferColumn(QMenu& menu, int column);
    void ShowMenu(int column, const QPoint& place);

    TDBGridEh* grid_;
    std::vector<Cell> cells_;
    int levels_ = 1;
    enum class Drag { None, Pressed, Resize, Move } drag_ = Drag::None;
    int dragColumn_ = -1;
    int dragStart_ = 0;
    int dragWidth_ = 0;
    int dropAt_ = -1;
    int hovered_ = -1;
    QElapsedTimer sincePress_; // since a button went down here
};

// The narrow strip at the left: the current row, its editing state, the selected rows.
class TGridIndicator : public QHeaderView {
    Q_OBJECT
public:
    explicit TGridIndicator(TDBGridEh* grid);
    QSize sizeHint() const override;

protected:
    void paintSection(QPainter* painter, const QRect& rect, int logicalIndex) const override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    TDBGridEh* grid_;
};
