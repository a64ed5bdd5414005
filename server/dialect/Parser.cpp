#include "server/dialect/Parser.h"

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

// Of the deepest expression of a query.
int DepthOf(const Query& query)
{
    int depth = 0;
    const auto note = [&depth](const ExpressionPtr& expression) {
        if (expression)
            depth = std::max(depth, expression->depth);
    };
    for (const SelectBlock& block : query.blocks) {
        for (const SelectItem& item : block.items)
            note(item.expression);
        for (const auto& source : block.from) {
            note(source->on);
            if (source->query)
                depth = std::max(depth, source->query->depth);
        }
        for (const ExpressionPtr* each : {&block.where, &block.startWith, &block.connectBy, &block.having})
            note(*each);
        std::ranges::for_each(block.groupBy, note);
    }
    for (const OrderItem& item : query.orderBy)
        note(item.expression);
    return depth;
}

} // namespace

void Parser::Count(Expression& expression)
{
    time_.Check();
    int below = 0;
    ForEachOperand(
        expression, [&below](const ExpressionPtr& operand) { below = std::max(below, operand->depth); });
    const auto query = [&below](const auto* node) {
        if (node)
            below = std::max(below, node->query->depth);
    };
    query(expression.As<InQuery>());
    query(expression.As<Exists>());
    query(expression.As<ScalarQuery>());
    expression.depth = below + 1;
    if (expression.depth > kMostDepth)
        Raise(texts::TooDeep());
    if (++nodes_ > kMostNodes)
        Raise(texts::TooManyParts(kMostNodes));
}

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
    if (const auto excess = std::ranges::find(tokens_, kMostLiterals, &Token::literal);
        excess != tokens_.end())
        throw SyntaxError(lexer_.Text(), excess->start, texts::TooManyLiterals(kMostLiterals));
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
        RequireRoom(update.assignments, kMostColumns, texts::TooManyColumns);
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
    query->depth = DepthOf(*query) + 1;
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
    if (++blocks_ > kMostBlocks)
        Raise(texts::TooManyBlocks(kMostBlocks));
    SelectBlock block;
    block.position = Start();
    Expect(u"select");
    if (Take(u"distinct") || Take(u"unique"))
        block.distinct = true;
    else
        Take(u"all");
    do {
        RequireRoom(block.items, kMostColumns, texts::TooManyColumns);
        block.items.push_back(ParseItem());
    } while (Take(u","));
    if (!NextIs(u"from"))
        RaiseExpected(QStringLiteral("“,”或“from”"));
    ParseFrom(block);
    if (Take(u"where"))
        block.where = ParseExpression();
    ParseHierarchy(block);
    if (Take(u"group")) {
        Expect(u"by");
        do {
            RequireRoom(block.groupBy);
            block.groupBy.push_back(ParseExpression());
        } while (Take(u","));
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
            RequireRoom(block.from, kMostSources, texts::TooManySources);
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
        RequireRoom(block.from, kMostSources, texts::TooManySources);
        auto source = ParseSource();
        source->join = join;
        Expect(u"on");
        source->on = ParseExpression();
        block.from.push_back(std::move(source));
    }
}

std::unique_ptr<Source> Parser::ParseSource()
{
    if (++sources_ > kMostSourcesInAll)
        Raise(texts::TooManySources(kMostSourcesInAll));
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
        RequireRoom(query.orderBy);
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

Statement Parse(const Lexer& lexer, TranslationTime& time)
{
    return Parser(lexer, time).ParseStatement();
}

} // namespace dialect
