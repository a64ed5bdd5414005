// What leaves the grid by the clipboard.

#include "runtime/grid/DBGridPrivate.h"
#include "runtime/ui/Application.h"
#include "wire/ColumnData.h"
#include "wire/Error.h"
#include "wire/TextOut.h"

#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>
#include <QMimeData>
#include <QPointer>
#include <QScopeGuard>

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kRowsBetweenLooks = 64; // at the clock
constexpr int kSliceMilliseconds = 20; // of copying, before the window may paint

constexpr size_t kShortCell = 64; // the most characters of a number or moment
constexpr double kMostCents = 1e12; // with two decimals, told from its neighbours by them

// By character, one or sixteen: it would split the cell.
template <typename Character> auto SplitsCell(Character character)
{
    return (character == '\t') | (character == '\r') | (character == '\n');
}

template <typename Character> auto NeedsEscape(Character character)
{
    return (character == '<') | (character == '>') | (character == '&') | (character == '"');
}

// Lines of cells as a spreadsheet takes them, between tabs; and, made when somebody asks for it, a table in
// which whatever is text says so, since a spreadsheet would take a long number for one and round it.
class CopiedCells final : public QMimeData {
public:
    explicit CopiedCells(std::vector<bool> numbers)
        : numbers_(std::move(numbers))
    {
    }
    void AddCell(QByteArrayView text) { AddText(text, text.data() + text.size()); }
    // As the column holds it.
    void AddStored(const wire::Column& column, qint64 row)
    {
        const wire::Column::Data& stored = column.Raw();
        if (stored.type == wire::ColumnType::Text) {
            AddText(column.TextAt(row), stored.pool.bytes.Begin() + stored.pool.bytes.Size());
            return;
        }
        char* to = lines_.Room(lines_.End(), kShortCell);
        if (stored.nulls.IsNull(row))
            *to++ = '\t';
        else if (stored.type == wire::ColumnType::DateTime)
            to = moments_.Put(to, stored.ints.At(row)), *to++ = '\t';
        else if (stored.type == wire::ColumnType::Integer)
            to = wire::PutInteger(to, stored.ints.At(row)), *to++ = '\t';
        else
            return AddNumber(to, stored.numbers[row]);
        lines_.SetEnd(to);
    }
    void EndLine() { lines_.End()[-1] = '\n'; }
    // A cell alone, no line of it.
    static QMimeData* One(const QString& text, bool number)
    {
        CopiedCells cells({number});
        cells.AddCell(text.toUtf8());
        cells.EndLine();
        auto* one = new QMimeData;
        one->setText(text);
        one->setHtml(QString::fromUtf8(cells.Table()));
        return one;
    }

    QStringList formats() const override { return {u"text/plain"_s, u"text/html"_s}; }

protected:
    QVariant retrieveData(const QString& format, QMetaType) const override
    {
        if (format == u"text/plain"_s)
            return lines_.Bytes().toByteArray();
        return format == u"text/html"_s ? QVariant(Table()) : QVariant();
    }

private:
    // Up to `readable` the memory at the text may be read.
    void AddText(QByteArrayView text, const char* readable)
    {
        const auto size = static_cast<size_t>(text.size());
        char* const to = lines_.Room(lines_.End(), size + 1);
        char* end = size == 0 ? to
                              : wire::CopyPlain(to, text.data(), size, readable,
                                  [](wire::Sixteen piece) { return SplitsCell(piece); });
        if (!end)
            end = std::ranges::replace_copy_if(
                text, to, [](char c) { return SplitsCell(c) != 0; }, ' ')
                      .out;
        *end = '\t';
        lines_.SetEnd(end + 1);
    }

    void AddNumber(char* to, double number)
    {
        const double magnitude = std::fabs(number);
        *to = '-';
        char* const end =
            magnitude < kMostCents ? wire::PutCents(number < 0 ? to + 1 : to, magnitude) : nullptr;
        if (!end)
            return AddCell(wire::ToText(number).toLatin1());
        *end = '\t';
        lines_.SetEnd(end + 1);
    }

    static void AddEscaped(wire::TextBuffer& table, QByteArrayView text, const char* readable)
    {
        constexpr size_t kLongestEscape = 6;
        const auto size = static_cast<size_t>(text.size());
        if (size == 0)
            return;
        char* to = table.Room(table.End(), kLongestEscape * size);
        if (char* const end = wire::CopyPlain(
                to, text.data(), size, readable, [](wire::Sixteen piece) { return NeedsEscape(piece); }))
            return table.SetEnd(end);
        for (const char character : text) {
            const QByteArrayView escape = character == '<' ? "&lt;"
                : character == '>'                         ? "&gt;"
                : character == '&'                         ? "&amp;"
                : character == '"'                         ? "&quot;"
                                                           : QByteArrayView(&character, 1);
            to = std::copy(escape.begin(), escape.end(), to);
        }
        table.SetEnd(to);
    }

