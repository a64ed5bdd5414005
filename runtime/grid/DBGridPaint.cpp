#include "runtime/grid/DBGridPrivate.h"
#include "runtime/grid/GridFind.h"
#include "runtime/ui/ListStyle.h"
#include "runtime/ui/Style.h"
#include "wire/Error.h"

#include <QPaintEvent>
#include <QPainter>

#include <QtMath>

#include <algorithm>

namespace {

QColor Mixed(const QColor& a, const QColor& b, double share)
{
    return QColor::fromRgbF(float(a.redF() + (b.redF() - a.redF()) * share),
        float(a.greenF() + (b.greenF() - a.greenF()) * share),
        float(a.blueF() + (b.blueF() - a.blueF()) * share));
}

} // namespace

void TDBGridEh::paintEvent(QPaintEvent* event)
{
    if (KeepsRowPlace)
        d_->rowPlace = d_->RowPlace();
    QPainter painter(viewport());
    const QRect dirty = event->rect();
    painter.fillRect(dirty, palette().color(QPalette::Base));
    if (!d_->OpenDataSet() || d_->columns.empty())
        return;
    painter.setFont(font());
    const int frozenWidth = d_->FrozenWidth();
    const QRect scrolled =
        dirty.intersected(QRect(frozenWidth, 0, viewport()->width(), viewport()->height()));
    if (!scrolled.isEmpty()) {
        painter.setClipRect(scrolled);
        d_->PaintRows(painter, scrolled, false);
    }
    if (frozenWidth > 0) {
        painter.setClipRect(dirty);
        d_->PaintRows(painter, dirty.intersected(QRect(0, 0, frozenWidth, viewport()->height())), true);
        painter.setPen(palette().color(QPalette::Dark));
        painter.drawLine(frozenWidth - 1, dirty.top(), frozenWidth - 1, dirty.bottom());
    }
}

std::vector<TDBGridEh::Private::CellPlace> TDBGridEh::Private::PlacesIn(
    const QRect& dirty, bool frozenPart) const
{
    std::vector<CellPlace> places;
    const int end = frozenPart ? frozen : int(columns.size());
    for (int column = frozenPart ? 0 : frozen; column < end; ++column) {
        const int left = ColumnLeft(column);
        const int width = q->columnWidth(column);
        if (ShownColumn(column) && left <= dirty.right() && left + width > dirty.left())
            places.push_back({column, left, width});
    }
    return places;
}

void TDBGridEh::Private::PaintRows(QPainter& painter, const QRect& dirty, bool frozenPart)
{
    const TClientDataSetEx& open = *OpenDataSet();
    const int rows = std::min(model->rowCount(), open.RecordCount());
    const int offset = indicator->offset();
    const int firstRow = std::max(0, (offset + dirty.top()) / rowHeight);
    const int lastRow = std::min(rows - 1, (offset + dirty.bottom()) / rowHeight);
    const std::vector<CellPlace> places = PlacesIn(dirty, frozenPart);
    if (places.empty() || firstRow > lastRow)
        return;

    const QPalette palette = q->palette();
    const QColor base = palette.color(QPalette::Base);
    const QColor stripe = ListStyle().stripes ? Mixed(base, palette.color(QPalette::Highlight), 0.09) : base;
    TCellParams plain{base, palette.color(QPalette::Text), q->font()};
    std::vector<TCellParams> params(places.size());
    for (int row = firstRow; row <= lastRow; ++row) {
        const int top = row * rowHeight - offset;
        plain.background = row % 2 == 0 ? base : stripe;
        for (size_t i = 0; i < places.size(); ++i) {
            params[i] = plain;
            AskHandler(columns[size_t(places[i].column)].info, row, params[i]);
            if (!params[i].background.isValid())
                params[i].background = plain.background;
        }
        MarkRow(row, places, params);
        PaintGround(painter, top, places, params);
        for (size_t i = 0; i < places.size(); ++i)
            PaintCell(painter, QRect(places[i].left, top, places[i].width - 1, rowHeight - 1), row,
                places[i].column, params[i]);
        const bool editing = row == CurrentRow() && open.State() == TDataSetState::Edit;
        if (!editing && open.ViewStatus(row) != TRowStatus::Modified)
            continue;
        for (const CellPlace& place : places) {
            if (open.ViewCellChanged(row, columns[size_t(place.column)].field))
                PaintChanged(painter, QRect(place.left, top, place.width - 1, rowHeight - 1));
        }
    }
    PaintLines(painter, dirty, firstRow, lastRow, places);
    if (CurrentRow() >= firstRow && CurrentRow() <= lastRow && (currentColumn < frozen) == frozenPart)
        PaintCurrentFrame(painter);
}

