// What leaves the grid and what comes into it by the clipboard.

#include "runtime/data/SocketConnection.h"
#include "runtime/ui/Application.h"
#include "runtime/ui/DBGridPrivate.h"
#include "wire/ColumnData.h"
#include "wire/Error.h"
#include "wire/TextOut.h"

#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>
#include <QMimeData>
#include <QPointer>
#include <QRegularExpression>
#include <QScopeGuard>

#include <algorithm>
#include <cmath>
#include <limits>
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

namespace {

constexpr int kReasonsShown = 10;

// Boxes that the rules of many rows would show one after the other are gathered instead.
class GatheredMessages {
public:
    GatheredMessages()
        : unattended_(std::exchange(Application->Unattended, true))
        , heard_(QObject::connect(Application, &TApplication::MessageShown, Application,
              [this](const QString& text) { said_ += text; }))
    {
    }
    ~GatheredMessages()
    {
        QObject::disconnect(heard_);
        Application->Unattended = unattended_;
    }
    Q_DISABLE_COPY_MOVE(GatheredMessages)
    // Since the last time.
    QString Take() { return std::exchange(said_, {}).join(u' ').remove(u"详细："_s).simplified(); }

private:
    bool unattended_;
    QStringList said_;
    QMetaObject::Connection heard_;
};

// A text as a spreadsheet gives it: lines of cells between tabs; a cell that holds a tab or a line break
// stands in quotes. What follows the last line break is no line.
class PastedText {
public:
    explicit PastedText(const QString& text)
        : text_(QString(text).replace(u"\r\n"_s, u"\n"_s).replace(u'\r', u'\n'))
    {
        if (text_.endsWith(u'\n'))
            text_.chop(1);
    }

    std::vector<QStringList> Lines()
    {
        std::vector<QStringList> lines(1);
        for (;;) {
            lines.back() += Cell();
            if (at_ >= text_.size())
                return lines;
            if (text_[at_++] == u'\n')
                lines.emplace_back();
        }
    }

private:
    static bool Separates(QChar c) { return c == u'\t' || c == u'\n'; }

    QString Cell()
    {
        const qsizetype begin = at_;
        at_ = std::find_if(text_.cbegin() + begin, text_.cend(), Separates) - text_.cbegin();
        const qsizetype closing = begin < at_ && text_[begin] == u'"' ? ClosingQuote(begin) : -1;
        if (closing < at_) // also where it ends with this quote: they are the text's own then
            return text_.sliced(begin, at_ - begin);
        at_ = closing + 1;
        return text_.sliced(begin + 1, closing - begin - 1).replace(u"\"\""_s, u"\""_s);
    }

    // -1 where the cell does not end in one.
    qsizetype ClosingQuote(qsizetype opening)
    {
        for (qsizetype at = opening + 1; at < text_.size() && at < unclosed_; ++at) {
            if (text_[at] != u'"')
                continue;
            if (at + 1 == text_.size() || Separates(text_[at + 1]))
                return at;
            if (text_[at + 1] != u'"')
                return -1;
            ++at;
        }
        unclosed_ = std::min(unclosed_, opening); // nor do those behind it
        return -1;
    }

    QString text_;
    qsizetype at_ = 0;
    qsizetype unclosed_ = std::numeric_limits<qsizetype>::max();
};

} // namespace

// One row through the rules; empty where it was taken, else why not.
QString TDBGridEh::Private::PasteRow(const std::vector<int>& into, const QStringList& cells)
{
    TClientDataSetEx& open = *OpenDataSet();
    QString refusal;
    const auto refuse = [&](const QString& reason) { refusal = reason; };
    bool posted = false;
    Guarded(
        [&] {
            open.Edit();
            if (open.State() != TDataSetState::Edit)
                return;
            for (size_t i = 0; i < into.size(); ++i) {
                QString text = cells.value(qsizetype(i)).trimmed();
                const TColumnEh& column = columns[size_t(into[i])].info;
                if (column.style != TColumnStyle::Memo)
                    text.replace(u'\n', u' ');
                if (column.numericOnly && !NumberPattern().match(text).hasMatch())
                    throw wire::Error(wire::ErrorKind::Data, u"“%1”不是数字"_s.arg(text));
                if (!AcceptableText(into[i], text))
                    throw wire::Error(wire::ErrorKind::Data, u"“%1”不在列表中"_s.arg(text));
                open.Field(columns[size_t(into[i])].field).SetAsString(StoredText(into[i], text));
            }
            open.Post();
            posted = true;
        },
        refuse);
    if (posted)
        return {};
    if (open.IsEditing())
        Guarded([&] { open.Cancel(); }, refuse);
    return refusal.isEmpty() ? u"没有接受"_s : refusal;
}

