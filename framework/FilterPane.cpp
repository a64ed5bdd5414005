#include "framework/FilterPane.h"

#include "runtime/ui/Style.h"

#include <QEvent>
#include <QResizeEvent>
#include <QVBoxLayout>

namespace {

constexpr int kLeastHeight = 76; // pixels at 96 dpi: two lines and the margins

} // namespace

TFilterPane::TFilterPane(QWidget* parent, std::initializer_list<QWidget*> panels)
    : TScrollPane(QSize(), parent)
{
    // In the window from the first, so that Tab goes through the panels as before.
    auto* content = new QWidget(viewport());
    auto* rows = new QVBoxLayout(content);
    rows->setContentsMargins(8, 8, 8, 6);
    rows->setSpacing(6);
    for (QWidget* panel : panels)
        rows->addWidget(panel);
    Take(content);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
}

QSize TFilterPane::sizeHint() const
{
    return NeededAt(width());
}

QSize TFilterPane::minimumSizeHint() const
{
    return {TScrollPane::minimumSizeHint().width(),
        qMin(NeededAt(width()).height(), Scaled(*this, kLeastHeight))};
}

bool TFilterPane::viewportEvent(QEvent* event)
{
    const bool used = TScrollPane::viewportEvent(event);
    if (event->type() == QEvent::LayoutRequest)
        updateGeometry();
    return used;
}

// A narrower pane has more lines.
void TFilterPane::resizeEvent(QResizeEvent* event)
{
    TScrollPane::resizeEvent(event);
    if (event->size().width() != event->oldSize().width())
        updateGeometry();
}
