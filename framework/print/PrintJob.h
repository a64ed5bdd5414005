#pragma once

#include "framework/print/ListPages.h"

#include <QObject>
#include <QTimer>

#include <memory>

class QPagedPaintDevice;

// Where pages go.
class TPrintTarget {
public:
    virtual ~TPrintTarget();
    virtual QPagedPaintDevice& Device() = 0;
    // Both raise wire::Error where the pages cannot go on, or have not arrived.
    virtual void Check() = 0;
    virtual bool Finish() = 0; // all are painted; false while they are on their way, to be called again
    virtual void GiveUp() { } // while they are being painted
};

// A PDF file, whole or not at all: what stood under its name stays until the new one is complete.
std::unique_ptr<TPrintTarget> NewPdfTarget(
    const QString& path, const QPageLayout& paper, const QString& title);
// Paints pages one after the other, a little at a time between the window's own events.
class TPrintJob : public QObject {
    Q_OBJECT
public:
    // Pages first…last, from 0.
    TPrintJob(TListPages& pages, std::unique_ptr<TPrintTarget> target, int first, int last);
    // Gives up what is not finished.
    ~TPrintJob() override;

Q_SIGNALS:
    void Advanced(int done);
    // Empty: it is all there. The last that is heard of the job.
    void Finished(const QString& failure);

private:
    void Step();
    void PaintOn();

    TListPages& pages_;
    std::unique_ptr<TPrintTarget> target_;
    std::unique_ptr<QPainter> painter_;
    std::unique_ptr<TPagePainter> page_; // the one at work
    bool done_ = false;
    int first_;
    int last_;
    int next_;
    QTimer timer_;
};
