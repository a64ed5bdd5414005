#include "runtime/ui/PrintDBGrid.h"

#include "runtime/ui/Application.h"
#include "runtime/ui/DBGrid.h"

#include <QPageLayout>
#include <QPagedPaintDevice>
#include <QPainter>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

struct PrintColumn {
    int index;
    int left;
    int width;
};

// Lays rows out on pages: columns that do not fit side by side are all made narrower alike, down to half;
// beyond that the rest is cut.
class Pages {
public:
    Pages(TDBGridEh& grid, const TPrintDBGridEh& settings, QPagedPaintDevice& device)
        : grid_(grid)
        , settings_(settings)
        , device_(device)
        , painter_(&device)
        , unit_(device.logicalDpiY() / 96.0)
    {
        area_ = QRect(0, 0, device.width(), device.height());
        body_ = grid.font();
        body_.setPixelSize(Px(12));
        header_ = grid.font();
        header_.setPixelSize(Px(settings.HeaderFontPixels));
        footer_ = grid.font();
        footer_.setPixelSize(Px(settings.FooterFontPixels));
        line_ = QFontMetrics(body_, &device).height() + Px(4);
        Measure();
    }

    int Print()
    {
        const TClientDataSetEx* dataSet = grid_.DataSet();
        const int rows = dataSet->RecordCount();
        const int bottom = area_.bottom() - QFontMetrics(footer_, &device_).height() - Px(8);
        NewPage();
        for (int row = 0; row < rows; ++row) {
            if (top_ + line_ > bottom)
                NewPage();
            Row([&](int column) { return grid_.CellText(row, column); }, {});
        }
        for (int row = 0; row < grid_.FooterRowCount(); ++row) {
            if (top_ + line_ > bottom)
                NewPage();
            Row([&](int column) { return grid_.FooterText(row, column); }, QColor(0xdd, 0xdd, 0xff));
        }
        return page_;
    }

private:
    int Px(double pixels) const { return qMax(1, qRound(pixels * unit_)); }

    void Measure()
    {
        int total = 0;
        for (int column = 0; column < grid_.ColumnCount(); ++column) {
            if (!grid_.Column(column).visible)
                continue;
            columns_.push_back({column, 0, Px(grid_.Column(column).width)});
            total += columns_.back().width;
        }
        const double share = total > area_.width() ? std::max(0.5, double(area_.width()) / total) : 1.0;
        int left = 0;
        for (PrintColumn& column : columns_) {
            column.width = int(column.width * share);
            column.left = left;
            left += column.width;
        }
        std::erase_if(columns_, [this](const PrintColumn& column) { return column.left >= area_.width(); });
        if (!columns_.empty())
            columns_.back().width = std::min(columns_.back().width, area_.width() - columns_.back().left);
    }

    void NewPage()
    {
        if (page_ > 0)
            device_.newPage();
        ++page_;
        top_ = 0;
        if (!settings_.HeaderText.isEmpty()) {
            painter_.setFont(header_);
            const int height = painter_.fontMetrics().height() + Px(4);
            painter_.drawText(QRect(0, 0, area_.width(), height), Qt::AlignCenter, settings_.HeaderText);
            top_ = height;
        }
        Row([&](int column) { return QString(grid_.Column(column).title).replace(u'|', u' '); },
            QColor(0xe6, 0xeb, 0xf1));
        painter_.setFont(footer_);
        const int height = painter_.fontMetrics().height();
        const QRect place(0, area_.bottom() - height - Px(2), area_.width(), height);
        painter_.setPen(Qt::black);
        painter_.drawText(place, Qt::AlignRight, u"第 %1 页"_s.arg(page_));
        if (settings_.FooterLine)
            painter_.drawLine(place.left(), area_.bottom(), place.right(), area_.bottom());
    }

    template <typename Cell> void Row(const Cell& cell, const QColor& background)
    {
        painter_.setFont(body_);
        const QFontMetrics metrics = painter_.fontMetrics();
        for (const PrintColumn& column : columns_) {
            const QRect rect(column.left, top_, column.width, line_);
            if (background.isValid())
                painter_.fillRect(rect, background);
            painter_.setPen(QPen(Qt::gray, 0));
            painter_.drawRect(rect);
            const QRect inner = rect.adjusted(Px(2), 0, -Px(2), 0);
            const auto alignment = grid_.Column(column.index).alignment == TAlignment::Right ? Qt::AlignRight
                : grid_.Column(column.index).alignment == TAlignment::Center ? Qt::AlignHCenter
                                                                             : Qt::AlignLeft;
            painter_.setPen(Qt::black);
            painter_.drawText(inner, int(alignment | Qt::AlignVCenter),
                metrics.elidedText(QString(cell(column.index)).simplified(), Qt::ElideRight, inner.width()));
        }
        top_ += line_;
    }

    TDBGridEh& grid_;
    const TPrintDBGridEh& settings_;
    QPagedPaintDevice& device_;
    QPainter painter_;
    double unit_;
    QRect area_;
    QFont body_, header_, footer_;
    int line_ = 0;
    int top_ = 0;
    int page_ = 0;
    std::vector<PrintColumn> columns_;
};

bool Printable(const TDBGridEh* grid)
{
    const TClientDataSetEx* dataSet = grid ? grid->DataSet() : nullptr;
    return dataSet && dataSet->Active() && !dataSet->IsEmpty();
}

QMarginsF Margins(const TPrintDBGridEh& settings)
{
    return QMarginsF(settings.MarginLeft, settings.MarginTop, settings.MarginRight, settings.MarginBottom)
        * 10;
}

} // namespace

TPrintDBGridEh::TPrintDBGridEh(TDBGridEh* grid, const QString& name)
    : QObject(grid)
    , grid_(grid)
{
    setObjectName(name);
}

int TPrintDBGridEh::PrintTo(QPagedPaintDevice& device)
{
    if (!Printable(grid_))
        return 0;
    device.setPageMargins(Margins(*this), QPageLayout::Millimeter);
    return Pages(*grid_, *this, device).Print();
}

void TPrintDBGridEh::Print()
{
    if (!Printable(grid_))
        return;
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageOrientation(QPageLayout::Landscape);
    QPrintDialog dialog(&printer, grid_->window());
    if (dialog.exec() == QDialog::Accepted)
        Guarded([&] { PrintTo(printer); });
}

void TPrintDBGridEh::Preview()
{
    if (!Printable(grid_))
        return;
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageOrientation(QPageLayout::Landscape);
    QPrintPreviewDialog dialog(&printer, grid_->window());
    dialog.setWindowTitle(u"打印预览"_s);
    connect(&dialog, &QPrintPreviewDialog::paintRequested, this,
        [this](QPrinter* target) { Guarded([&] { PrintTo(*target); }); });
    dialog.exec();
}
