#pragma once

#include "framework/print/ListPages.h"

#include <QAbstractScrollArea>
#include <QImage>
#include <QTimer>

#include <map>

// Pages below one another, painted when they come into sight, a little at a time.
class TPagePreview : public QAbstractScrollArea {
    Q_OBJECT
public:
    explicit TPagePreview(QWidget* parent);

    // Not owned; begins with the first page. None: the empty pane says `text`.
    void SetPages(TListPages* pages, const QString& text = {});
    // Nothing more is painted, what is painted stays: the rows have gone.
    void Freeze();

    int Page() const noexcept { return current_; }
    void ShowPage(int page);
    // The sizes to choose from: the whole page, its width, then smaller to larger.
    static QStringList Zooms();
    void SetZoom(int zoom);
    bool IsPainted(int page) const;
    QImage Picture(int page) const; // none where it is not painted

Q_SIGNALS:
    void PageChanged(int page);
    void ZoomWanted(int steps); // by the wheel

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;

private:
    struct TSheet {
        QImage image;
        std::unique_ptr<TPagePainter> painter; // none once it is complete
    };
    double Factor() const; // 1: as large as on paper
    void Relayout();
    void SetCurrent(int page);
    void DropSheets();
    void PaintOn();
    void PaintSheet(TSheet& sheet, const QDeadlineTimer& until) const;
    QSize SheetSize() const; // in pixels of the window
    int PageAt(int y) const;
    QRect SheetRect(int page) const; // in the window
    int Gap() const;

    TListPages* pages_ = nullptr;
    QString text_;
    bool frozen_ = false;
    int zoom_ = 0; // of the sizes
    int current_ = 0;
    std::map<int, TSheet> sheets_; // those in sight and next to it
    QTimer timer_;
};
