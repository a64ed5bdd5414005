#include "framework/print/PageLayout.h"

#include <algorithm>
#include <numeric>

namespace {

constexpr double kLeastScale = 0.5; // what is smaller is read by nobody

} // namespace

TPageLayout::TPageLayout(const TPagedList& request)
    : rows_(request.rows)
    , totals_(request.totals)
{
    const int total = std::accumulate(request.widths.begin(), request.widths.end(), 0);
    if (request.shrink && total > request.room.width())
        scale_ = std::max(kLeastScale, double(request.room.width()) / total);
    // Rounded up where all of them are to fit.
    const int width = int(request.room.width() / scale_ + 0.999);
    const int height = int(request.room.height() / scale_);
    linesPerPage_ = std::max(1, (height - request.titleHeight) / request.rowHeight);
    if (rows_ > 0)
        down_ = (rows_ + totals_ + linesPerPage_ - 1) / linesPerPage_;
    Distribute(request, width);
}

void TPageLayout::Distribute(const TPagedList& request, int room)
{
    const auto count = static_cast<int>(request.widths.size());
    const auto widthOf = [&](int column) {
        return std::clamp(request.widths[static_cast<size_t>(column)], 1, room);
    };
    int repeated = std::min(request.frozen, count);
    int frozenWidth = 0;
    for (int i = 0; i < repeated; ++i)
        frozenWidth += widthOf(i);
    if (repeated == count || frozenWidth > room / 2)
        repeated = frozenWidth = 0;
    TBand first{repeated, {}};
    for (int i = 0, left = 0; i < repeated; ++i) {
        first.columns.push_back({i, left, widthOf(i)});
        left += widthOf(i);
    }
    int left = room; // a new page for the first one
    for (int i = repeated; i < count; ++i) {
        const int width = std::min(widthOf(i), room - frozenWidth);
        if (left + width > room) {
            across_.push_back(first);
            left = frozenWidth;
        }
        across_.back().columns.push_back({i, left, width});
        left += width;
    }
}

TPagePart TPageLayout::Page(int page) const
{
    const TBand& band = across_[static_cast<size_t>(page % Across())];
    const int first = page / Across() * linesPerPage_;
    const int end = std::min(first + linesPerPage_, rows_ + totals_);
    TPagePart part{.firstRow = std::min(first, rows_), .frozen = band.frozen, .columns = band.columns};
    part.rows = std::min(end, rows_) - part.firstRow;
    part.firstTotal = std::max(0, first - rows_);
    part.totals = std::max(0, end - rows_) - part.firstTotal;
    return part;
}
