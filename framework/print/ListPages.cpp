#include "framework/print/ListPages.h"

#include <QPainter>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kScreenDpi = 96;
constexpr int kBodyPixels = 12;
constexpr int kCriteriaLines = 2;
constexpr QColor kTitleColor(0xE6, 0xEB, 0xF1);
constexpr QColor kTotalColor(0xDD, 0xDD, 0xFF);
constexpr QColor kLineColor(0x80, 0x80, 0x80);

constexpr int Units(int pixels)
{
    return pixels * kPageUnits / kScreenDpi;
}

const int kInset = Units(3); // of a text in its cell
const int kHairline = Units(1) / 2;

} // namespace

TListPages::TListPages(
    const TDBGridEh& grid, const TPrintDBGridEh& settings, TPageOptions options, TPageWords words)
    : options_(std::move(options))
    , words_(std::move(words))
    , footerLine_(settings.FooterLine)
    , rows_(grid, options_.selectedOnly)
    , body_(grid.font(), Units(kBodyPixels))
    , total_(grid.font(), Units(kBodyPixels), true)
    , header_(grid.font(), Units(settings.HeaderFontPixels), true)
    , footer_(grid.font(), Units(settings.FooterFontPixels))
    , area_(options_.paper.paintRectPixels(kPageUnits).size())
    , line_(body_.Height())
    , layout_({})
{
    for (const TExportColumn& column : rows_.Columns())
        titles_ += column.title;
    if (!words_.criteria.isEmpty())
        criteria_ = body_.Lines(words_.criteria, area_.width(), kCriteriaLines);
    headHeight_ = header_.Height() + Units(4) + int(criteria_.size()) * line_ + Units(4);
    footHeight_ = footer_.Height() + Units(8);
    titleLine_ = line_ + Units(6);
    rowHeight_ = options_.lines * line_ + Units(4);
    layout_ = Layout();
}

TPageLayout TListPages::Layout() const
{
    TPagedList request{.rows = rows_.RowCount(),
        .totals = rows_.FooterRows(),
        .rowHeight = rowHeight_,
        .titleHeight = TitleLines(titles_) * titleLine_,
        .room = {area_.width(), area_.height() - headHeight_ - footHeight_},
        .frozen = rows_.FrozenColumns(),
        .shrink = options_.shrink};
    for (const TExportColumn& column : rows_.Columns())
        request.widths.push_back(Units(column.width));
    return TPageLayout(request);
}

TPagePainter::TPagePainter(TListPages& pages, int page)
    : pages_(pages)
    , page_(page)
    , part_(pages.layout_.Page(page))
{
}

bool TPagePainter::Paint(QPainter& painter, const QDeadlineTimer& until)
{
    const int lines = part_.rows + part_.totals;
    if (next_ < 0)
        PaintHead(painter);
    painter.save();
    painter.translate(0, pages_.headHeight_);
    painter.scale(pages_.Scale(), pages_.Scale());
    if (next_ < 0) {
        PaintTitles(painter);
        next_ = 0;
    }
    while (next_ < lines && !until.hasExpired())
        PaintLine(painter, next_++);
    painter.restore();
    if (next_ < lines)
        return false;
    PaintFoot(painter);
    return true;
}

int TPagePainter::Right() const
{
    return part_.columns.back().left + part_.columns.back().width;
}

void TPagePainter::PaintHead(QPainter& painter) const
{
    painter.setPen(Qt::black);
    const int width = pages_.area_.width();
    const QString caption = pages_.header_.Lines(pages_.words_.caption, width).first();
    pages_.header_.Draw(
        painter, (width - pages_.header_.Width(caption)) / 2, pages_.header_.Ascent(), caption);
    int baseline = pages_.header_.Height() + Units(4) + pages_.body_.Ascent();
    for (const QString& line : pages_.criteria_) {
        pages_.body_.Draw(painter, 0, baseline, line);
        baseline += pages_.line_;
    }
}