// Over whatever colour the row has for its own reasons, the current and the selected rows still stand out,
// and each still shows its own.
void TDBGridEh::Private::MarkRow(
    int row, const std::vector<CellPlace>& places, std::vector<TCellParams>& params) const
{
    const QColor highlight = q->palette().color(QPalette::Highlight);
    const TBookmark bookmark = OpenDataSet()->ViewBookmark(row);
    const bool marked = !selected.empty() && selected.contains(bookmark);
    const bool current = row == CurrentRow();
    const int foundColumn = found.row && bookmark == found.row ? found.column : -1;
    if (!marked && !current && foundColumn < 0)
        return;
    for (size_t i = 0; i < places.size(); ++i) {
        QColor& background = params[i].background;
        if (marked)
            background = Mixed(background, highlight, 0.34);
        if (current)
            background = Mixed(background, highlight, marked ? 0.16 : 0.2);
        if (places[i].column == foundColumn)
            background = FoundCellColor();
    }
}

// Neighbours of one colour are filled together, and what has the colour of the ground is there already.
void TDBGridEh::Private::PaintGround(QPainter& painter, int top, const std::vector<CellPlace>& places,
    const std::vector<TCellParams>& params) const
{
    const QColor base = q->palette().color(QPalette::Base);
    for (size_t i = 0, from = 0; i < places.size(); ++i) {
        const QColor& background = params[from].background;
        if (i + 1 < places.size() && params[i + 1].background == background)
            continue;
        const int left = places[from].left;
        if (background != base)
            painter.fillRect(left, top, places[i].left + places[i].width - left, rowHeight, background);
        from = i + 1;
    }
}

void TDBGridEh::Private::PaintLines(QPainter& painter, const QRect& dirty, int firstRow, int lastRow,
    const std::vector<CellPlace>& places) const
{
    const QPalette palette = q->palette();
    const QColor line = Mixed(palette.color(QPalette::Base), palette.color(QPalette::Text), 0.16);
    const int offset = indicator->offset();
    const int bottom = (lastRow + 1) * rowHeight - offset - 1;
    for (const CellPlace& place : places)
        painter.fillRect(place.left + place.width - 1, dirty.top(), 1, bottom - dirty.top() + 1, line);
    const int left = places.front().left;
    const int width = places.back().left + places.back().width - left;
    for (int row = firstRow; row <= lastRow; ++row)
        painter.fillRect(left, (row + 1) * rowHeight - offset - 1, width, 1, line);
}

void TDBGridEh::Private::PaintCurrentFrame(QPainter& painter) const
{
    const QPalette palette = q->palette();
    const QColor highlight = palette.color(QPalette::Highlight);
    const bool focused = q->hasFocus() || (editor && editor->hasFocus());
    const QRect cell(ColumnLeft(currentColumn), CurrentRow() * rowHeight - indicator->offset(),
        q->columnWidth(currentColumn), rowHeight);
    painter.setPen(focused ? highlight : Mixed(palette.color(QPalette::Base), highlight, 0.5));
    painter.drawRect(cell.adjusted(0, 0, -2, -2));
    if (focused)
        painter.drawRect(cell.adjusted(1, 1, -3, -3));
}

void TDBGridEh::Private::AskHandler(const TColumnEh& column, int viewRow, TCellParams& params) const
{
    if (!q->OnGetCellParams)
        return;
    try {
        q->OnGetCellParams(column, viewRow, params);
    } catch (const wire::Error& error) {
        qWarning("cell colours: %s", error.what());
    }
}

void TDBGridEh::Private::PaintCell(
    QPainter& painter, const QRect& rect, int viewRow, int column, TCellParams& params)
{
    if (q->OnDrawColumnCell) {
        painter.setPen(params.foreground);
        bool drawn = false;
        try {
            drawn = q->OnDrawColumnCell(painter, rect, column, viewRow);
        } catch (const wire::Error& error) {
            qWarning("cell drawing: %s", error.what());
        }
        if (drawn)
            return;
    }
    const TGridColumn& entry = columns[size_t(column)];
    if (entry.field < 0)
        return;
    if (entry.info.style == TColumnStyle::CheckBox) {
        PaintCheck(painter, rect, q->CellText(viewRow, column) == QLatin1StringView("1"));
        return;
    }
    const QString text = q->CellText(viewRow, column);
    if (text.isEmpty())
        return;
    const QRect inner = rect.adjusted(3, 0, -3, 0);
    if (inner.width() <= 0)
        return;
    const bool unknown =
        entry.info.style == TColumnStyle::Lookup && !entry.info.readOnly && ShowsUnknown(viewRow, column);
    painter.setPen(unknown                ? UnknownTextColor()
            : params.foreground.isValid() ? params.foreground
                                          : q->palette().color(QPalette::Text));
    const QFont& font = q->font();
    if (params.font != font) {
        painter.save();
        painter.setFont(params.font);
        const auto horizontal = entry.info.alignment == TAlignment::Right ? Qt::AlignRight
            : entry.info.alignment == TAlignment::Center                  ? Qt::AlignHCenter
                                                                          : Qt::AlignLeft;
        painter.drawText(inner, int(horizontal | Qt::AlignVCenter),
            QFontMetrics(params.font).elidedText(text, Qt::ElideRight, inner.width()));
        painter.restore();
        return;
    }
    const QFontMetrics& metrics = q->fontMetrics();
    const int width = texts.Fit(text, inner.width(), font);
    int left = inner.left();
    if (entry.info.alignment == TAlignment::Right)
        left = inner.right() + 1 - width;
    else if (entry.info.alignment == TAlignment::Center)
        left = inner.left() + (inner.width() - width) / 2;
    if (column == found.column && IsFound(viewRow, column))
        PaintFound(painter, inner, text, left);
    if (hits)
        PaintHit(painter, inner, text, left, column);
    texts.Draw(painter, left, rect.top() + (rect.height() - metrics.height()) / 2);
    if (unknown)
        PaintUnknown(painter, inner, entry, left + width);
}

