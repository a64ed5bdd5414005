#include "server/dialect/Lexer.h"

#include "server/dialect/Limits.h"
#include "server/dialect/Refusals.h"

#include <array>
#include <charconv>
#include <string_view>

namespace dialect {
namespace {

// What stands in a shape for a literal: characters that no name or operator has.
constexpr char16_t kTextMark = u'\uE000';
constexpr char16_t kWildMark = u'\uE001'; // the first literal of a like pattern, beginning with a wildcard
constexpr char16_t kEmptyMark = u'\uE002';
constexpr char16_t kIntegerMark = u'\uE003';
constexpr char16_t kNumberMark = u'\uE004';
constexpr char16_t kTextListMark = u'\uE005';
constexpr char16_t kNumberListMark = u'\uE006';

constexpr size_t kUsualLiterals = 16;
constexpr qsizetype kLongestShown = 1'000; // of a text that is refused for its length

enum class CharClass : quint8 { Other, Blank, Symbol, Word, Digit };

constexpr std::array<CharClass, 128> kClasses = [] {
    std::array<CharClass, 128> classes{};
    const auto set = [&classes](std::u16string_view characters, CharClass value) {
        for (const char16_t character : characters)
            classes[character] = value;
    };
    set(u" \t\r\n\f\v", CharClass::Blank);
    set(u"()*+,-./;<=>", CharClass::Symbol);
    set(u"0123456789", CharClass::Digit);
    set(u"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_$#", CharClass::Word);
    return classes;
}();

CharClass ClassOfOthers(char16_t unit)
{
    if (unit == u'\u3000' || unit == u'\u00A0')
        return CharClass::Blank;
    // Letters that are s and k when case is ignored would make keywords of what databases take for names.
    if (unit == u'\u017F' || unit == u'\u212A')
        return CharClass::Other;
    return QChar::isLetter(unit) ? CharClass::Word : CharClass::Other;
}

inline CharClass ClassOf(QChar character)
{
    const char16_t unit = character.unicode();
    return unit < kClasses.size() ? kClasses[unit] : ClassOfOthers(unit);
}

// Where the two stand side by side.
Position Find(QStringView text, char16_t first, char16_t second, Position from)
{
    for (Position at = text.indexOf(first, from); at >= 0; at = text.indexOf(first, at + 1)) {
        if (at + 1 < text.size() && text[at + 1] == second)
            return at;
    }
    return -1;
}

bool IsOperator(char16_t unit)
{
    return unit == u'<' || unit == u'>' || unit == u'=' || unit == u'!' || unit == u'^' || unit == u'|';
}

void AppendJson(QString& json, const QString& text)
{
    constexpr char16_t kHex[] = u"0123456789abcdef";
    json += u'"';
    for (const QChar character : text) {
        if (character == u'"' || character == u'\\') {
            json += u'\\';
            json += character;
        } else if (character.unicode() < 0x20) {
            json += u"\\u00";
            json += kHex[character.unicode() >> 4];
            json += kHex[character.unicode() & 15];
        } else {
            json += character;
        }
    }
    json += u'"';
}

} // namespace

wire::Error SyntaxError(QStringView text, Position position, const QString& message)
{
    int line = 1;
    Position lineStart = 0;
    for (Position i = 0; i < position && i < text.size(); ++i) {
        if (text[i] == u'\n' || (text[i] == u'\r' && (i + 1 >= text.size() || text[i + 1] != u'\n'))) {
            ++line;
            lineStart = i + 1;
        }
    }
    const int column = static_cast<int>(position - lineStart) + 1;
    return {wire::ErrorKind::Syntax, texts::At(line, column, message), text.toString()};
}

void TranslationTime::Look() const
{
    if (std::chrono::steady_clock::now() > end_)
        throw wire::Error(wire::ErrorKind::Limit, texts::TooSlow(), text_.toString());
}

void Lexer::Read(QStringView text)
{
    text_ = text;
    at_ = 0;
    wideBlank_ = -1;
    tokens_.clear();
    shape_.clear();
    literals_ = {};
    literals_.reserve(kUsualLiterals);
    openList_ = -1;
    if (text.size() > kLongestStatement)
        throw wire::Error(wire::ErrorKind::Syntax, texts::StatementTooLong(kLongestStatement) + u'！',
            text.first(kLongestShown).toString());
    // In a literal it would end the statement for some databases, and is refused in values by others.
    if (const Position nothing = text.indexOf(QChar(u'\0')); nothing >= 0)
        throw SyntaxError(text_, nothing, texts::BadCharacter(QStringLiteral("U+0000")));
    for (SkipBlanks(); at_ < text_.size(); SkipBlanks()) {
        const QChar next = text_[at_];
        switch (ClassOf(next)) {
        case CharClass::Word:
            ReadWord();
            break;
        case CharClass::Digit:
            ReadNumber();
            break;
        default:
            if (next == u'\'')
                ReadText();
            else if (next == u'"')
                ReadQuotedName();
            else if (next == u'.' && at_ + 1 < text_.size() && ClassOf(text_[at_ + 1]) == CharClass::Digit)
                ReadNumber();
            else
                ReadSymbol();
        }
    }
    tokens_.push_back({TokenKind::End, static_cast<int>(text_.size()), 0, -1});
}

void Lexer::LetGo()
{
    constexpr size_t kUsualTokens = 10'000;
    text_ = {};
    literals_ = {};
    if (tokens_.capacity() > kUsualTokens) {
        tokens_ = {};
        shape_ = {};
    }
}

void Lexer::SkipBlanks()
{
    const auto next = [this](qsizetype ahead) {
        return at_ + ahead < text_.size() ? text_[at_ + ahead].unicode() : u'\0';
    };
    while (at_ < text_.size()) {
        const CharClass found = ClassOf(text_[at_]);
        if (found == CharClass::Blank) {
            if (wideBlank_ < 0 && text_[at_].unicode() >= kClasses.size())
                wideBlank_ = at_;
            ++at_;
        } else if (found == CharClass::Symbol && next(0) == u'/' && next(1) == u'*') {
            const Position end = Find(text_, u'*', u'/', at_ + 2);
            if (end < 0)
                throw SyntaxError(text_, at_, texts::OpenComment());
            // Databases differ in where such a comment ends, and what one takes for a comment another runs.
            if (Find(text_.first(end), u'/', u'*', at_ + 2) >= 0)
                throw SyntaxError(text_, at_, texts::AmbiguousComment());
            at_ = end + 2;
        } else if (found == CharClass::Symbol && next(0) == u'-' && next(1) == u'-') {
            while (at_ < text_.size() && text_[at_] != u'\n' && text_[at_] != u'\r')
                ++at_;
            // The same with a line that ends in half a line end.
            if (next(0) == u'\r' && next(1) != u'\n')
                throw SyntaxError(text_, at_, texts::AmbiguousComment());
        } else {
            return;
        }
    }
}

void Lexer::ReadWord()
{
    const Position start = at_;
    // No name begins so, and "$$" opens a text for some databases.
    if (text_[at_] == u'$' || text_[at_] == u'#')
        throw SyntaxError(text_, start, texts::BadCharacter(text_.sliced(start, 1).toString()));
    while (at_ < text_.size() && ClassOf(text_[at_]) >= CharClass::Word)
        ++at_;
    if (!tokens_.empty() && tokens_.back().kind == TokenKind::Word)
        shape_ += u' ';
    shape_.append(text_.utf16() + start, static_cast<size_t>(at_ - start));
    openList_ = -1;
    Add(TokenKind::Word, start);
}

void Lexer::ReadQuotedName()
{
    const Position start = at_;
    const Position end = text_.indexOf(u'"', at_ + 1);
    if (end < 0)
        throw SyntaxError(text_, at_, texts::OpenName());
    at_ = end + 1;
    shape_.append(text_.utf16() + start, static_cast<size_t>(at_ - start));
    openList_ = -1;
    tokens_.push_back(
        {TokenKind::QuotedName, static_cast<int>(start) + 1, static_cast<int>(end - start) - 1, -1});
}

void Lexer::ReadText()
{
    const Position start = at_;
    bool doubled = false;
    for (++at_;; ++at_) {
        at_ = text_.indexOf(u'\'', at_);
        if (at_ < 0)
            throw SyntaxError(text_, start, texts::OpenText());
        if (at_ + 1 >= text_.size() || text_[at_ + 1] != u'\'')
            break;
        doubled = true;
        ++at_;
    }
    const QStringView inner = text_.sliced(start + 1, at_ - start - 1);
    if (inner.size() > kLongestLiteral)
        throw SyntaxError(text_, start, texts::LiteralTooLong(kLongestLiteral));
    ++at_;
    if (inner.isEmpty()) {
        AddToShape(kEmptyMark);
        Add(TokenKind::EmptyLiteral, start);
        return;
    }
    const bool wild = (inner[0] == u'%' || inner[0] == u'_') && LastIs(u"like");
    AddToShape(wild ? kWildMark : kTextMark);
    QString value = inner.toString();
    if (doubled)
        value.replace(QStringLiteral("''"), QStringLiteral("'"));
    literals_.emplace_back(std::move(value));
    Add(TokenKind::TextLiteral, start, static_cast<int>(literals_.size()) - 1);
}

void Lexer::ReadNumber()
{
    const Position start = at_;
    const auto digits = [this] {
        while (at_ < text_.size() && ClassOf(text_[at_]) == CharClass::Digit)
            ++at_;
    };
    digits();
    bool whole = true;
    if (at_ < text_.size() && text_[at_] == u'.') {
        whole = false;
        ++at_;
        digits();
    }
    if (at_ < text_.size() && (text_[at_] == u'e' || text_[at_] == u'E')) {
        const Position mark = at_++;
        if (at_ < text_.size() && (text_[at_] == u'+' || text_[at_] == u'-'))
            ++at_;
        const Position exponent = at_;
        digits();
        whole = whole && at_ == exponent;
        if (at_ == exponent)
            at_ = mark;
    }
    const QStringView digitsRead = text_.sliced(start, at_ - start);
    constexpr qsizetype kDigitsThatFit = 18;
    if (whole && digitsRead.size() <= kDigitsThatFit) {
        qint64 value = 0;
        for (const QChar digit : digitsRead)
            value = value * 10 + (digit.unicode() - u'0');
        literals_.emplace_back(value);
        AddToShape(kIntegerMark);
        if (digitsRead.size() > 1 && digitsRead[0] == u'0')
            AddSpelling(digitsRead);
        Add(TokenKind::Integer, start, static_cast<int>(literals_.size()) - 1);
        return;
    }
    const QByteArray number = digitsRead.toLatin1();
    double value = 0;
    if (std::from_chars(number.begin(), number.end(), value).ec != std::errc())
        throw SyntaxError(text_, start, texts::BadNumber(QString::fromLatin1(number)));
    literals_.emplace_back(value);
    AddToShape(kNumberMark);
    if (wire::ToText(literals_.back()) != digitsRead)
        AddSpelling(digitsRead);
    Add(TokenKind::Number, start, static_cast<int>(literals_.size()) - 1);
}

void Lexer::ReadSymbol()
{
    const Position start = at_;
    const char16_t first = text_[at_].unicode();
    const char16_t second = at_ + 1 < text_.size() ? text_[at_ + 1].unicode() : u'\0';
    const bool pair = (second == u'=' && (first == u'<' || first == u'>' || first == u'!' || first == u'^'))
        || (first == u'<' && second == u'>') || (first == u'|' && second == u'|');
    if (!pair && ClassOf(QChar(first)) != CharClass::Symbol) {
        const qsizetype length = QChar::isHighSurrogate(first) && at_ + 1 < text_.size() ? 2 : 1;
        throw SyntaxError(text_, start, texts::BadCharacter(text_.sliced(start, length).toString()));
    }
    at_ += pair ? 2 : 1;
    if (first == u')' && openList_ >= 0)
        FoldList();
    if (first != u',')
        openList_ = -1;
    if (first == u'(' && LastIs(u"in")) {
        openList_ = static_cast<qsizetype>(tokens_.size());
        shapeOfList_ = static_cast<qsizetype>(shape_.size()) + 1;
    }
    if (IsOperator(first) && !shape_.empty() && IsOperator(shape_.back()))
        shape_ += u' ';
    shape_.append(text_.utf16() + start, static_cast<size_t>(at_ - start));
    Add(TokenKind::Symbol, start);
}

// The tokens after the open bracket are literals and commas. Nothing changes unless they alternate, are many
// and of one kind.
void Lexer::FoldList()
{
    const auto first = static_cast<size_t>(openList_) + 1;
    const size_t count = tokens_.size() - first;
    if (count <= 2 * kShortList)
        return;
    const auto isText = [](const Token& token) {
        return token.kind == TokenKind::TextLiteral || token.kind == TokenKind::EmptyLiteral;
    };
    const bool text = isText(tokens_[first]);
    for (size_t i = 0; i < count; ++i) {
        const Token& token = tokens_[first + i];
        const bool comma = token.kind == TokenKind::Symbol;
        if (comma != (i % 2 == 1) || (!comma && isText(token) != text) || (i + 1 == count && comma))
            return;
    }
    if (count > 2 * kMostListValues)
        throw SyntaxError(
            text_, tokens_[first + 2 * kMostListValues].start, texts::ListTooLong(kMostListValues));
    QString json(u'[');
    size_t firstLiteral = literals_.size();
    for (size_t i = 0; i < count; i += 2) {
        const Token& token = tokens_[first + i];
        if (i > 0)
            json += u',';
        if (token.literal < 0) {
            json += u"null";
            continue;
        }
        const auto literal = static_cast<size_t>(token.literal);
        firstLiteral = std::min(firstLiteral, literal);
        if (text)
            AppendJson(json, std::get<QString>(literals_[literal]));
        else
            json += wire::ToText(literals_[literal]);
    }
    json += u']';
    literals_.resize(firstLiteral);
    literals_.emplace_back(std::move(json));
    Token list{text ? TokenKind::TextList : TokenKind::NumberList, tokens_[first].start,
        tokens_.back().start + tokens_.back().length - tokens_[first].start, static_cast<int>(firstLiteral)};
    tokens_.resize(first);
    tokens_.push_back(list);
    shape_.resize(static_cast<size_t>(shapeOfList_));
    shape_ += text ? kTextListMark : kNumberListMark;
}

void Lexer::Add(TokenKind kind, Position start, int literal)
{
    tokens_.push_back({kind, static_cast<int>(start), static_cast<int>(at_ - start), literal});
}

void Lexer::AddToShape(char16_t mark)
{
    shape_ += mark;
}

// Equal numbers, written otherwise, make columns of other names.
void Lexer::AddSpelling(QStringView digits)
{
    shape_.append(digits.utf16(), static_cast<size_t>(digits.size()));
}

bool Lexer::LastIs(QStringView keyword) const
{
    return !tokens_.empty() && tokens_.back().kind == TokenKind::Word
        && tokens_.back().length == keyword.size()
        && Text(tokens_.back()).compare(keyword, Qt::CaseInsensitive) == 0;
}

} // namespace dialect
