#pragma once

#include "server/dialect/Parser.h"
#include "server/dialect/Texts.h"

#include <algorithm>

namespace dialect {

// One parsing, by recursive descent. Statements are in Parser.cpp, expressions in ParserExpressions.cpp.
class Parser {
public:
    explicit Parser(const Lexer& lexer)
        : lexer_(lexer)
        , tokens_(lexer.Tokens())
    {
    }

    Statement ParseStatement();

private:
    // Deeper than any text that a person or a screen writes; shallower than the stack.
    static constexpr int kMaxDepth = 200;

    // Counts how deep brackets, subqueries and cases nest.
    class Nesting {
    public:
        explicit Nesting(Parser& parser)
            : parser_(parser)
        {
            if (++parser_.depth_ > kMaxDepth)
                parser_.Raise(texts::TooDeep());
        }
        ~Nesting() { --parser_.depth_; }
        Nesting(const Nesting&) = delete;
        Nesting& operator=(const Nesting&) = delete;

    private:
        Parser& parser_;
    };

    void CheckPolicy() const;
    Update ParseUpdate();
    QueryPtr ParseQuery();
    void ParseBlocks(Query& query);
    SelectBlock ParseBlock();
    SelectItem ParseItem();
    void ParseFrom(SelectBlock& block);
    std::unique_ptr<Source> ParseSource();
    void ParseHierarchy(SelectBlock& block);
    void ParseOrder(Query& query);
    QString ParseAlias();

    ExpressionPtr ParseExpression() { return ParseOr(); }
    ExpressionPtr ParseOr();
    ExpressionPtr ParseAnd();
    ExpressionPtr ParseNot();
    ExpressionPtr ParsePredicate();
    ExpressionPtr ParsePredicateTail(ExpressionPtr value, bool negated);
    ExpressionPtr ParseIn(ExpressionPtr value, bool negated);
    ExpressionPtr ParseSum();
    ExpressionPtr ParseProduct();
    ExpressionPtr ParseSigned();
    ExpressionPtr ParsePrimary();
    ExpressionPtr ParseBracket();
    ExpressionPtr ParseWord();
    ExpressionPtr ParseCase();
    ExpressionPtr ParseExists();
    ExpressionPtr ParseCall(const FunctionInfo& info);
    ExpressionPtr ParseTrim();
    ExpressionPtr ParseColumn();

    template <typename T> ExpressionPtr Make(T node, Position start)
    {
        auto expression = std::make_unique<Expression>();
        expression->node = std::move(node);
        expression->start = start;
        expression->end = LastEnd();
        return expression;
    }

    const Token& Next() const { return tokens_[at_]; }
    const Token& Ahead(size_t count) const { return tokens_[std::min(at_ + count, tokens_.size() - 1)]; }
    Position Start() const { return Next().start; }
    Position LastEnd() const { return at_ == 0 ? 0 : tokens_[at_ - 1].start + tokens_[at_ - 1].length; }
    bool Is(const Token& token, QStringView word) const
    {
        return (token.kind == TokenKind::Word || token.kind == TokenKind::Symbol)
            && lexer_.Text(token).compare(word, Qt::CaseInsensitive) == 0;
    }
    bool NextIs(QStringView word) const { return Is(Next(), word); }
    bool AtName() const;
    bool Take(QStringView word);
    void Expect(QStringView word);
    QString TakeName(const QString& expected);
    [[noreturn]] void Raise(const QString& message) const
    {
        throw SyntaxError(lexer_.Text(), Start(), message);
    }
    [[noreturn]] void RaiseExpected(const QString& expected) const;

    const Lexer& lexer_;
    const std::vector<Token>& tokens_;
    size_t at_ = 0;
    int depth_ = 0;
};

} // namespace dialect
