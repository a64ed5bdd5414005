#include "server/dialect/Analyzer.h"

#include "server/dialect/Limits.h"
#include "server/dialect/Refusals.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace dialect {
namespace {

int MaxWidth(int a, int b)
{
    return a == 0 || b == 0 ? 0 : std::max(a, b);
}

// Of the column of that name; -1: none. A text that looks up few is done before an index is made.
int NumberOf(Source& source, const QString& name)
{
    constexpr int kFew = 30;
    if (++source.lookUps <= kFew) {
        const auto same = [&name](const ResultColumn& column) {
            return column.name.compare(name, Qt::CaseInsensitive) == 0;
        };
        const auto found = std::ranges::find_if(source.columns, same);
        return found == source.columns.end() ? -1 : static_cast<int>(found - source.columns.begin());
    }
    if (source.columnNumbers.isEmpty()) {
        int number = 0;
        for (const ResultColumn& column : source.columns)
            source.columnNumbers.insert(column.name.toCaseFolded(), number++);
    }
    return source.columnNumbers.value(name.toCaseFolded(), -1);
}

} // namespace

QString DefaultDateMask()
{
    return u"yyyy-mm-dd hh24:mi:ss"_s;
}

void Analyzer::Condition(ExpressionPtr& expression, Scope& scope)
{
    Visit(expression, scope);
    if (expression->type != Type::Condition)
        Raise(expression->start, texts::Expected(texts::Condition(), texts::Value()));
}

void Analyzer::Value(ExpressionPtr& expression, Scope& scope)
{
    Visit(expression, scope);
    if (expression->type == Type::Condition)
        Raise(expression->start, texts::Expected(texts::Value(), texts::Condition()));
}

void Analyzer::Visit(ExpressionPtr& expression, Scope& scope)
{
    time_.Check();
    if (expression->As<Call>())
        VisitCall(expression, scope);
    else
        Resolve(*expression, scope);
}

void Analyzer::Resolve(Expression& expression, Scope& scope)
{
    const auto condition = [&expression] { expression.type = Type::Condition; };
    std::visit(
        [&](auto& node) {
            using T = std::remove_cvref_t<decltype(node)>;
            if constexpr (std::is_same_v<T, Now>) {
                expression.type = Type::Date;
            } else if constexpr (std::is_same_v<T, Rownum>) {
                Raise(expression.start, texts::RownumHere());
            } else if constexpr (std::is_same_v<T, Level>) {
                if (!scope.hierarchical)
                    Raise(expression.start, texts::LevelHere());
                expression.type = Type::Integer;
            } else if constexpr (std::is_same_v<T, Prior>) {
                if (scope.clause != Clause::ConnectBy)
                    Raise(expression.start, texts::PriorHere());
                Value(node.operand, scope);
                expression.type = node.operand->type;
            } else if constexpr (std::is_same_v<T, Negation>) {
                Value(node.operand, scope);
                if (!IsNumeric(node.operand->type))
                    Convert(node.operand, Type::Number);
                expression.type = node.operand->type;
            } else if constexpr (std::is_same_v<T, Not>) {
                Condition(node.operand, scope);
                condition();
            } else if constexpr (std::is_same_v<T, Comparison>) {
                Value(node.left, scope);
                Value(node.right, scope);
                Compare({&node.left, &node.right});
                condition();
            } else if constexpr (std::is_same_v<T, Junction>) {
                for (ExpressionPtr& operand : node.operands)
                    Condition(operand, scope);
                condition();
            } else if constexpr (std::is_same_v<T, IsNull>) {
                Value(node.value, scope);
                condition();
            } else if constexpr (std::is_same_v<T, Exists>) {
                AnalyzeQuery(*node.query, &scope, false);
                condition();
            } else if constexpr (requires { Visit(expression, node, scope); }) {
                Visit(expression, node, scope);
            }
        },
        expression.node);
}

void Analyzer::Visit(Expression& expression, Concatenation& joined, Scope& scope)
{
    expression.type = Type::Text;
    for (ExpressionPtr& operand : joined.operands) {
        Value(operand, scope);
        Convert(operand, Type::Text);
        const bool known = operand->width > 0 && (expression.width > 0 || &operand == &joined.operands[0]);
        expression.width = known ? expression.width + operand->width : 0;
    }
}

void Analyzer::Visit(Expression& expression, ScalarQuery& scalar, Scope& scope)
{
    AnalyzeQuery(*scalar.query, &scope, false);
    if (scalar.query->columns.size() != 1)
        Raise(expression.start, texts::OneColumn());
    scalar.oneRow = GivesOneRow(*scalar.query);
    expression.type = scalar.query->columns.front().type;
    expression.width = scalar.query->columns.front().width;
}