    QByteArray Table() const
    {
        wire::TextBuffer table;
        table.Add("<meta charset=\"utf-8\"><table><tr>");
        const QByteArrayView lines = lines_.Bytes();
        size_t column = 0;
        for (const char* cell = lines.begin(); cell != lines.end();) {
            const char* const end =
                std::find_if(cell, lines.end(), [](char c) { return c == '\t' || c == '\n'; });
            table.Add(numbers_[column] ? QByteArrayView("<td>")
                                       : QByteArrayView("<td style=\"mso-number-format:'\\@'\">"));
            AddEscaped(table, {cell, end}, lines.end());
            table.Add("</td>");
            ++column;
            if (*end == '\n') {
                table.Add("</tr><tr>");
                column = 0;
            }
            cell = end + 1;
        }
        table.SetEnd(table.End() - 4); // the row that nothing stands in
        table.Add("</table>");
        return table.Bytes().toByteArray();
    }

    std::vector<bool> numbers_; // by column
    wire::TextBuffer lines_; // UTF-8
    wire::MomentTexts moments_;
};

// What a spreadsheet may take for a number.
bool IsNumber(const TGridColumn& column, wire::ColumnType type)
{
    return type == wire::ColumnType::Number && column.info.style == TColumnStyle::Text;
}

// Shown as it is stored.
bool IsPlain(const TGridColumn& column, wire::ColumnType type)
{
    const TColumnEh& info = column.info;
    return column.field >= 0 && !column.rowNumber && info.nullText.isEmpty()
        && (info.style == TColumnStyle::Text || info.style == TColumnStyle::DateTime)
        && (type == wire::ColumnType::Text || info.displayFormat.isEmpty());
}

} // namespace

// In slices, between which the window paints. Raises wire::Error (Usage) where the rows are read anew
// meanwhile; what was copied before then stays.
void TDBGridEh::Private::Copy(
    const std::vector<int>& rows, const std::vector<int>& copied, bool withTitles) const
{
    if (copied.empty())
        return;
    const TClientDataSetEx& open = *OpenDataSet();
    std::vector<bool> numbers;
    std::vector<const wire::Column*> stored; // of plain columns; else nullptr
    for (const int column : copied) {
        const TGridColumn& entry = columns[size_t(column)];
        const auto type = entry.field >= 0 ? open.FieldInfo(entry.field).type : wire::ColumnType::Text;
        numbers.push_back(IsNumber(entry, type));
        stored.push_back(IsPlain(entry, type) ? &open.StoredColumn(entry.field) : nullptr);
    }
    auto cells = std::make_unique<CopiedCells>(std::move(numbers));
    if (withTitles) {
        for (const int column : copied)
            cells->AddCell(columns[size_t(column)].info.title.toUtf8());
        cells->EndLine();
    }
    bool changed = false;
    const QPointer<TDBGridEh> grid = q;
    const auto watch =
        QObject::connect(&open, &TClientDataSetEx::DataReset, q, [&changed] { changed = true; });
    const auto watched = qScopeGuard([&watch] { QObject::disconnect(watch); });
    QElapsedTimer slice;
    slice.start();
    for (size_t i = 0; i < rows.size(); ++i) {
        const qint64 place = open.StoredRow(rows[i], -1);
        for (size_t k = 0; k < copied.size(); ++k) {
            if (place >= 0 && stored[k])
                cells->AddStored(*stored[k], place);
            else
                cells->AddCell(q->CellText(rows[i], copied[k]).toUtf8());
        }
        cells->EndLine();
        if (i % kRowsBetweenLooks != 0 || slice.elapsed() < kSliceMilliseconds)
            continue;
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
        if (!grid)
            return;
        if (changed)
            throw wire::Error(wire::ErrorKind::Usage, u"列表在复制时变了，没有复制。"_s);
        slice.restart();
    }
    QApplication::clipboard()->setMimeData(cells.release());
}

// The selected rows; the current cell alone where none or one is selected, unless its title is wanted, too.
void TDBGridEh::Private::CopyRows(bool withTitles) const
{
    if (CurrentRow() < 0)
        return;
    std::vector<int> rows;
    for (const TBookmark bookmark : q->SelectedRows())
        rows.push_back(OpenDataSet()->ViewRowOf(bookmark));
    if (rows.size() < 2 && !withTitles) {
        const TGridColumn& entry = columns[size_t(currentColumn)];
        const bool number = entry.field >= 0 && IsNumber(entry, OpenDataSet()->FieldInfo(entry.field).type);
        QApplication::clipboard()->setMimeData(
            CopiedCells::One(q->CellText(CurrentRow(), currentColumn), number));
        return;
    }
    if (rows.empty())
        rows.push_back(CurrentRow());
    std::vector<int> shown;
    for (int column = 0; column < int(columns.size()); ++column) {
        if (ShownColumn(column))
            shown.push_back(column);
    }
    Guarded([&] { Copy(rows, shown, withTitles); });
}

// The current column of the selected rows, of all where fewer than two are.
void TDBGridEh::Private::CopyColumn() const
{
    if (CurrentRow() < 0)
        return;
    std::vector<int> rows;
    for (const TBookmark bookmark : q->SelectedRows())
        rows.push_back(OpenDataSet()->ViewRowOf(bookmark));
    if (rows.size() < 2) {
        rows.resize(size_t(OpenDataSet()->RecordCount()));
        for (size_t i = 0; i < rows.size(); ++i)
            rows[i] = int(i);
    }
    Guarded([&] { Copy(rows, {currentColumn}, false); });
}