// What is not saved yet has a corner of its own, over whatever colour the row has.
void TDBGridEh::Private::PaintChanged(QPainter& painter, const QRect& rect)
{
    const int side = std::max(5, rowHeight / 3);
    const QPoint corner[] = {
        rect.topLeft(), rect.topLeft() + QPoint(side, 0), rect.topLeft() + QPoint(0, side)};
    painter.setPen(Qt::NoPen);
    painter.setBrush(ChangedCellColor());
    painter.drawPolygon(corner, 3);
    painter.setBrush(Qt::NoBrush);
}

// The letters found, where the cell is wide enough to show them.
void TDBGridEh::Private::PaintFound(QPainter& painter, const QRect& inner, const QString& text, int left)
{
    const qsizetype at = text.indexOf(lastFound, 0, Qt::CaseInsensitive);
    if (at < 0)
        return;
    const QFontMetrics& metrics = q->fontMetrics();
    const QRect letters(left + metrics.horizontalAdvance(text.left(at)), inner.top(),
        metrics.horizontalAdvance(text.mid(at, lastFound.size())), inner.height());
    painter.fillRect(letters.intersected(inner), FoundTextColor());
}

// Letters found by the line above the titles, told from other marks by the line under them too; all of the
// cell where it cuts them off.
void TDBGridEh::Private::PaintHit(
    QPainter& painter, const QRect& inner, const QString& text, int left, int column)
{
    const auto [at, length] = hits->HitIn(column, text);
    if (at < 0)
        return;
    const QFontMetrics& metrics = q->fontMetrics();
    QRect letters(left + metrics.horizontalAdvance(text.left(at)), inner.top(),
        metrics.horizontalAdvance(text.mid(at, length)), inner.height());
    letters = letters.right() > inner.right() + 1 ? inner : letters.intersected(inner);
    painter.fillRect(letters, HitTextColor());
    painter.fillRect(letters.left(), letters.bottom() - 1, letters.width(), 2, HitLineColor());
}

// Beside the text, where it leaves room: why it has that colour.
void TDBGridEh::Private::PaintUnknown(
    QPainter& painter, const QRect& inner, const TGridColumn& column, int textEnd)
{
    const int room = inner.right() - textEnd - inner.height() / 2;
    if (room <= 0)
        return;
    const int width = texts.Fit(column.info.lookup.unknownText, inner.width(), q->font());
    if (width <= room)
        texts.Draw(
            painter, inner.right() - width, inner.top() + (inner.height() - q->fontMetrics().height()) / 2);
}

void TDBGridEh::Private::PaintCheck(QPainter& painter, const QRect& rect, bool checked)
{
    const int side = std::min(rect.height() - 4, 13 * rowHeight / 18);
    const QRect box(rect.center().x() - side / 2, rect.center().y() - side / 2, side, side);
    const QPalette palette = q->palette();
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Mixed(palette.color(QPalette::Base), palette.color(QPalette::Text), 0.5));
    painter.setBrush(palette.color(QPalette::Base));
    painter.drawRoundedRect(QRectF(box).adjusted(0.5, 0.5, -0.5, -0.5), 2, 2);
    if (checked) {
        QPen pen(palette.color(QPalette::Highlight), side / 6.5);
        pen.setCapStyle(Qt::RoundCap);
        pen.setJoinStyle(Qt::RoundJoin);
        painter.setPen(pen);
        const QPointF mark[] = {{box.left() + side * 0.24, box.top() + side * 0.52},
            {box.left() + side * 0.43, box.top() + side * 0.72},
            {box.left() + side * 0.77, box.top() + side * 0.3}};
        painter.drawPolyline(mark, 3);
    }
    painter.restore();
}
