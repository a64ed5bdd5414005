#pragma once

#include <QSize>

#include <vector>

// Which rows and columns of a list stand on which page. All rows are equally high, so nothing has to be
// measured; lengths are in any one unit.

struct TPagedList {
    int rows = 0;
    int totals = 0; // lines below the last row
    int rowHeight = 1;
    int titleHeight = 0; // on every page
    QSize room{}; // of a page, for titles and rows
    std::vector<int> widths{}; // of the columns
    int frozen = 0; // of them: stand on every page
    bool shrink = false; // columns that do not fit side by side are made smaller, to half at the most
};

struct TPageColumn {
    int column;
    int left;
    int width;
    bool operator==(const TPageColumn&) const = default;
};

struct TPagePart {
    int firstRow = 0;
    int rows = 0;
    int firstTotal = 0;
    int totals = 0;
    int frozen = 0; // columns repeated at the left
    std::vector<TPageColumn> columns{};
};

// Pages side by side follow one another, then come the rows below. Frozen columns that would take more than
// half of a page are not repeated. A column wider than its page is cut to it.
class TPageLayout {
public:
    explicit TPageLayout(const TPagedList& request);

    double Scale() const noexcept { return scale_; } // of titles and rows
    int Across() const noexcept { return static_cast<int>(across_.size()); }
    int Count() const noexcept { return down_ * Across(); } // none without rows
    TPagePart Page(int page) const;

private:
    struct TBand {
        int frozen;
        std::vector<TPageColumn> columns;
    };
    void Distribute(const TPagedList& request, int room);

    double scale_ = 1;
    int rows_;
    int totals_;
    int linesPerPage_ = 1;
    int down_ = 0;
    std::vector<TBand> across_;
};
