#pragma once

#include "runtime/ui/ScrollPane.h"

#include <initializer_list>

// What stands below a filter pane asks for no more height than it must have: the pane comes first with the
// rest.
template <typename TWidget> class TBelowFilters : public TWidget {
public:
    using TWidget::TWidget;
    QSize sizeHint() const override { return this->minimumSizeHint(); }
};

// The panels above a list, one below the other. Where the window is too low for them and the list, they give
// way: two lines stay in sight, the others are scrolled to.
class TFilterPane : public TScrollPane {
    Q_OBJECT
public:
    TFilterPane(QWidget* parent, std::initializer_list<QWidget*> panels);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool viewportEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
};
