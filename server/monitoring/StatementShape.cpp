#include "server/monitoring/StatementShape.h"

namespace server::monitoring {
namespace {

constexpr qsizetype kLongest = 2000; // of the shape; the log cuts further

bool IsWord(QChar c)
{
    return c.isLetterOrNumber() || c == u'_' || c == u'$' || c == u'#';
}

bool IsQuoteSign(QStringView word)
{
    return word.compare(u"q", Qt::CaseInsensitive) == 0 || word.compare(u"nq", Qt::CaseInsensitive) == 0;
}

class Shaper {
public:
    explicit Shaper(QStringView sql)
        : sql_(sql)
    {
    }

    QString Run()
    {
        while (at_ < sql_.size() && out_.size() < kLongest) {
            const QChar c = sql_[at_];
            if (c.isSpace()) {
                gap_ = true;
                ++at_;
            } else if (StartsWith(u"--")) {
                SkipPast(u"\n");
            } else if (StartsWith(u"/*")) {
                SkipPast(u"*/");
            } else if (c == u'\'') {
                SkipQuoted();
                PutLiteral();
            } else if (c.isDigit() || (c == u'.' && at_ + 1 < sql_.size() && sql_[at_ + 1].isDigit())) {
                SkipNumber();
                PutLiteral();
            } else if (IsWord(c)) {
                const qsizetype begin = at_;
                while (at_ < sql_.size() && IsWord(sql_[at_]))
                    ++at_;
                const QStringView word = sql_.sliced(begin, at_ - begin);
                if (IsQuoteSign(word) && StartsWith(u"'")) {
                    SkipDelimited();
                    PutLiteral();
                } else {
                    Put(word);
                }
            } else {
                Put(sql_.sliced(at_++, 1));
            }
        }
        return out_;
    }

private:
    bool StartsWith(QStringView what) const { return sql_.sliced(at_).startsWith(what); }

    void SkipPast(QStringView end)
    {
        const qsizetype found = sql_.indexOf(end, at_ + 2);
        at_ = found < 0 ? sql_.size() : found + end.size();
        gap_ = true;
    }

    void SkipQuoted()
    {
        for (++at_; at_ < sql_.size(); ++at_) {
            if (sql_[at_] != u'\'')
                continue;
            if (at_ + 1 < sql_.size() && sql_[at_ + 1] == u'\'') {
                ++at_;
            } else {
                ++at_;
                return;
            }
        }
    }

    // q'[…]' with a delimiter of the writer's choice.
    void SkipDelimited()
    {
        static constexpr QStringView kOpening = u"[{(<";
        static constexpr QStringView kClosing = u"]})>";
        const QChar open = at_ + 1 < sql_.size() ? sql_[at_ + 1] : QChar(u'\'');
        const qsizetype pair = kOpening.indexOf(open);
        const QChar end[] = {pair < 0 ? open : kClosing[pair], QChar(u'\'')};
        const qsizetype found = sql_.indexOf(QStringView(end, 2), std::min(at_ + 2, sql_.size()));
        at_ = found < 0 ? sql_.size() : found + 2;
    }

    void SkipNumber()
    {
        while (at_ < sql_.size() && (IsWord(sql_[at_]) || sql_[at_] == u'.'))
            ++at_;
    }

    void Put(QStringView part)
    {
        if (gap_ && !out_.isEmpty())
            out_ += u' ';
        gap_ = false;
        out_ += part;
    }

    // Texts that differ in the length of a list alone have one shape.
    void PutLiteral()
    {
        static constexpr QStringView kTwo = u"?,";
        static constexpr QStringView kMany = u"?, …,";
        const QStringView before = QStringView(out_);
        if (before.endsWith(kMany)) {
            out_.chop(1);
        } else if (before.endsWith(kTwo)) {
            out_ += u" …";
        } else {
            Put(u"?");
            return;
        }
        gap_ = false;
    }

    QStringView sql_;
    QString out_;
    qsizetype at_ = 0;
    bool gap_ = false;
};

} // namespace

QString StatementShape(QStringView sql)
{
    return Shaper(sql).Run();
}

} // namespace server::monitoring