void Analyzer::Visit(Expression& expression, ColumnName& name, Scope& scope)
{
    for (Scope* place = &scope; place; place = place->outer) {
        for (Source* source : place->sources) {
            if (!name.qualifier.isEmpty()) {
                const QString& known = source->alias.isEmpty() ? source->tableName : source->alias;
                if (known.compare(name.qualifier, Qt::CaseInsensitive) != 0)
                    continue;
            }
            const int number = NumberOf(*source, name.name);
            if (number < 0) {
                if (name.qualifier.isEmpty())
                    continue;
                Raise(expression.start, texts::NoColumn(name.qualifier + u'.' + name.name));
            }
            if (name.source)
                Raise(expression.start, texts::Ambiguous(name.name));
            name.source = source;
            name.column = number;
            source->used[static_cast<size_t>(number)] = true;
            expression.type = source->columns[static_cast<size_t>(number)].type;
            expression.width = source->columns[static_cast<size_t>(number)].width;
        }
        if (name.source)
            return;
    }
    Raise(expression.start,
        name.qualifier.isEmpty() ? texts::NoColumn(name.name) : texts::NoSource(name.qualifier));
}

// Dates are counted in days: date ± number is a date, date - date a number.
void Analyzer::Visit(Expression& expression, Arithmetic& arithmetic, Scope& scope)
{
    Value(arithmetic.left, scope);
    Value(arithmetic.right, scope);
    const bool leftDate = arithmetic.left->type == Type::Date;
    const bool rightDate = arithmetic.right->type == Type::Date;
    const auto number = [this](ExpressionPtr& operand) {
        if (!IsNumeric(operand->type))
            Convert(operand, Type::Number);
    };
    using Operator = Arithmetic::Operator;
    if (leftDate || rightDate) {
        const bool difference = arithmetic.op == Operator::Subtract && leftDate;
        if (leftDate && rightDate && difference) {
            expression.type = Type::Number;
            return;
        }
        const bool sum = arithmetic.op == Operator::Add && leftDate != rightDate;
        if (!sum && !(difference && !rightDate))
            Raise(expression.start, texts::TypeMismatch());
        if (rightDate)
            std::swap(arithmetic.left, arithmetic.right);
        number(arithmetic.right);
        expression.type = Type::Date;
        return;
    }
    number(arithmetic.left);
    number(arithmetic.right);
    const bool whole = arithmetic.left->type == Type::Integer && arithmetic.right->type == Type::Integer;
    expression.type = whole && arithmetic.op != Operator::Divide ? Type::Integer : Type::Number;
}

void Analyzer::Visit(Expression& expression, Between& between, Scope& scope)
{
    Value(between.value, scope);
    Value(between.low, scope);
    Value(between.high, scope);
    Compare({&between.value, &between.low, &between.high});
    expression.type = Type::Condition;
}

void Analyzer::Visit(Expression& expression, Like& like, Scope& scope)
{
    for (ExpressionPtr* operand : {&like.value, &like.pattern, &like.escape}) {
        if (!*operand)
            continue;
        Value(*operand, scope);
        Convert(*operand, Type::Text);
    }
    // The lexer tells patterns with a leading wildcard apart, so this holds for every text of the shape.
    const Expression* first = like.pattern.get();
    while (const auto* concatenation = first->As<Concatenation>())
        first = concatenation->operands.front().get();
    if (const auto* literal = first->As<Literal>();
        literal && first->start == like.pattern->start && first->type == Type::Text && !like.escape) {
        const auto& text = std::get<QString>(lexer_.Literals()[static_cast<size_t>(literal->literal)]);
        like.prefixed = !text.startsWith(u'%') && !text.startsWith(u'_');
    }
    expression.type = Type::Condition;
}

void Analyzer::Visit(Expression& expression, InList& list, Scope& scope)
{
    Value(list.value, scope);
    expression.type = Type::Condition;
    if (list.items.front()->As<LiteralList>()) {
        Expression& items = *list.items.front();
        const bool numbers = IsNumeric(items.type);
        if (numbers && list.value->type == Type::Date)
            Raise(items.start, texts::TypeMismatch());
        if (numbers)
            Convert(list.value, Type::Number);
        else if (list.value->type != Type::Null)
            items.type = list.value->type;
        return;
    }
    std::vector<ExpressionPtr*> all{&list.value};
    for (ExpressionPtr& item : list.items) {
        Value(item, scope);
        all.push_back(&item);
    }
    Compare(all);
}

