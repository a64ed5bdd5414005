#include "server/dialect/Parser.h"

#include <array>

namespace dialect {

ExpressionPtr Parser::ParseOr()
{
    const Position start = Start();
    ExpressionPtr first = ParseAnd();
    if (!NextIs(u"or"))
        return first;
    Junction junction{false, {}};
    junction.operands.push_back(std::move(first));
    while (Take(u"or"))
        junction.operands.push_back(ParseAnd());
    return Make(std::move(junction), start);
}

ExpressionPtr Parser::ParseAnd()
{
    const Position start = Start();
    ExpressionPtr first = ParseNot();
    if (!NextIs(u"and"))
        return first;
    Junction junction{true, {}};
    junction.operands.push_back(std::move(first));
    while (Take(u"and"))
        junction.operands.push_back(ParseNot());
    return Make(std::move(junction), start);
}

ExpressionPtr Parser::ParseNot()
{
    const Position start = Start();
    if (!Take(u"not"))
        return ParsePredicate();
    const Nesting nesting(*this);
    ExpressionPtr operand = ParseNot();
    return Make(Not{std::move(operand)}, start);
}

ExpressionPtr Parser::ParsePredicate()
{
    const Position start = Start();
    ExpressionPtr left = ParseSum();
    using Operator = Comparison::Operator;
    struct Symbol {
        QStringView text;
        Operator op;
    };
    constexpr std::array<Symbol, 8> kSymbols{{{u"=", Operator::Equal}, {u"<>", Operator::NotEqual},
        {u"!=", Operator::NotEqual}, {u"^=", Operator::NotEqual}, {u"<=", Operator::LessOrEqual},
        {u">=", Operator::GreaterOrEqual}, {u"<", Operator::Less}, {u">", Operator::Greater}}};
    for (const Symbol& symbol : kSymbols) {
        if (Take(symbol.text)) {
            ExpressionPtr right = ParseSum();
            return Make(Comparison{symbol.op, std::move(left), std::move(right)}, start);
        }
    }
    if (Take(u"is")) {
        const bool negated = Take(u"not");
        Expect(u"null");
        return Make(IsNull{std::move(left), negated}, start);
    }
    const bool negated = Take(u"not");
    return ParsePredicateTail(std::move(left), negated);
}

ExpressionPtr Parser::ParsePredicateTail(ExpressionPtr value, bool negated)
{
    const Position start = value->start;
    if (Take(u"between")) {
        ExpressionPtr low = ParseSum();
        Expect(u"and");
        ExpressionPtr high = ParseSum();
        return Make(Between{std::move(value), std::move(low), std::move(high), negated}, start);
    }
    if (Take(u"like")) {
        ExpressionPtr pattern = ParseSum();
        ExpressionPtr escape = Take(u"escape") ? ParseSum() : nullptr;
        return Make(Like{std::move(value), std::move(pattern), std::move(escape), negated}, start);
    }
    if (Take(u"in"))
        return ParseIn(std::move(value), negated);
    if (negated)
        RaiseExpected(QStringLiteral("“in”、“like”或“between”"));
    return value;
}

ExpressionPtr Parser::ParseIn(ExpressionPtr value, bool negated)
{
    const Position start = value->start;
    Expect(u"(");
    if (NextIs(u"select")) {
        QueryPtr query = ParseQuery();
        Expect(u")");
        return Make(InQuery{std::move(value), std::move(query), negated}, start);
    }
    InList list{std::move(value), {}, negated};
    if (Next().kind == TokenKind::TextList || Next().kind == TokenKind::NumberList) {
        const Token& token = tokens_[at_++];
        const Type elements = token.kind == TokenKind::TextList ? Type::Text : Type::Number;
        list.items.push_back(Make(LiteralList{token.literal, elements}, token.start));
        list.items.back()->type = elements;
    } else {
        do {
            RequireRoom(list.items, kMostListValues, texts::ListTooLong);
            list.items.push_back(ParseSum());
        } while (Take(u","));
    }
    Expect(u")");
    return Make(std::move(list), start);
}

ExpressionPtr Parser::ParseSum()
{
    const Position start = Start();
    ExpressionPtr left = ParseProduct();
    for (;;) {
        if (Take(u"||")) {
            Concatenation concatenation;
            concatenation.operands.push_back(std::move(left));
            do {
                RequireRoom(concatenation.operands);
                concatenation.operands.push_back(ParseProduct());
            } while (Take(u"||"));
            left = Make(std::move(concatenation), start);
            continue;
        }
        auto op = Arithmetic::Operator::Add;
        if (NextIs(u"-"))
            op = Arithmetic::Operator::Subtract;
        else if (!NextIs(u"+"))
            return left;
        ++at_;
        ExpressionPtr right = ParseProduct();
        left = Make(Arithmetic{op, std::move(left), std::move(right)}, start);
    }
}

ExpressionPtr Parser::ParseProduct()
{
    const Position start = Start();
    ExpressionPtr left = ParseSigned();
    for (;;) {
        auto op = Arithmetic::Operator::Multiply;
        if (NextIs(u"/"))
            op = Arithmetic::Operator::Divide;
        else if (!NextIs(u"*"))
            return left;
        ++at_;
        ExpressionPtr right = ParseSigned();
        left = Make(Arithmetic{op, std::move(left), std::move(right)}, start);
    }
}

ExpressionPtr Parser::ParseSigned()
{
    const Nesting nesting(*this);
    const Position start = Start();
    if (Take(u"-")) {
        ExpressionPtr operand = ParseSigned();
        return Make(Negation{std::move(operand)}, start);
    }
    if (Take(u"+"))
        return ParseSigned();
    if (Take(u"prior")) {
        ExpressionPtr operand = ParseSigned();
        return Make(Prior{std::move(operand)}, start);
    }
    return ParsePrimary();
}

ExpressionPtr Parser::ParsePrimary()
{
    const Token& token = Next();
    switch (token.kind) {
    case TokenKind::TextLiteral:
    case TokenKind::Integer:
    case TokenKind::Number: {
        ++at_;
        ExpressionPtr literal = Make(Literal{token.literal}, token.start);
        literal->type = token.kind == TokenKind::TextLiteral ? Type::Text
            : token.kind == TokenKind::Integer               ? Type::Integer
                                                             : Type::Number;
        return literal;
    }
    case TokenKind::EmptyLiteral:
        ++at_;
        return Make(Null{}, token.start);
    case TokenKind::QuotedName:
        return ParseColumn();
    case TokenKind::Word:
        return ParseWord();
    default:
        if (NextIs(u"("))
            return ParseBracket();
        RaiseExpected(texts::Expression());
    }
}

// ( expression ) or ( select … )
ExpressionPtr Parser::ParseBracket()
{
    const Position start = Start();
    Expect(u"(");
    if (NextIs(u"select")) {
        QueryPtr query = ParseQuery();
        Expect(u")");
        return Make(ScalarQuery{std::move(query)}, start);
    }
    ExpressionPtr inner = ParseExpression();
    if (NextIs(u","))
        Raise(texts::NotSupported(QStringLiteral("(a, b)")));
    Expect(u")");
    inner->start = start;
    inner->end = LastEnd();
    return inner;
}

ExpressionPtr Parser::ParseWord()
{
    const Position start = Start();
    if (Take(u"null"))
        return Make(Null{}, start);
    if (NextIs(u"case"))
        return ParseCase();
    if (NextIs(u"exists"))
        return ParseExists();
    if (!AtName())
        RaiseExpected(texts::Expression());
    if (Is(Ahead(1), u"(")) {
        const QString name = lexer_.Text(Next()).toString();
        if (NextIs(u"trim"))
            return ParseTrim();
        const FunctionInfo* info = FindFunction(name);
        if (!info)
            Raise(texts::NoFunction(name));
        return ParseCall(*info);
    }
    if (!Is(Ahead(1), u".")) {
        if (Take(u"sysdate"))
            return Make(Now{}, start);
        if (Take(u"rownum"))
            return Make(Rownum{}, start);
        if (Take(u"level"))
            return Make(Level{}, start);
    }
    return ParseColumn();
}

ExpressionPtr Parser::ParseCase()
{
    const Nesting nesting(*this);
    const Position start = Start();
    Expect(u"case");
    Case result;
    if (!NextIs(u"when"))
        result.subject = ParseExpression();
    if (!NextIs(u"when"))
        RaiseExpected(QStringLiteral("“when”"));
    while (Take(u"when")) {
        RequireRoom(result.branches);
        Case::Branch branch;
        branch.when = ParseExpression();
        Expect(u"then");
        branch.then = ParseExpression();
        result.branches.push_back(std::move(branch));
    }
    if (Take(u"else"))
        result.otherwise = ParseExpression();
    Expect(u"end");
    return Make(std::move(result), start);
}

// exists (select …), in any number of further brackets
ExpressionPtr Parser::ParseExists()
{
    const Position start = Start();
    Expect(u"exists");
    int brackets = 0;
    do {
        Expect(u"(");
        ++brackets;
    } while (NextIs(u"("));
    QueryPtr query = ParseQuery();
    for (; brackets > 0; --brackets)
        Expect(u")");
    return Make(Exists{std::move(query)}, start);
}

ExpressionPtr Parser::ParseCall(const FunctionInfo& info)
{
    const Nesting nesting(*this);
    const Position start = Start();
    const QString name = TakeName(texts::Name());
    Expect(u"(");
    Call call{.function = info.function};
    if (IsAggregate(info.function)) {
        call.star = info.function == Function::Count && Take(u"*");
        call.distinct = !call.star && (Take(u"distinct") || Take(u"unique"));
        if (!call.star && !call.distinct)
            Take(u"all");
    }
    if (!call.star && !NextIs(u")")) {
        do {
            RequireRoom(call.arguments);
            call.arguments.push_back(ParseExpression());
        } while (Take(u","));
    }
    Expect(u")");
    const int count = call.star ? 1 : static_cast<int>(call.arguments.size());
    if (count < info.minArguments || (info.maxArguments >= 0 && count > info.maxArguments))
        throw SyntaxError(lexer_.Text(), start, texts::ArgumentCount(name));
    if (NextIs(u"over"))
        Raise(texts::NotSupported(QStringLiteral("over (…)")));
    return Make(std::move(call), start);
}

// trim(text), trim([leading|trailing|both] [character] from text)
ExpressionPtr Parser::ParseTrim()
{
    const Nesting nesting(*this);
    const Position start = Start();
    at_ += 2;
    Call call{.function = Function::Trim};
    bool side = true;
    if (Take(u"leading"))
        call.function = Function::LTrim;
    else if (Take(u"trailing"))
        call.function = Function::RTrim;
    else
        side = Take(u"both");
    ExpressionPtr first = side && NextIs(u"from") ? nullptr : ParseExpression();
    if (Take(u"from")) {
        call.arguments.push_back(ParseExpression());
        if (first)
            call.arguments.push_back(std::move(first));
    } else if (side) {
        RaiseExpected(QStringLiteral("“from”"));
    } else {
        call.arguments.push_back(std::move(first));
    }
    Expect(u")");
    return Make(std::move(call), start);
}

ExpressionPtr Parser::ParseColumn()
{
    const Position start = Start();
    ColumnName column;
    column.name = TakeName(texts::Expression());
    if (Take(u".")) {
        column.qualifier = std::move(column.name);
        column.name = TakeName(texts::Name());
    }
    if (NextIs(u"(") && Is(Ahead(1), u"+"))
        Raise(texts::NotSupported(QStringLiteral("(+)")));
    return Make(std::move(column), start);
}

} // namespace dialect
