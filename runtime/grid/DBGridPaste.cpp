// What comes into the grid by the clipboard.

#include "runtime/data/SocketConnection.h"
#include "runtime/grid/DBGridPrivate.h"
#include "runtime/ui/Application.h"
#include "wire/Error.h"

#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>
#include <QPointer>
#include <QProgressDialog>
#include <QRegularExpression>

#include <algorithm>
#include <limits>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kReasonsShown = 10;
constexpr int kSliceMilliseconds = 20; // before the window may paint
constexpr int kProgressAfterMilliseconds = 500;

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

// How a paste went.
struct TDBGridEh::Private::Pasted {
    size_t left; // not looked at
    size_t gone; // lines without a row
    size_t taken = 0;
    bool lost = false; // the server
    bool cancelled = false;
    QStringList refused{};

    QString Summary() const
    {
        QString summary = u"粘贴了%1行。"_s.arg(taken);
        if (gone > 0)
            summary += u"\n还有%1行没有对应的行，没有粘贴。"_s.arg(gone);
        if (cancelled)
            summary += u"\n已取消，余下的%1行没有粘贴。"_s.arg(left);
        if (lost && left > 0)
            summary += u"\n连接断开了，余下的%1行没有粘贴。"_s.arg(left);
        if (!refused.isEmpty())
            summary +=
                u"\n%1行没有接受：\n"_s.arg(refused.size()) + refused.mid(0, kReasonsShown).join(u'\n');
        if (refused.size() > kReasonsShown)
            summary += u"\n……"_s;
        return summary;
    }
};

// Line by line, in slices between which the window paints; false where the grid has gone meanwhile.
bool TDBGridEh::Private::PasteRows(const std::vector<int>& into, const std::vector<TBookmark>& rows,
    const std::vector<QStringList>& lines, Pasted& result)
{
    TClientDataSetEx* open = OpenDataSet();
    // Rules that ask a server which is gone would make every further row wait for it anew.
    const TSocketConnectionEx* server = open->RemoteServer();
    const bool connected = server && server->Connected();
    const BusyCursor busy;
    GatheredMessages messages;
    const auto count = result.left;
    QProgressDialog progress(u"正在粘贴。"_s, u"取消"_s, 0, int(count), Application->MainForm());
    progress.setWindowTitle(u"粘贴"_s);
    progress.setWindowModality(Qt::ApplicationModal);
    progress.setMinimumDuration(kProgressAfterMilliseconds);
    const TBookmark current = open->Bookmark();
    const QPointer<TDBGridEh> alive(q);
    open->DisableControls();
    QElapsedTimer slice;
    slice.start();
    for (size_t i = 0; i < count && alive && open->Active() && !result.lost; ++i, --result.left) {
        if (slice.elapsed() >= kSliceMilliseconds) {
            progress.setValue(int(i));
            if (!progress.isVisible())
                QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
            if (!alive)
                return false;
            result.cancelled = progress.wasCanceled();
            if (result.cancelled)
                break;
            slice.restart();
        }
        if (!open->GotoBookmark(rows[i])) {
            ++result.gone;
            continue;
        }
        const QString name = u"第%1行"_s.arg(CurrentRow() + 1);
        const QString refusal = PasteRow(into, lines[i]);
        const QString said = messages.Take();
        if (refusal.isEmpty())
            ++result.taken;
        else
            result.refused += u"%1：%2"_s.arg(name, said.isEmpty() ? refusal : said);
        result.lost = connected && !refusal.isEmpty() && !server->Connected();
    }
    if (!alive)
        return false;
    open->GotoBookmark(current);
    open->EnableControls();
    return true;
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
    Pasted result{.left = count, .gone = lines.size() - count};
    if (PasteRows(into, rows, lines, result) && (lines.size() > 1 || count > 1 || !result.refused.isEmpty()))
        Application->MessageBox(result.Summary(), u"粘贴"_s,
            result.refused.isEmpty() ? TMessageIcon::Information : TMessageIcon::Warning);
}
