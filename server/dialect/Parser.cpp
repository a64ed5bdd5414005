#include "server/dialect/Parser.h"

#include "server/dialect/Texts.h"

#include <algorithm>
#include <array>
#include <functional>

namespace dialect {
namespace {

// Words that name nothing by themselves: where an alias may stand they end the phrase before them.
constexpr std::array<QStringView, 45> kReserved{u"select", u"from", u"where", u"group", u"order", u"by",
    u"having", u"union", u"minus", u"intersect", u"start", u"connect", u"prior", u"on", u"left", u"right",
    u"full", u"inner", u"outer", u"join", u"cross", u"natural", u"and", u"or", u"not", u"in", u"is", u"like",
    u"between", u"exists", u"null", u"case", u"when", u"then", u"else", u"end", u"as", u"set", u"update",
    u"distinct", u"asc", u"desc", u"nulls", u"for", u"with"};

constexpr std::array<QStringView, 29> kOtherStatements{u"insert", u"delete", u"merge", u"create", u"alter",
    u"drop", u"truncate", u"rename", u"begin", u"declare", u"call", u"exec", u"execute", u"commit",
    u"rollback", u"savepoint", u"lock", u"grant", u"revoke", u"explain", u"analyze", u"audit", u"comment",
    u"purge", u"attach", u"detach", u"pragma", u"vacuum", u"reindex"};

// Deeper than any text that a person or a screen writes; shallower than the stack.
constexpr int kMaxDepth = 200;

class Parser {
public:
    explicit Parser(const Lexer& lexer)
        : lexer_(lexer)
        , tokens_(lexer.Tokens())
    {
    }

