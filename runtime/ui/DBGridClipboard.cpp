// What leaves the grid by the clipboard.

#include "runtime/ui/DBGridPrivate.h"

#include <QApplication>
#include <QClipboard>
#include <QMimeData>

using namespace Qt::Literals::StringLiterals;

namespace {

// Tabs and line breaks would split a cell.
QString OneLine(QString text)
{
    for (const QChar separator : {u'\t', u'\r', u'\n'})
        text.replace(separator, u' ');
    return text;
}

} // namespace

// As a spreadsheet takes them: lines of cells between tabs; and a table in which whatever is text says so,
// since a spreadsheet would take a long number for one and round it.
void TDBGridEh::Private::Copy(
    const std::vector<int>& rows, const std::vector<int>& copied, bool withTitles) const
{
    const TClientDataSetEx& open = *OpenDataSet();
    std::vector<QString> openings; // of a cell, by column
    for (const int column : copied) {
        const TGridColumn& entry = columns[size_t(column)];
        const bool number = entry.field >= 0 && entry.info.style == TColumnStyle::Text
            && open.FieldInfo(entry.field).type == wire::ColumnType::Number;
        openings.push_back(number ? u"<td>"_s : u"<td style=\"mso-number-format:'\\@'\">"_s);
    }
    QString text;
    QString html = u"<meta charset=\"utf-8\"><table>"_s;
    const auto addLine = [&](const auto& cell) {
        html += u"<tr>"_s;
        for (size_t i = 0; i < copied.size(); ++i) {
            const QString shown = OneLine(cell(copied[i]));
            if (i > 0)
                text += u'\t';
            text += shown;
            html += openings[i] + shown.toHtmlEscaped() + u"</td>"_s;
        }
        text += u'\n';
        html += u"</tr>"_s;
    };
    if (withTitles)
        addLine([this](int column) { return columns[size_t(column)].info.title; });
    for (const int row : rows)
        addLine([this, row](int column) { return q->CellText(row, column); });
    auto* data = new QMimeData;
    data->setText(text);
    data->setHtml(html + u"</table>"_s);
    QApplication::clipboard()->setMimeData(data);
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
        QApplication::clipboard()->setText(q->CellText(CurrentRow(), currentColumn));
        return;
    }
    if (rows.empty())
        rows.push_back(CurrentRow());
    std::vector<int> shown;
    for (int column = 0; column < int(columns.size()); ++column) {
        if (ShownColumn(column))
            shown.push_back(column);
    }
    Copy(rows, shown, withTitles);
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
    Copy(rows, {currentColumn}, false);
}