void TPagePainter::PaintTitles(QPainter& painter) const
{
    QStringList titles;
    for (const TPageColumn& column : part_.columns)
        titles += pages_.titles_[column.column];
    // As high as on every other page, whatever the columns of this one.
    const int missing = TitleLines(pages_.titles_) - TitleLines(titles);
    for (const TTitleCell& title : TitleCells(titles, part_.frozen)) {
        const TPageColumn& last = part_.columns[size_t(title.last)];
        const int left = part_.columns[size_t(title.first)].left;
        const int levels = title.levels + (title.leaf ? missing : 0);
        const QRect cell(
            left, title.level * pages_.titleLine_, last.left + last.width - left, levels * pages_.titleLine_);
        painter.setPen(QPen(kLineColor, kHairline));
        painter.setBrush(kTitleColor);
        painter.drawRect(cell);
        PaintCell(painter, pages_.body_, cell, title.text, TAlignment::Center, levels);
    }
}

void TPagePainter::PaintLine(QPainter& painter, int line)
{
    const bool total = line >= part_.rows;
    const int top = TitleLines(pages_.titles_) * pages_.titleLine_ + line * pages_.rowHeight_;
    const int bottom = top + pages_.rowHeight_;
    if (total)
        painter.fillRect(QRect(0, top, Right(), pages_.rowHeight_), kTotalColor);
    painter.setPen(QPen(kLineColor, kHairline));
    painter.drawLine(0, bottom, Right(), bottom);
    painter.drawLine(0, top, 0, bottom);
    for (const TPageColumn& column : part_.columns)
        painter.drawLine(column.left + column.width, top, column.left + column.width, bottom);
    TGridRows& rows = pages_.rows_;
    const int footer = part_.firstTotal + line - part_.rows;
    for (const TPageColumn& column : part_.columns) {
        const QRect cell(column.left, top, column.width, pages_.rowHeight_);
        if (total)
            PaintCell(painter, pages_.total_, cell, rows.Footer(footer, column.column),
                rows.FooterAlignment(footer, column.column), 1);
        else
            PaintCell(painter, pages_.body_, cell, rows.Text(part_.firstRow + line, column.column),
                rows.Alignment(column.column), pages_.options_.lines);
    }
}

void TPagePainter::PaintCell(QPainter& painter, const TPageFont& font, const QRect& cell, const QString& text,
    TAlignment alignment, int lines) const
{
    if (text.isEmpty())
        return;
    const QRect inner = cell.adjusted(kInset, 0, -kInset, 0);
    const QStringList wrapped = font.Lines(text.simplified(), inner.width(), lines);
    painter.setPen(Qt::black);
    int baseline = cell.center().y() - int(wrapped.size()) * font.Height() / 2 + font.Ascent();
    for (const QString& line : wrapped) {
        double left = inner.left();
        if (alignment != TAlignment::Left)
            left += (inner.width() - font.Width(line)) / (alignment == TAlignment::Center ? 2 : 1);
        font.Draw(painter, left, baseline, line);
        baseline += font.Height();
    }
}

void TPagePainter::PaintFoot(QPainter& painter) const
{
    painter.setPen(Qt::black);
    const TPageFont& font = pages_.footer_;
    const int width = pages_.area_.width();
    const int bottom = pages_.area_.height() - Units(2);
    const int baseline = bottom - font.Height() + font.Ascent();
    const QString number = u"第 %1 页，共 %2 页"_s.arg(page_ + 1).arg(pages_.Count());
    const double numberLeft = width - font.Width(number);
    font.Draw(painter, numberLeft, baseline, number);
    font.Draw(painter, 0, baseline, font.Lines(pages_.words_.printed, numberLeft - Units(16)).first());
    if (pages_.footerLine_) {
        painter.setPen(QPen(Qt::black, kHairline));
        painter.drawLine(0, bottom, width, bottom);
    }
}