    Statement ParseStatement();

private:
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

bool Parser::AtName() const
{
    if (Next().kind == TokenKind::QuotedName)
        return true;
    return Next().kind == TokenKind::Word
        && std::ranges::none_of(kReserved, [this](QStringView reserved) { return NextIs(reserved); });
}

bool Parser::Take(QStringView word)
{
    if (!NextIs(word))
        return false;
    ++at_;
    return true;
}

void Parser::Expect(QStringView word)
{
    if (!Take(word))
        RaiseExpected(texts::Quoted(word.toString()));
}

QString Parser::TakeName(const QString& expected)
{
    if (!AtName())
        RaiseExpected(expected);
    return lexer_.Text(tokens_[at_++]).toString();
}

void Parser::RaiseExpected(const QString& expected) const
{
    const QString found =
        Next().kind == TokenKind::End ? texts::End() : texts::Quoted(lexer_.Text(Next()).left(40).toString());
    Raise(texts::Expected(expected, found));
}

void Parser::CheckPolicy() const
{
    const QString first = lexer_.Text(Next()).toString();
    if (Next().kind == TokenKind::End)
        throw SyntaxError(lexer_.Text(), 0, texts::Empty());
    const auto refuse = [this](const Token& token, const QString& message) {
        const wire::Error located = SyntaxError(lexer_.Text(), token.start, message);
        throw wire::Error(wire::ErrorKind::Policy, located.Message(), located.SqlText());
    };
    if (std::ranges::any_of(kOtherStatements, [this](QStringView word) { return NextIs(word); }))
        refuse(Next(), texts::OnlySelectOrUpdate(first));
    for (const Token& token : tokens_) {
        if (Is(token, u";"))
            refuse(token, texts::OneStatement());
    }
}

Statement Parser::ParseStatement()
{
    CheckPolicy();
    Statement statement;
    if (NextIs(u"update"))
        statement = ParseUpdate();
    else if (NextIs(u"select") || NextIs(u"("))
        statement = ParseQuery();
    else
        RaiseExpected(texts::Quoted(QStringLiteral("select")));
    if (Next().kind != TokenKind::End)
        RaiseExpected(texts::End());
    return statement;
}

Update Parser::ParseUpdate()
{
    Update update;
    Expect(u"update");
    const Position start = Start();
    update.target = std::make_unique<Source>();
    update.target->position = start;
    update.target->tableName = TakeName(texts::TableName());
    update.target->alias = ParseAlias();
    Expect(u"set");
    do {
        if (NextIs(u"("))
            Raise(texts::NotSupported(QStringLiteral("set (…) = (…)")));
        Assignment assignment;
        assignment.target = ParseColumn();
        Expect(u"=");
        assignment.value = ParseExpression();
        update.assignments.push_back(std::move(assignment));
    } while (Take(u","));
    if (Take(u"where"))
        update.where = ParseExpression();
    else if (Next().kind != TokenKind::End)
        RaiseExpected(QStringLiteral("“,”或“where”"));
    return update;
}

QueryPtr Parser::ParseQuery()
{
    const Nesting nesting(*this);
    auto query = std::make_unique<Query>();
    ParseBlocks(*query);
    ParseOrder(*query);
    return query;
}

void Parser::ParseBlocks(Query& query)
{
    Position bracket = -1;
    for (;;) {
        // A bracketed operand of a set operator; brackets change nothing while the operators are of one kind.
        if (NextIs(u"(")) {
            bracket = Start();
            Expect(u"(");
            const Nesting nesting(*this);
            Query inner;
            ParseBlocks(inner);
            if (NextIs(u"order"))
                Raise(texts::OrderOfUnion());
            Expect(u")");
            std::ranges::move(inner.blocks, std::back_inserter(query.blocks));
            std::ranges::move(inner.operators, std::back_inserter(query.operators));
        } else {
            query.blocks.push_back(ParseBlock());
        }
        if (Take(u"union"))
            query.operators.push_back(Take(u"all") ? SetOperator::UnionAll : SetOperator::Union);
        else if (Take(u"minus"))
            query.operators.push_back(SetOperator::Minus);
        else if (Take(u"intersect"))
            query.operators.push_back(SetOperator::Intersect);
        else
            break;
    }
    const bool mixed =
        std::ranges::adjacent_find(query.operators, std::not_equal_to()) != query.operators.end();
    if (bracket >= 0 && query.operators.size() > 1
        && (mixed || query.operators.front() == SetOperator::Minus))
        throw SyntaxError(lexer_.Text(), bracket, texts::NotSupported(QStringLiteral("(select … minus …)")));
}

SelectBlock Parser::ParseBlock()
{
    SelectBlock block;
    block.position = Start();
    Expect(u"select");
    if (Take(u"distinct") || Take(u"unique"))
        block.distinct = true;
    else
        Take(u"all");
    do
        block.items.push_back(ParseItem());
    while (Take(u","));
    if (!NextIs(u"from"))
        RaiseExpected(QStringLiteral("“,”或“from”"));
    ParseFrom(block);
    if (Take(u"where"))
        block.where = ParseExpression();
    ParseHierarchy(block);
    if (Take(u"group")) {
        Expect(u"by");
        do
            block.groupBy.push_back(ParseExpression());
        while (Take(u","));
    }
    if (Take(u"having"))
        block.having = ParseExpression();
    return block;
}

SelectItem Parser::ParseItem()
{
    SelectItem item;
    item.position = Start();
    if (Take(u"*"))
        return item;
    if (AtName() && Is(Ahead(1), u".") && Is(Ahead(2), u"*")) {
        item.starQualifier = TakeName(texts::Name());
        at_ += 2;
        return item;
    }
    item.expression = ParseExpression();
    item.alias = ParseAlias();
    return item;
}

QString Parser::ParseAlias()
{
    if (Take(u"as"))
        return TakeName(texts::Name());
    return AtName() ? TakeName(texts::Name()) : QString();
}

void Parser::ParseFrom(SelectBlock& block)
{
    Expect(u"from");
    block.from.push_back(ParseSource());
    for (;;) {
        auto join = Source::Join::None;
        if (Take(u",")) {
            block.from.push_back(ParseSource());
            continue;
        }
        if (Take(u"left")) {
            Take(u"outer");
            Expect(u"join");
            join = Source::Join::Left;
        } else if (Take(u"inner")) {
            Expect(u"join");
            join = Source::Join::Inner;
        } else if (Take(u"join")) {
            join = Source::Join::Inner;
        } else {
            break;
        }
        auto source = ParseSource();
        source->join = join;
        Expect(u"on");
        source->on = ParseExpression();
        block.from.push_back(std::move(source));
    }
}

std::unique_ptr<Source> Parser::ParseSource()
{
    auto source = std::make_unique<Source>();
    source->position = Start();
    if (Take(u"(")) {
        source->query = ParseQuery();
        Expect(u")");
    } else {
        source->tableName = TakeName(texts::TableName());
        if (NextIs(u"."))
            Raise(texts::NotSupported(QStringLiteral("schema.table")));
    }
    if (AtName())
        source->alias = TakeName(texts::Name());
    return source;
}

void Parser::ParseHierarchy(SelectBlock& block)
{
    const auto start = [&] {
        Expect(u"with");
        block.startWith = ParseExpression();
    };
    if (Take(u"start"))
        start();
    if (Take(u"connect")) {
        Expect(u"by");
        if (NextIs(u"nocycle"))
            Raise(texts::NotSupported(QStringLiteral("nocycle")));
        block.connectBy = ParseExpression();
        if (!block.startWith && Take(u"start"))
            start();
    } else if (block.startWith) {
        RaiseExpected(QStringLiteral("“connect by”"));
    }
}

void Parser::ParseOrder(Query& query)
{
    if (!Take(u"order"))
        return;
    if (NextIs(u"siblings"))
        Raise(texts::NotSupported(QStringLiteral("order siblings by")));
    Expect(u"by");
    do {
        OrderItem item;
        item.expression = ParseExpression();
        if (Take(u"desc"))
            item.descending = true;
        else
            Take(u"asc");
        if (Take(u"nulls")) {
            item.nullsFirst = NextIs(u"first");
            if (!Take(u"first"))
                Expect(u"last");
        }
        query.orderBy.push_back(std::move(item));
    } while (Take(u","));
}

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
        do
            list.items.push_back(ParseSum());
        while (Take(u","));
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
            do
                concatenation.operands.push_back(ParseProduct());
            while (Take(u"||"));
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
        do
            call.arguments.push_back(ParseExpression());
        while (Take(u","));
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

} // namespace

Statement Parse(const Lexer& lexer)
{
    return Parser(lexer).ParseStatement();
}

} // namespace dialect
