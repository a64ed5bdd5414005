#include "module/data/Common.h"

#include "module/data/HostBridge.h"
#include "runtime/ui/Application.h"
#include "runtime/ui/LookupCompletion.h"

#include <QPlainTextEdit>

using namespace Qt::Literals::StringLiterals;

QString QuotedStr(const QString& text)
{
    QString inside = text;
    inside.replace(u'\'', u"''"_s);
    return u'\'' + inside + u'\'';
}

QString BuildInList(
    const TClientDataSetEx& dataSet, const QString& keyField, const QString& column, int chunkSize)
{
    const int rows = dataSet.RecordCount();
    const int key = rows > 0 ? dataSet.FieldByName(keyField).Index() : -1;
    QString result;
    QString chunk;
    const auto closeChunk = [&] {
        if (!result.isEmpty())
            result += u"or"_s;
        result += u'(' + column + u" in ("_s + chunk + u"))"_s;
        chunk.clear();
    };
    for (int row = 0; row < rows; ++row) {
        if (!chunk.isEmpty())
            chunk += u',';
        chunk += u'\'' + dataSet.ViewText(row, key) + u'\'';
        if ((row + 1) % chunkSize == 0)
            closeChunk();
    }
    if (!chunk.isEmpty())
        closeChunk();
    return u'(' + result + u')';
}

TPastedNumbers ParsePastedNumbers(const QString& memoText, const TPasteRule& rule)
{
    TPastedNumbers numbers;
    if (memoText.trimmed().isEmpty()) {
        numbers.complaint = u"详细：没有输入任何运单编号！"_s;
        return numbers;
    }
    QString text = memoText;
    text.replace(u"\r\n"_s, u"\n"_s).replace(u'\r', u'\n');
    QStringList lines = text.split(u'\n');
    if (lines.last().isEmpty())
        lines.removeLast(); // the break that ends the last line starts no further one
    if (lines.size() > rule.maxLines) {
        numbers.complaint =
            u"详细：您输入了\"%1\"个单号，最多只能输入\"%2\"个单号！"_s.arg(lines.size()).arg(rule.maxLines);
        return numbers;
    }
    if (rule.trimmed) {
        for (QString& line : lines)
            line = line.trimmed();
    }
    if (rule.lastFirst)
        std::reverse(lines.begin(), lines.end());
    numbers.list = u"('"_s + lines.join(u"','"_s) + u"')"_s;
    return numbers;
}

QString PastedNumberList(QPlainTextEdit& memo, const TPasteRule& rule)
{
    const TPastedNumbers numbers = ParsePastedNumbers(memo.toPlainText(), rule);
    if (!numbers.complaint.isEmpty())
        ShowWarning(numbers.complaint, u"详细："_s);
    return numbers.list;
}

std::optional<TDateRangeFault> FindDateRangeFault(const QString& from, const QString& to, int maxDays)
{
    const auto start = wire::DateTime::Parse(from.trimmed());
    const auto end = wire::DateTime::Parse(to.trimmed());
    if (!start || !end)
        return TDateRangeFault{u"详细：您所输入的日期时间错误！"_s, u"日期时间格式"_s};
    if (*start > *end)
        return TDateRangeFault{u"详细：结束日期不能比开始日期还早！"_s, u"日期时间错误"_s};
    if (end->seconds - start->seconds > qint64{maxDays} * 86400)
        return TDateRangeFault{u"详细：结束日期不能超过开始日期\"%1\"天！"_s.arg(maxDays), u"日期时间错误"_s};
    return std::nullopt;
}

bool CheckDateRange(const QString& from, const QString& to, int maxDays, bool showMessages)
{
    const auto fault = FindDateRangeFault(from, to, maxDays);
    if (fault && showMessages)
        ShowWarning(fault->text, fault->caption);
    return fault.has_value();
}

QString StartOfToday()
{
    return ServerDateTime().Format(u"yyyy-mm-dd") + u" 00:00:00"_s;
}

QString EndOfToday()
{
    return ServerDateTime().Format(u"yyyy-mm-dd") + u" 23:59:59"_s;
}

void CompleteLookupText(TDBLookupComboboxEh& box)
{
    const QString completed = CompleteLookup(box.Lookup(), box.Text());
    if (completed != box.Text())
        box.SetText(completed);
}

void ShowWarning(const QString& text, const QString& caption)
{
    Application->MessageBox(text, caption, TMessageIcon::Warning);
}

void ShowInformation(const QString& text, const QString& caption)
{
    Application->MessageBox(text, caption, TMessageIcon::Information);
}

void ShowError(const QString& text, const QString& caption)
{
    Application->MessageBox(text, caption, TMessageIcon::Error);
}

void ShowFailure(const QString& reason, const QString& caption)
{
    ShowWarning(u"详细："_s + reason, caption);
}

void Refuse(const QString& text, const QString& caption)
{
    ShowWarning(text, caption);
    Abort();
}
