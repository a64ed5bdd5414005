#include "module/data/PastedNumbers.h"

#include "module/data/MessageBoxes.h"

#include <QPlainTextEdit>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

QStringList NumberLines(const QString& text)
{
    QString uniform = text;
    uniform.replace(u"\r\n"_s, u"\n"_s).replace(u'\r', u'\n');
    QStringList lines = uniform.split(u'\n');
    if (lines.last().isEmpty())
        lines.removeLast(); // the break that ends the last line starts no further one
    return lines;
}

TPastedNumbers ParsePastedNumbers(const QString& memoText, const TPasteRule& rule)
{
    TPastedNumbers numbers;
    if (memoText.trimmed().isEmpty()) {
        numbers.complaint = u"详细：没有输入任何运单编号！"_s;
        return numbers;
    }
    QStringList lines = NumberLines(memoText);
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