// A column of values, or several, from the current column on: over the selected rows where several are, else
// from the current row down; one value goes into each selected row. All of it is one step to take back.
void TDBGridEh::Private::Paste()
{
    TClientDataSetEx* open = OpenDataSet();
    const QString text = QApplication::clipboard()->text();
    if (!open || !Application || text.isEmpty() || CurrentRow() < 0 || !PostRow())
        return;
    std::vector<QStringList> lines = PastedText(text).Lines();
    std::vector<int> into{currentColumn};
    while (qsizetype(into.size()) < lines.front().size()) {
        const int next = NextShownColumn(into.back(), 1);
        if (next < 0)
            break;
        into.push_back(next);
    }
    for (const int column : into) {
        if (!Editable(column)) {
            Application->MessageBox(u"列“%1”不能修改，没有粘贴。"_s.arg(columns[size_t(column)].info.title),
                u"粘贴"_s, TMessageIcon::Warning);
            return;
        }
    }
    std::vector<TBookmark> rows = q->SelectedRows();
    if (rows.size() < 2) {
        rows.clear();
        for (int row = CurrentRow(); row < open->RecordCount() && rows.size() < lines.size(); ++row)
            rows.push_back(open->ViewBookmark(row));
    } else if (lines.size() == 1) {
        lines.resize(rows.size(), lines.front());
    }
    const size_t count = std::min(rows.size(), lines.size());
    const TBookmark current = open->Bookmark();
    // Rules that ask a server which is gone would make every further row wait for it anew.
    const TSocketConnectionEx* server = open->RemoteServer();
    const bool connected = server && server->Connected();
    bool lost = false;
    QStringList refused;
    size_t taken = 0;
    size_t left = count;
    size_t gone = lines.size() - count;
    const QPointer<TDBGridEh> alive(q);
    {
        const BusyCursor busy;
        GatheredMessages messages;
        open->DisableControls();
        QElapsedTimer slice;
        slice.start();
        for (size_t i = 0; i < count && alive && open->Active() && !lost; ++i, --left) {
            if (slice.elapsed() >= kSliceMilliseconds) {
                QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
                if (!alive)
                    return;
                slice.restart();
            }
            if (!open->GotoBookmark(rows[i])) {
                ++gone;
                continue;
            }
            const QString name = u"第%1行"_s.arg(CurrentRow() + 1);
            const QString refusal = PasteRow(into, lines[i]);
            const QString said = messages.Take();
            if (refusal.isEmpty())
                ++taken;
            else
                refused += u"%1：%2"_s.arg(name, said.isEmpty() ? refusal : said);
            lost = connected && !refusal.isEmpty() && !server->Connected();
        }
        if (!alive)
            return;
        open->GotoBookmark(current);
        open->EnableControls();
    }
    QString summary = u"粘贴了%1行。"_s.arg(taken);
    if (gone > 0)
        summary += u"\n还有%1行没有对应的行，没有粘贴。"_s.arg(gone);
    if (lost && left > 0)
        summary += u"\n连接断开了，余下的%1行没有粘贴。"_s.arg(left);
    if (!refused.isEmpty()) {
        summary += u"\n%1行没有接受：\n"_s.arg(refused.size()) + refused.mid(0, kReasonsShown).join(u'\n');
        if (refused.size() > kReasonsShown)
            summary += u"\n……"_s;
    }
    if (lines.size() > 1 || count > 1 || !refused.isEmpty())
        Application->MessageBox(
            summary, u"粘贴"_s, refused.isEmpty() ? TMessageIcon::Information : TMessageIcon::Warning);
}
