#include "runtime/data/RowFilter.h"

using namespace Qt::Literals::StringLiterals;

namespace {

enum class Truth : quint8 { False, True, Unknown };
enum class Comparison : quint8 { Equal, Unequal, Less, LessEqual, Greater, GreaterEqual, Like };

[[noreturn]] void RaiseAt(qsizetype position, const QString& what)
{
    throw wire::Error(
        wire::ErrorKind::Usage, u"过滤条件第%1个字符处有错误：%2"_s.arg(position + 1).arg(what));
}

Truth Decide(bool value)
{
    return value ? Truth::True : Truth::False;
}

Truth Not(Truth truth)
{
    return truth == Truth::Unknown ? truth : Decide(truth == Truth::False);
}

template <typename T> bool Holds(Comparison comparison, const T& a, const T& b)
{
    switch (comparison) {
    case Comparison::Equal:
        return a == b;
    case Comparison::Unequal:
        return a != b;
    case Comparison::Less:
        return a < b;
    case Comparison::LessEqual:
        return a <= b;
    case Comparison::Greater:
        return a > b;
    case Comparison::GreaterEqual:
        return a >= b;
    case Comparison::Like:
        break;
    }
    return false;
}

// "%" any characters, "_" one.
bool Like(QStringView text, QStringView pattern)
{
    qsizetype t = 0;
    qsizetype p = 0;
    qsizetype star = -1;
    qsizetype resume = 0;
    const auto next = [&](qsizetype at) {
        return at + (text[at].isHighSurrogate() && at + 1 < text.size() ? 2 : 1);
    };
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == u'%') {
            star = p++;
            resume = t;
        } else if (p < pattern.size() && pattern[p] == u'_') {
            ++p;
            t = next(t);
        } else if (p < pattern.size() && pattern[p] == text[t]) {
            ++p;
            ++t;
        } else if (star >= 0) {
            p = star + 1;
            resume = next(resume);
            t = resume;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == u'%')
        ++p;
    return p == pattern.size();
}

} // namespace

struct RowFilter::Node {
    enum class Kind : quint8 { And, Or, Not, IsNull, Compare };

    Kind kind = Kind::Compare;
    std::unique_ptr<Node> left;
    std::unique_ptr<Node> right;
    // Of IsNull and Compare.
    QString fieldName;
    qsizetype fieldPosition = 0;
    Comparison comparison = Comparison::Equal;
    wire::Value literal;
    qsizetype literalPosition = 0;
    // When bound.
    int field = -1;
    wire::Value operand; // the literal in the field's type
    QString operandText; // of text fields
    QByteArray operandUtf8;
    std::vector<bool> entryHolds; // by dictionary entry

    bool HoldsUtf8(QByteArrayView text) const
    {
        if (comparison == Comparison::Like)
            return Like(QString::fromUtf8(text), operandText);
        // Bytes of UTF-8 are in the order of the characters.
        return Holds(comparison, text.compare(operandUtf8), 0);
    }
    Truth Evaluate(const RowStore& rows, RowNumber row) const;
    Truth EvaluateCompare(const RowStore& rows, RowNumber row) const;
    void Bind(const RowStore& rows, const FieldNames& names);
};

namespace {

using Node = RowFilter::Node;

class Parser {
public:
    explicit Parser(QStringView text)
        : text_(text)
    {
    }

    std::unique_ptr<Node> ParseAll()
    {
        std::unique_ptr<Node> node = ParseOr();
        SkipBlanks();
        if (at_ < text_.size())
            RaiseAt(at_, u"多余的内容“%1”"_s.arg(text_.sliced(at_)));
        return node;
    }

private:
    static constexpr int kMostDepth = 200;
    // A chain of and or or is a tree as deep as it is long.
    static constexpr int kMostTerms = 5'000;

    std::unique_ptr<Node> ParseOr()
    {
        std::unique_ptr<Node> left = ParseAnd();
        while (TakeWord(u"or"))
            left = Join(Node::Kind::Or, std::move(left), ParseAnd());
        return left;
    }
    std::unique_ptr<Node> ParseAnd()
    {
        std::unique_ptr<Node> left = ParseNot();
        while (TakeWord(u"and"))
            left = Join(Node::Kind::And, std::move(left), ParseNot());
        return left;
    }
    std::unique_ptr<Node> ParseNot()
    {
        if (++depth_ > kMostDepth)
            RaiseAt(at_, u"条件嵌套过深"_s);
        std::unique_ptr<Node> node;
        if (TakeWord(u"not")) {
            node = Join(Node::Kind::Not, ParseNot(), nullptr);
        } else if (TakeMark(u"(")) {
            node = ParseOr();
            if (!TakeMark(u")"))
                RaiseAt(at_, u"缺少右括号"_s);
        } else {
            node = ParsePredicate();
        }
        --depth_;
        return node;
    }
    std::unique_ptr<Node> ParsePredicate()
    {
        auto node = std::make_unique<Node>();
        SkipBlanks();
        node->fieldPosition = at_;
        node->fieldName = TakeFieldName();
        if (TakeWord(u"is")) {
            node->kind = Node::Kind::IsNull;
            const bool negated = TakeWord(u"not");
            if (!TakeWord(u"null"))
                RaiseAt(at_, u"此处应为 null"_s);
            return negated ? Join(Node::Kind::Not, std::move(node), nullptr) : std::move(node);
        }
        const bool negated = TakeWord(u"not");
        node->comparison = TakeComparison(negated);
        node->literal = TakeLiteral(node->literalPosition);
        return negated ? Join(Node::Kind::Not, std::move(node), nullptr) : std::move(node);
    }

