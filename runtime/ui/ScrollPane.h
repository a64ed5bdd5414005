#pragma once

#include "runtime/Export.h"

#include <QAbstractScrollArea>
#include <QPointer>

// Shows one widget as large as there is room, and never smaller than it needs: what does not fit is scrolled
// to, with the bars or by moving the focus. Unlike QScrollArea it asks a content whose height follows from
// its width for the least height, not for the preferred one.
class RUNTIME_EXPORT TScrollPane : public QAbstractScrollArea {
    Q_OBJECT
public:
    explicit TScrollPane(QWidget* content, QWidget* parent = nullptr);
    // Empty until it takes a content, which prefers this size.
    explicit TScrollPane(QSize preferred, QWidget* parent = nullptr);

    // Makes the content its child.
    void Take(QWidget* content);
    QWidget* Content() const noexcept { return content_; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool viewportEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    // Asks the content; the pane closes when that does.
    void closeEvent(QCloseEvent* event) override;

    // The least that the content takes in a pane of this width.
    QSize NeededAt(int width) const;

private:
    void Fit();
    void Reveal(const QWidget& widget);

    QPointer<QWidget> content_;
    QSize preferred_; // what the content was given before it came here
};