void Analyzer::Visit(Expression& expression, InQuery& in, Scope& scope)
{
    Value(in.value, scope);
    AnalyzeQuery(*in.query, &scope, false);
    if (in.query->columns.size() != 1)
        Raise(expression.start, texts::OneColumn());
    const Type column = in.query->columns.front().type;
    const Type value = in.value->type;
    if (value == Type::Text && column != Type::Text && column != Type::Null)
        Convert(in.value, column);
    else if (column == Type::Text && value != Type::Text && value != Type::Null)
        ConvertColumn(*in.query, value);
    else if ((column == Type::Date) != (value == Type::Date) && column != Type::Null && value != Type::Null)
        Raise(expression.start, texts::TypeMismatch());
    expression.type = Type::Condition;
}

void Analyzer::Visit(Expression& expression, Case& choice, Scope& scope)
{
    std::vector<ExpressionPtr*> compared;
    std::vector<ExpressionPtr*> results;
    if (choice.subject) {
        Value(choice.subject, scope);
        compared.push_back(&choice.subject);
    }
    for (Case::Branch& branch : choice.branches) {
        if (choice.subject) {
            Value(branch.when, scope);
            compared.push_back(&branch.when);
        } else {
            Condition(branch.when, scope);
        }
        Value(branch.then, scope);
        results.push_back(&branch.then);
    }
    if (choice.otherwise) {
        Value(choice.otherwise, scope);
        results.push_back(&choice.otherwise);
    }
    Compare(compared);
    expression.type = Unite(results, expression.width);
}

void Analyzer::Arguments(Call& call, std::span<const Type> types)
{
    size_t i = 0;
    for (const Type type : types) {
        if (i == call.arguments.size())
            return;
        ExpressionPtr& argument = call.arguments[i++];
        if (!(IsNumeric(type) && IsNumeric(argument->type)))
            Convert(argument, type);
    }
}

void Analyzer::Convert(ExpressionPtr& expression, Type to)
{
    const Type from = expression->type;
    if (from == Type::Null)
        expression->type = to;
    if (from == to || from == Type::Null || (IsNumeric(from) && IsNumeric(to)))
        return;
    if (IsNumeric(to) && from == Type::Text) {
        if (const auto* literal = expression->As<Literal>()) {
            analysis_.literals[static_cast<size_t>(literal->literal)].conversion =
                LiteralUse::Conversion::ToNumber;
            expression->type = Type::Number;
        } else {
            Wrap(expression, Function::ToNumber, Type::Number);
        }
    } else if (to == Type::Date && from == Type::Text) {
        Wrap(expression, Function::ToDate, Type::Date);
        VisitConversion(expression);
    } else if (to == Type::Text) {
        Wrap(expression, Function::ToChar, Type::Text);
        if (from == Type::Date)
            std::get<Call>(expression->node).mask = DefaultDateMask();
    } else {
        Raise(expression->start, texts::TypeMismatch());
    }
}

void Analyzer::Wrap(ExpressionPtr& expression, Function function, Type type)
{
    auto call = std::make_unique<Expression>();
    call->start = expression->start;
    call->end = expression->end;
    call->type = type;
    Call node{.function = function};
    node.arguments.push_back(std::move(expression));
    call->node = std::move(node);
    expression = std::move(call);
}

// Converts the only column of a subquery.
void Analyzer::ConvertColumn(Query& query, Type to)
{
    for (SelectBlock& block : query.blocks) {
        ExpressionPtr& output =
            block.items.front().expression ? block.items.front().expression : block.stars.front();
        Convert(output, to);
        block.outputs.front() = output.get();
    }
    query.columns.front().type = to;
}

// Numbers and dates win over text: the text is converted.
Type Analyzer::Compare(const std::vector<ExpressionPtr*>& expressions)
{
    Type common = Type::Null;
    for (const ExpressionPtr* expression : expressions) {
        const Type type = (*expression)->type;
        if (common == Type::Null || common == Type::Text
            || (common == Type::Integer && type == Type::Number)) {
            if (type != Type::Null)
                common = type;
        }
    }
    if (common == Type::Null)
        return common;
    for (ExpressionPtr* expression : expressions)
        Convert(*expression, common);
    return common;
}

// The first result that has a type says what the others become.
Type Analyzer::Unite(const std::vector<ExpressionPtr*>& expressions, int& width)
{
    Type type = Type::Null;
    for (const ExpressionPtr* expression : expressions) {
        const Type other = (*expression)->type;
        if (type == Type::Null || (type == Type::Integer && other == Type::Number))
            type = other;
    }
    bool first = true;
    for (ExpressionPtr* expression : expressions) {
        const bool null = (*expression)->As<Null>() != nullptr;
        if (type != Type::Null)
            Convert(*expression, type);
        if (!null) {
            width = first ? (*expression)->width : MaxWidth(width, (*expression)->width);
            first = false;
        }
    }
    return type;
}

} // namespace dialect
