#pragma once

#include "wire/Error.h"
#include "wire/Value.h"

#include <QString>

#include <vector>

namespace dialect {

// A place in a statement, counted in UTF-16 units from 0.
using Position = qsizetype;

// A Syntax error that names line and column of `position` in `text`, both counted from 1.
wire::Error SyntaxError(QStringView text, Position position, const QString& message);

enum class TokenKind : quint8 {
    Word, // a name or keyword, as written
    QuotedName, // "name", without the quotes
    TextLiteral, // 'text' that is not empty
    EmptyLiteral, // '': null
    Integer,
    Number,
    TextList, // the many text literals between the brackets of an in list
    NumberList, // the same of numbers
    Symbol, // operators and punctuation, one token each
    End,
};

struct Token {
    TokenKind kind = TokenKind::End;
    int start = 0;
    int length = 0;
    int literal = -1; // position among the literals
};

// A statement cut into tokens. Its shape is the text with blanks, comments and hints normalised and every
// literal masked: texts of one shape have the same tokens but for the values of their literals. An in list of
// more than kShortList literals becomes one literal, a JSON array, whatever its length.
//
// Reading the next text reuses the memory of the last one.
class Lexer {
public:
    static constexpr int kShortList = 8;

    // Raises Syntax for what is no token at all. `text` must outlive the use of the tokens.
    void Read(QStringView text);

    QStringView Text() const noexcept { return text_; }
    QStringView Text(const Token& token) const { return text_.sliced(token.start, token.length); }
    const std::vector<Token>& Tokens() const noexcept { return tokens_; }
    const std::u16string& Shape() const noexcept { return shape_; }
    const std::vector<wire::Value>& Literals() const noexcept { return literals_; }
    std::vector<wire::Value> TakeLiterals() { return std::move(literals_); }
    // Nothing of a long text stays in memory; the views into it end.
    void LetGo();
    // The first blank that is not ASCII's, which some databases take for a part of a name; -1: none.
    Position WideBlank() const noexcept { return wideBlank_; }

private:
    void SkipBlanks();
    void ReadWord();
    void ReadQuotedName();
    void ReadText();
    void ReadNumber();
    void ReadSymbol();
    void FoldList();
    void Add(TokenKind kind, Position start, int literal = -1);
    void AddToShape(char16_t mark);
    void AddSpelling(QStringView digits);
    bool LastIs(QStringView keyword) const;

    QStringView text_;
    Position at_ = 0;
    Position wideBlank_ = -1;
    std::vector<Token> tokens_;
    std::u16string shape_;
    std::vector<wire::Value> literals_;
    qsizetype openList_ = -1; // token of the "(" of an in list of nothing but literals so far
    qsizetype shapeOfList_ = 0;
};

} // namespace dialect