    std::unique_ptr<Node> Join(Node::Kind kind, std::unique_ptr<Node> left, std::unique_ptr<Node> right)
    {
        if (++terms_ > kMostTerms)
            RaiseAt(at_, u"条件超过%1个"_s.arg(kMostTerms));
        auto node = std::make_unique<Node>();
        node->kind = kind;
        node->left = std::move(left);
        node->right = std::move(right);
        return node;
    }

    void SkipBlanks()
    {
        while (at_ < text_.size() && text_[at_].isSpace())
            ++at_;
    }
    static bool IsNameCharacter(QChar c)
    {
        return c.isLetterOrNumber() || c == u'_' || c == u'$' || c == u'#';
    }
    bool TakeMark(QStringView mark)
    {
        SkipBlanks();
        if (!text_.sliced(at_).startsWith(mark))
            return false;
        at_ += mark.size();
        return true;
    }
    bool TakeWord(QStringView word)
    {
        SkipBlanks();
        const QStringView rest = text_.sliced(at_);
        if (!rest.startsWith(word, Qt::CaseInsensitive)
            || (rest.size() > word.size() && IsNameCharacter(rest[word.size()])))
            return false;
        at_ += word.size();
        return true;
    }
    QString TakeFieldName()
    {
        const qsizetype start = at_;
        if (at_ < text_.size() && (text_[at_] == u'"' || text_[at_] == u'[')) {
            const QChar close = text_[at_] == u'[' ? u']' : u'"';
            const qsizetype end = text_.indexOf(close, at_ + 1);
            if (end <= at_ + 1)
                RaiseAt(start, u"字段名没有结束"_s);
            at_ = end + 1;
            return text_.sliced(start + 1, end - start - 1).toString();
        }
        while (at_ < text_.size() && IsNameCharacter(text_[at_]))
            ++at_;
        if (at_ == start || text_[start].isDigit())
            RaiseAt(start, u"此处应为字段名"_s);
        return text_.sliced(start, at_ - start).toString();
    }
    Comparison TakeComparison(bool negated)
    {
        SkipBlanks();
        if (TakeWord(u"like"))
            return Comparison::Like;
        if (negated)
            RaiseAt(at_, u"not 之后应为 like"_s);
        // Longer marks first.
        static constexpr std::pair<QStringView, Comparison> kMarks[] = {
            {u"<>", Comparison::Unequal},
            {u"!=", Comparison::Unequal},
            {u"<=", Comparison::LessEqual},
            {u">=", Comparison::GreaterEqual},
            {u"=", Comparison::Equal},
            {u"<", Comparison::Less},
            {u">", Comparison::Greater},
        };
        for (const auto& [mark, comparison] : kMarks)
            if (TakeMark(mark))
                return comparison;
        RaiseAt(at_, u"此处应为比较符"_s);
    }
    wire::Value TakeLiteral(qsizetype& position)
    {
        SkipBlanks();
        position = at_;
        if (at_ < text_.size() && text_[at_] == u'\'')
            return TakeText();
        const qsizetype start = at_;
        while (
            at_ < text_.size() && (IsNameCharacter(text_[at_]) || QStringView(u"+-.").contains(text_[at_])))
            ++at_;
        const QStringView word = text_.sliced(start, at_ - start);
        bool ok = false;
        if (const qint64 integer = word.toLongLong(&ok); ok)
            return integer;
        if (const double number = word.toDouble(&ok); ok && qIsFinite(number))
            return number;
        RaiseAt(start, u"此处应为数字或单引号中的文字"_s);
    }
    wire::Value TakeText()
    {
        const qsizetype start = at_++;
        QString text;
        for (;; ++at_) {
            if (at_ >= text_.size())
                RaiseAt(start, u"单引号没有结束"_s);
            if (text_[at_] == u'\'') {
                ++at_;
                if (at_ >= text_.size() || text_[at_] != u'\'')
                    return wire::TextValue(text);
            }
            text += text_[at_];
        }
    }

