#pragma once

#include "server/dialect/Limits.h"
#include "server/dialect/Parse.h"
#include "server/dialect/Refusals.h"

#include <algorithm>

namespace dialect {

// One parsing, by recursive descent. Statements are in Parser.cpp, expressions in ParserExpressions.cpp.
class Parser {
public:
    Parser(const Lexer& lexer, TranslationTime& time)
        : lexer_(lexer)
        , tokens_(lexer.Tokens())
        , time_(time)
    {
    }

    Statement ParseStatement();

private:
    // Counts how deep brackets, subqueries and cases nest: that is how deep the parser calls itself.
    class Nesting {
    public:
        explicit Nesting(Parser& parser)
            : parser_(parser)
        {
            if (++parser_.depth_ > kMostDepth)
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
        Count(*expression);
        return expression;
    }
    // Whoever walks the tree calls itself as often as it is deep.
    void Count(Expression& expression);
    // Before what comes next is added to a list.
    template <typename List> void RequireRoom(const List& list, size_t most, QString (*message)(qint64)) const
    {
        if (list.size() >= most)
            Raise(message(static_cast<qint64>(most)));
    }
    template <typename List> void RequireRoom(const List& operands) const
    {
        RequireRoom(operands, kMostOperands, texts::TooManyOperands);
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
    TranslationTime& time_;
    int depth_ = 0;
    int nodes_ = 0;
    size_t sources_ = 0;
    size_t blocks_ = 0;
};

} // namespace dialect
