#include "server/dialect/Analyzer.h"

#include "server/dialect/Limits.h"
#include "server/dialect/Refusals.h"

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace dialect {
namespace {

Type TypeOf(wire::ColumnType type)
{
    switch (type) {
    case wire::ColumnType::Integer:
        return Type::Integer;
    case wire::ColumnType::Number:
        return Type::Number;
    case wire::ColumnType::DateTime:
        return Type::Date;
    case wire::ColumnType::Text:
        break;
    }
    return Type::Text;
}

wire::ColumnType WireTypeOf(Type type)
{
    switch (type) {
    case Type::Integer:
        return wire::ColumnType::Integer;
    case Type::Number:
        return wire::ColumnType::Number;
    case Type::Date:
        return wire::ColumnType::DateTime;
    default:
        return wire::ColumnType::Text;
    }
}

bool SameName(QStringView a, QStringView b)
{
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

bool Answers(const Source& source, QStringView qualifier)
{
    return SameName(source.alias.isEmpty() ? source.tableName : source.alias, qualifier);
}

// The where clause lets no row pass in which `column` of `source` is null.
bool RejectsNull(const Expression* where, const Source* source, int column)
{
    return std::ranges::any_of(Conjuncts(where), [=](const Expression* condition) {
        const auto is = [=](const ExpressionPtr& side) { return IsColumn(*side, source, column); };
        if (const auto* comparison = condition->As<Comparison>())
            return is(comparison->left) || is(comparison->right);
        if (const auto* between = condition->As<Between>())
            return !between->negated && is(between->value);
        if (const auto* like = condition->As<Like>())
            return is(like->value);
        if (const auto* list = condition->As<InList>())
            return is(list->value);
        if (const auto* query = condition->As<InQuery>())
            return !query->negated && is(query->value);
        if (const auto* null = condition->As<IsNull>())
            return null->negated && is(null->value);
        return false;
    });
}

// `condition` allows one value at most for `column` of `source`.
bool Pins(const Expression& condition, const Source* source, int column)
{
    const auto* comparison = condition.As<Comparison>();
    if (!comparison || comparison->op != Comparison::Operator::Equal)
        return false;
    return (IsColumn(*comparison->left, source, column) && !Mentions(*comparison->right, source))
        || (IsColumn(*comparison->right, source, column) && !Mentions(*comparison->left, source));
}

} // namespace

Analyzer::Analyzer(const Lexer& lexer, const Catalog& catalog, TranslationTime& time)
    : lexer_(lexer)
    , catalog_(catalog)
    , time_(time)
{
    analysis_.literals.resize(lexer.Literals().size());
}

Analysis Analyzer::Run(Statement& statement)
{
    if (auto* query = std::get_if<QueryPtr>(&statement)) {
        AnalyzeQuery(**query, nullptr, true);
        Describe(**query);
    } else {
        AnalyzeUpdate(std::get<Update>(statement));
    }
    return std::move(analysis_);
}

void Analyzer::AnalyzeQuery(Query& query, Scope* outer, bool named)
{
    if (query.blocks.size() == 1) {
        Scope scope{.outer = outer};
        AnalyzeBlock(query.blocks.front(), scope, named);
        query.columns = query.blocks.front().columns;
        AnalyzeOrder(query, query.blocks.front(), scope);
        return;
    }
    for (SelectBlock& block : query.blocks) {
        Scope scope{.outer = outer};
        AnalyzeBlock(block, scope, named);
    }
    UniteColumns(query);
    AnalyzeUnionOrder(query);
}

// The result of a union has the first block's names; every block's columns are of the same types.
void Analyzer::UniteColumns(Query& query)
{
    query.columns = query.blocks.front().columns;
    for (ResultColumn& column : query.columns) {
        column.key = false;
        column.source = nullptr;
        column.tableColumn = -1;
    }
    for (const SelectBlock& block : query.blocks) {
        if (block.columns.size() != query.columns.size())
            Raise(block.position, texts::ColumnCount());
        for (size_t i = 0; i < block.columns.size(); ++i) {
            ResultColumn& column = query.columns[i];
            const Type type = block.columns[i].type;
            if (column.type == Type::Null || (column.type == Type::Integer && type == Type::Number))
                column.type = type;
            else if (type != Type::Null && type != column.type
                && !(IsNumeric(type) && IsNumeric(column.type)))
                Raise(block.position, texts::TypeMismatch());
            if (block.columns[i].width == 0 || column.width == 0)
                column.width = 0;
            else
                column.width = std::max(column.width, block.columns[i].width);
        }
    }
}

void Analyzer::AnalyzeBlock(SelectBlock& block, Scope& scope, bool named)
{
    for (const auto& source : block.from)
        AnalyzeSource(*source, scope.outer);
    for (const auto& source : block.from) {
        scope.sources.push_back(source.get());
        if (source->on)
            Condition(source->on, scope);
    }
    scope.hierarchical = block.connectBy != nullptr;
    if (block.where) {
        TakeRownum(block);
        if (block.where)
            Condition(block.where, scope);
    }
    if (scope.hierarchical)
        AnalyzeHierarchy(block, scope);
    for (ExpressionPtr& expression : block.groupBy)
        Value(expression, scope);
    {
        const ClauseGuard grouped(scope, Clause::Grouped);
        AnalyzeOutputs(block, scope, named);
        if (block.having)
            Condition(block.having, scope);
    }
    block.aggregated = scope.aggregates || !block.groupBy.empty() || block.having;
    if (block.aggregated) {
        const Groups groups = GroupsOf(block);
        for (const Expression* output : block.outputs)
            CheckGrouping(groups, *output, scope);
        if (block.having)
            CheckGrouping(groups, *block.having, scope);
    }
    if (block.rowLimit && (block.aggregated || block.distinct))
        Raise(block.position, texts::RownumHere());
}

void Analyzer::AnalyzeSource(Source& source, Scope* outer)
{
    source.number = ++sources_;
    if (source.query) {
        AnalyzeQuery(*source.query, outer, true);
        source.columns = source.query->columns;
        for (ResultColumn& column : source.columns) {
            column.key = false;
            column.tableColumn = -1;
        }
    } else if ((source.table = catalog_.Find(source.tableName)) != nullptr) {
        for (const CatalogColumn& column : source.table->columns) {
            source.columns.push_back({.name = column.name,
                .type = TypeOf(column.type),
                .width = column.width,
                .key = column.key,
                .tableColumn = static_cast<int>(source.columns.size())});
        }
        if (std::ranges::find(analysis_.tables, source.table->name) == analysis_.tables.end())
            analysis_.tables.push_back(source.table->name);
    } else if (SameName(source.tableName, u"dual")) {
        source.columns.push_back({.name = u"DUMMY"_s, .type = Type::Text, .width = 1});
    } else {
        Raise(source.position, texts::NoTable(source.tableName));
    }
    source.used.assign(source.columns.size(), false);
    source.shown = source.used;
}

void Analyzer::AnalyzeHierarchy(SelectBlock& block, Scope& scope)
{
    if (block.from.size() != 1 || !block.from.front()->table)
        Raise(block.position, texts::HierarchyOfOneTable());
    if (block.startWith)
        Condition(block.startWith, scope);
    const ClauseGuard connect(scope, Clause::ConnectBy);
    Condition(block.connectBy, scope);
}

// rownum=1, rownum<=n and rownum<n at the top of the where clause become the block's limit.
void Analyzer::TakeRownum(SelectBlock& block)
{
    const auto limit = [this](const Expression& condition) -> std::optional<qint64> {
        const auto* comparison = condition.As<Comparison>();
        if (!comparison || !comparison->left->As<Rownum>())
            return std::nullopt;
        const auto* literal = comparison->right->As<Literal>();
        if (!literal || comparison->right->type != Type::Integer)
            return std::nullopt;
        const qint64 bound = std::get<qint64>(Fix(literal->literal));
        switch (comparison->op) {
        case Comparison::Operator::Equal:
            return bound == 1 ? 1 : 0;
        case Comparison::Operator::LessOrEqual:
            return bound;
        case Comparison::Operator::Less:
            return bound - 1;
        default:
            return std::nullopt;
        }
    };
    const auto take = [&](const ExpressionPtr& condition) {
        const std::optional<qint64> found = limit(*condition);
        if (found)
            block.rowLimit = std::max<qint64>(0, std::min(*found, block.rowLimit.value_or(*found)));
        return found.has_value();
    };
    auto* junction = block.where->As<Junction>();
    if (!junction || !junction->conjunction) {
        if (take(block.where))
            block.where.reset();
        return;
    }
    std::erase_if(junction->operands, take);
    if (junction->operands.empty()) {
        block.where.reset();
    } else if (junction->operands.size() == 1) {
        ExpressionPtr only = std::move(junction->operands.front());
        block.where = std::move(only);
    }
}

void Analyzer::AnalyzeOutputs(SelectBlock& block, Scope& scope, bool named)
{
    for (SelectItem& item : block.items) {
        if (!item.expression) {
            ExpandStar(block, item, scope);
            continue;
        }
        Value(item.expression, scope);
        QString name = item.alias;
        if (name.isEmpty() && named)
            name = NameOf(*item.expression);
        AddOutput(block, *item.expression, name, scope);
    }
    // Two columns of one name: the later ones are told apart by a number.
    QHash<QString, int> taken; // names, and the last number tried for each
    taken.reserve(static_cast<qsizetype>(block.columns.size()));
    for (ResultColumn& column : block.columns) {
        const QString name = column.name;
        const QString folded = name.toCaseFolded();
        if (!taken.contains(folded)) {
            taken.insert(folded, 0);
            continue;
        }
        do
            column.name = name + u'_' + QString::number(++taken[folded]);
        while (taken.contains(column.name.toCaseFolded()));
        taken.insert(column.name.toCaseFolded(), 0);
    }
}

void Analyzer::ExpandStar(SelectBlock& block, const SelectItem& item, Scope& scope)
{
    bool found = false;
    for (Source* source : scope.sources) {
        if (!item.starQualifier.isEmpty() && !Answers(*source, item.starQualifier))
            continue;
        found = true;
        // Seen before the columns are made: a few more stars would fill the memory.
        if (block.columns.size() + source->columns.size() > kMostColumns)
            Raise(item.position, texts::TooManyColumns(kMostColumns));
        starColumns_ += static_cast<int>(source->columns.size());
        if (starColumns_ > kMostNodes)
            Raise(item.position, texts::TooManyParts(kMostNodes));
        for (size_t i = 0; i < source->columns.size(); ++i) {
            time_.Check();
            auto column = std::make_unique<Expression>();
            column->node = ColumnName{.source = source, .column = static_cast<int>(i)};
            column->start = item.position;
            column->end = item.position + 1;
            column->type = source->columns[i].type;
            column->width = source->columns[i].width;
            source->used[i] = true;
            AddOutput(block, *column, source->columns[i].name, scope);
            block.stars.push_back(std::move(column));
        }
    }
    if (!found)
        Raise(item.position, texts::NoSource(item.starQualifier));
}

void Analyzer::AddOutput(SelectBlock& block, const Expression& expression, const QString& name, Scope& scope)
{
    if (block.columns.size() == kMostColumns)
        Raise(expression.start, texts::TooManyColumns(kMostColumns));
    ResultColumn column{.name = name, .type = expression.type, .width = expression.width};
    if (const auto* plain = expression.As<ColumnName>()) {
        Source* const first = scope.sources.front();
        column.source = plain->source;
        column.sourceColumn = plain->column;
        const auto number = static_cast<size_t>(plain->column);
        if (plain->source == first && first->table && !block.distinct && !first->shown[number]) {
            first->shown[number] = true;
            column.tableColumn = plain->column;
            column.key = first->columns[number].key;
        }
    }
    block.columns.push_back(std::move(column));
    block.outputs.push_back(&expression);
}

// As the database names a column without an alias: the column's own name, or the text without its blanks.
QString Analyzer::NameOf(const Expression& expression)
{
    if (const auto* plain = expression.As<ColumnName>())
        return plain->source->columns[static_cast<size_t>(plain->column)].name;
    QString name;
    const std::vector<Token>& tokens = lexer_.Tokens();
    for (auto token = std::ranges::lower_bound(tokens, expression.start, {}, &Token::start);
         token != tokens.end() && token->start < expression.end; ++token) {
        if (token->literal >= 0)
            Fix(token->literal);
        name += lexer_.Text(*token);
    }
    return name;
}

// Outside of aggregates a grouped select may name what it is grouped by, and nothing else of its sources.
void Analyzer::CheckGrouping(const Groups& groups, const Expression& expression, const Scope& scope) const
{
    time_.Check();
    if (!groups.empty()) {
        const auto group = groups.find(Fingerprint(expression));
        if (group != groups.end() && SameExpression(*group->second, expression))
            return;
    }
    if (const auto* call = expression.As<Call>(); call && IsAggregate(call->function))
        return;
    if (const auto* name = expression.As<ColumnName>()) {
        if (std::ranges::find(scope.sources, name->source) != scope.sources.end())
            Raise(expression.start, texts::NotGrouped());
    }
    if (expression.As<Level>())
        Raise(expression.start, texts::NotGrouped());
    ForEachOperand(expression, [&](const ExpressionPtr& operand) { CheckGrouping(groups, *operand, scope); });
}

Analyzer::Groups Analyzer::GroupsOf(const SelectBlock& block)
{
    Groups groups;
    for (const ExpressionPtr& group : block.groupBy)
        groups.emplace(Fingerprint(*group), group.get());
    return groups;
}

void Analyzer::AnalyzeOrder(Query& query, SelectBlock& block, Scope& scope)
{
    if (query.orderBy.empty())
        return;
    const Groups groups = GroupsOf(block);
    std::unordered_map<size_t, size_t> outputs; // of a distinct select, by their fingerprints
    for (size_t i = 0; block.distinct && i < block.outputs.size(); ++i)
        outputs.emplace(Fingerprint(*block.outputs[i]), i);
    if (block.rowLimit)
        Raise(block.position, texts::RownumHere());
    for (OrderItem& item : query.orderBy) {
        const Position position = item.expression->start;
        if (const auto* literal = item.expression->As<Literal>();
            literal && item.expression->type == Type::Integer) {
            const qint64 output = std::get<qint64>(Fix(literal->literal));
            if (output < 1 || output > static_cast<qint64>(block.columns.size()))
                Raise(position, texts::OrderPosition());
            item.output = static_cast<int>(output) - 1;
            continue;
        }
        if (const auto* name = item.expression->As<ColumnName>(); name && name->qualifier.isEmpty()) {
            const auto aliased = [&](const SelectItem& selected) {
                return SameName(selected.alias, name->name);
            };
            if (std::ranges::any_of(block.items, aliased)) {
                const auto column = std::ranges::find_if(
                    block.columns, [&](const ResultColumn& each) { return SameName(each.name, name->name); });
                item.output = static_cast<int>(column - block.columns.begin());
                continue;
            }
        }
        {
            const ClauseGuard grouped(scope, Clause::Grouped);
            Value(item.expression, scope);
        }
        if (block.aggregated)
            CheckGrouping(groups, *item.expression, scope);
        else if (scope.aggregates)
            Raise(position, texts::NotGrouped());
        if (block.distinct) {
            const auto output = outputs.find(Fingerprint(*item.expression));
            if (output == outputs.end() || !SameExpression(*block.outputs[output->second], *item.expression))
                Raise(position, texts::OrderOfUnion());
            item.output = static_cast<int>(output->second);
        }
        if (const auto* column = item.expression->As<ColumnName>()) {
            const bool key = column->source->table && column->source->join != Source::Join::Left
                && column->source->columns[static_cast<size_t>(column->column)].key;
            item.nullable = !key && !RejectsNull(block.where.get(), column->source, column->column);
        }
    }
}

void Analyzer::AnalyzeUnionOrder(Query& query)
{
    for (OrderItem& item : query.orderBy) {
        if (const auto* literal = item.expression->As<Literal>();
            literal && item.expression->type == Type::Integer) {
            item.output = static_cast<int>(std::get<qint64>(Fix(literal->literal))) - 1;
        } else if (const auto* name = item.expression->As<ColumnName>(); name && name->qualifier.isEmpty()) {
            const auto column = std::ranges::find_if(
                query.columns, [&](const ResultColumn& each) { return SameName(each.name, name->name); });
            if (column != query.columns.end())
                item.output = static_cast<int>(column - query.columns.begin());
        }
        if (item.output < 0 || item.output >= static_cast<int>(query.columns.size()))
            Raise(item.expression->start, texts::OrderOfUnion());
    }
}

void Analyzer::AnalyzeUpdate(Update& update)
{
    Scope scope;
    AnalyzeSource(*update.target, nullptr);
    if (!update.target->table)
        Raise(update.target->position, texts::NoTable(update.target->tableName));
    analysis_.targetTable = update.target->table->name;
    scope.sources.push_back(update.target.get());
    for (Assignment& assignment : update.assignments) {
        Value(assignment.target, scope);
        Value(assignment.value, scope);
        Convert(assignment.value, assignment.target->type);
    }
    if (update.where)
        Condition(update.where, scope);
}

void Analyzer::Describe(const Query& query)
{
    const SelectBlock& first = query.blocks.front();
    if (first.from.front()->table)
        analysis_.targetTable = first.from.front()->table->name;
    const bool rows = query.blocks.size() == 1 && !first.aggregated && !first.distinct;
    for (const ResultColumn& column : query.columns) {
        const bool stored = rows && column.tableColumn >= 0;
        const bool guard =
            stored && first.from.front()->table->columns[static_cast<size_t>(column.tableColumn)].guard;
        analysis_.columns.push_back({.name = column.name,
            .type = WireTypeOf(column.type),
            .width = column.width,
            .key = stored && column.key,
            .guard = guard,
            .stored = stored});
    }
}

// An aggregate over everything, one row by rownum, or the whole primary key of the only table pinned.
bool Analyzer::GivesOneRow(const Query& query) const
{
    if (query.blocks.size() != 1)
        return false;
    const SelectBlock& block = query.blocks.front();
    if (block.aggregated)
        return block.groupBy.empty();
    if (block.rowLimit && *block.rowLimit <= 1)
        return true;
    const Source& source = *block.from.front();
    if (block.from.size() != 1 || block.connectBy)
        return false;
    if (!source.table)
        return !source.query; // dual
    const auto conditions = Conjuncts(block.where.get());
    bool key = false;
    for (size_t i = 0; i < source.columns.size(); ++i) {
        if (!source.columns[i].key)
            continue;
        key = true;
        if (std::ranges::none_of(conditions,
                [&](const Expression* condition) { return Pins(*condition, &source, static_cast<int>(i)); }))
            return false;
    }
    return key;
}

const wire::Value& Analyzer::Fix(int literal)
{
    analysis_.literals[static_cast<size_t>(literal)].fixed = true;
    return lexer_.Literals()[static_cast<size_t>(literal)];
}

void Analyzer::Raise(Position position, const QString& message) const
{
    throw SyntaxError(lexer_.Text(), position, message);
}

Analysis Analyze(Statement& statement, const Lexer& lexer, const Catalog& catalog, TranslationTime& time)
{
    return Analyzer(lexer, catalog, time).Run(statement);
}

} // namespace dialect