    QStringView text_;
    qsizetype at_ = 0;
    int depth_ = 0;
    int terms_ = 0;
};

} // namespace

RowFilter::RowFilter() = default;
RowFilter::~RowFilter() = default;
RowFilter::RowFilter(RowFilter&&) noexcept = default;
RowFilter& RowFilter::operator=(RowFilter&&) noexcept = default;

RowFilter RowFilter::Parse(const QString& condition)
{
    RowFilter filter;
    filter.text_ = condition;
    if (!condition.trimmed().isEmpty())
        filter.root_ = Parser(condition).ParseAll();
    return filter;
}

void RowFilter::Bind(const RowStore& rows, const FieldNames& names)
{
    if (root_)
        root_->Bind(rows, names);
}

bool RowFilter::Passes(const RowStore& rows, RowNumber row) const
{
    return !root_ || root_->Evaluate(rows, row) == Truth::True;
}

void RowFilter::Node::Bind(const RowStore& rows, const FieldNames& names)
{
    if (left)
        left->Bind(rows, names);
    if (right)
        right->Bind(rows, names);
    if (kind != Kind::IsNull && kind != Kind::Compare)
        return;
    field = names.Find(rows.Infos(), fieldName);
    if (field < 0)
        RaiseAt(fieldPosition, u"没有字段“%1”"_s.arg(fieldName));
    if (kind == Kind::IsNull)
        return;
    const wire::Column& column = rows.Column(field);
    entryHolds.clear();
    if (comparison == Comparison::Like || column.Type() == wire::ColumnType::Text) {
        operand = wire::Convert(literal, wire::ColumnType::Text);
        operandText = wire::ToText(operand);
        operandUtf8 = operandText.toUtf8();
    } else {
        try {
            operand = wire::Convert(
                literal, std::holds_alternative<double>(literal) ? wire::ColumnType::Number : column.Type());
        } catch (const wire::Error& error) {
            RaiseAt(literalPosition, error.Message());
        }
    }
    if (column.Type() == wire::ColumnType::Text && column.IsDictionary()) {
        entryHolds.reserve(static_cast<size_t>(column.EntryCount()));
        for (qint64 entry = 0; entry < column.EntryCount(); ++entry)
            entryHolds.push_back(HoldsUtf8(column.Entry(entry)));
    }
}

Truth RowFilter::Node::Evaluate(const RowStore& rows, RowNumber row) const
{
    switch (kind) {
    case Kind::And: {
        const Truth first = left->Evaluate(rows, row);
        if (first == Truth::False)
            return first;
        const Truth second = right->Evaluate(rows, row);
        return second == Truth::True ? first : second;
    }
    case Kind::Or: {
        const Truth first = left->Evaluate(rows, row);
        if (first == Truth::True)
            return first;
        const Truth second = right->Evaluate(rows, row);
        return second == Truth::False ? first : second;
    }
    case Kind::Not:
        return Not(left->Evaluate(rows, row));
    case Kind::IsNull: {
        const wire::Value* edited = rows.Edited(row, field);
        return Decide(edited ? wire::IsNull(*edited) : rows.Column(field).IsNull(row));
    }
    case Kind::Compare:
        break;
    }
    return EvaluateCompare(rows, row);
}

Truth RowFilter::Node::EvaluateCompare(const RowStore& rows, RowNumber row) const
{
    const wire::Column& column = rows.Column(field);
    const wire::Value* edited = rows.Edited(row, field);
    if (wire::IsNull(operand) || (edited ? wire::IsNull(*edited) : column.IsNull(row)))
        return Truth::Unknown;
    if (column.Type() == wire::ColumnType::Text) {
        if (edited)
            return Decide(HoldsUtf8(wire::ToText(*edited).toUtf8()));
        return Decide(entryHolds.empty() ? HoldsUtf8(column.TextAt(row))
                                         : entryHolds[static_cast<size_t>(column.EntryAt(row))]);
    }
    const wire::Value value = edited ? *edited : column.ValueAt(row);
    if (comparison == Comparison::Like)
        return Decide(Like(wire::ToText(value), operandText));
    if (const auto* integer = std::get_if<qint64>(&value)) {
        if (const auto* other = std::get_if<qint64>(&operand))
            return Decide(Holds(comparison, *integer, *other));
        return Decide(Holds(comparison, static_cast<double>(*integer), std::get<double>(operand)));
    }
    if (const auto* number = std::get_if<double>(&value))
        return Decide(Holds(comparison, *number, std::get<double>(operand)));
    return Decide(Holds(comparison, std::get<wire::DateTime>(value), std::get<wire::DateTime>(operand)));
}
