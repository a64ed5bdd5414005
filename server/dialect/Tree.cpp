#include "server/dialect/Tree.h"

#include "server/dialect/Limits.h"

#include <algorithm>

namespace dialect {

Catalog::~Catalog() = default;

const CatalogColumn* CatalogTable::Find(QStringView columnName) const
{
    const auto found = std::ranges::find_if(columns, [columnName](const CatalogColumn& column) {
        return columnName.compare(column.name, Qt::CaseInsensitive) == 0;
    });
    return found == columns.end() ? nullptr : &*found;
}

std::vector<const Expression*> Conjuncts(const Expression* condition)
{
    std::vector<const Expression*> conjuncts;
    if (!condition)
        return conjuncts;
    const auto* junction = condition->As<Junction>();
    if (!junction || !junction->conjunction)
        return {condition};
    for (const ExpressionPtr& operand : junction->operands)
        std::ranges::copy(Conjuncts(operand.get()), std::back_inserter(conjuncts));
    return conjuncts;
}

bool IsColumn(const Expression& expression, const Source* source, int column)
{
    const auto* name = expression.As<ColumnName>();
    return name && name->source == source && (column < 0 || name->column == column);
}

int MostCharacters(const Expression& expression)
{
    constexpr auto kUnknown = static_cast<int>(kLongestBuiltText);
    if (expression.As<Null>())
        return 0;
    if (expression.type != Type::Text)
        return kLongestNumber;
    if (expression.As<Literal>())
        return static_cast<int>(kLongestLiteral);
    if (expression.As<ColumnName>())
        return expression.width > 0 ? expression.width : kUnknown;
    int most = 0;
    if (const auto* concatenation = expression.As<Concatenation>()) {
        for (const ExpressionPtr& operand : concatenation->operands)
            most = std::min(most + MostCharacters(*operand), kUnknown);
        return most;
    }
    const auto widest = [&most](const ExpressionPtr& operand) {
        most = std::max(most, MostCharacters(*operand));
    };
    if (const auto* choice = expression.As<Case>()) {
        for (const Case::Branch& branch : choice->branches)
            widest(branch.then);
        if (choice->otherwise)
            widest(choice->otherwise);
        return most;
    }
    const auto* call = expression.As<Call>();
    if (!call)
        return kUnknown;
    switch (call->function) {
    case Function::ToChar:
        return kLongestNumber;
    case Function::LPad:
    case Function::RPad:
        return kLongestPadded;
    case Function::Substr:
    case Function::Trim:
    case Function::LTrim:
    case Function::RTrim:
    case Function::Min:
    case Function::Max:
        return MostCharacters(*call->arguments.front());
    case Function::Nvl:
    case Function::Nvl2:
    case Function::Coalesce:
    case Function::Decode:
    case Function::Greatest:
    case Function::Least:
    case Function::NullIf:
        std::ranges::for_each(call->arguments, widest);
        return most;
    default:
        return kUnknown;
    }
}

bool Mentions(const Expression& expression, const Source* source)
{
    bool found = IsColumn(expression, source);
    ForEachOperand(
        expression, [&](const ExpressionPtr& operand) { found = found || Mentions(*operand, source); });
    return found;
}

void NoteNames(const Expression& expression, const std::vector<Source*>& sources, Named& named)
{
    if (const auto* column = expression.As<ColumnName>())
        (std::ranges::find(sources, column->source) != sources.end() ? named.own : named.outer) = true;
    else if (expression.As<Level>() || expression.As<Rownum>())
        named.own = true;
    ForEachOperand(expression, [&](const ExpressionPtr& operand) { NoteNames(*operand, sources, named); });
}

bool SameExpression(const Expression& a, const Expression& b)
{
    if (a.node.index() != b.node.index())
        return false;
    const bool sameNode = std::visit(
        [&b]<typename T>(const T& node) {
            const T& other = std::get<T>(b.node);
            if constexpr (std::is_same_v<T, ColumnName>)
                return node.source == other.source && node.column == other.column;
            else if constexpr (std::is_same_v<T, Literal>)
                return node.literal == other.literal;
            else if constexpr (std::is_same_v<T, Arithmetic> || std::is_same_v<T, Comparison>)
                return node.op == other.op;
            else if constexpr (std::is_same_v<T, Call>)
                return node.function == other.function && node.mask == other.mask && !node.star;
            else
                return std::is_same_v<T,
                           Null> || std::is_same_v<T, Now> || std::is_same_v<T, Level> || std::is_same_v<T, Concatenation> || std::is_same_v<T, Negation>;
        },
        a.node);
    std::vector<const Expression*> operands[2];
    const Expression* sides[2] = {&a, &b};
    for (int side = 0; side < 2; ++side) {
        ForEachOperand(*sides[side],
            [&, side](const ExpressionPtr& operand) { operands[side].push_back(operand.get()); });
    }
    return sameNode
        && std::ranges::equal(operands[0], operands[1],
            [](const Expression* x, const Expression* y) { return SameExpression(*x, *y); });
}

size_t Fingerprint(const Expression& expression)
{
    size_t print = expression.node.index();
    const auto add = [&print](auto value) { print = qHash(value, print * 31 + 1); };
    if (const auto* name = expression.As<ColumnName>()) {
        add(reinterpret_cast<quintptr>(name->source));
        add(name->column);
    } else if (const auto* literal = expression.As<Literal>()) {
        add(literal->literal);
    } else if (const auto* arithmetic = expression.As<Arithmetic>()) {
        add(static_cast<int>(arithmetic->op));
    } else if (const auto* comparison = expression.As<Comparison>()) {
        add(static_cast<int>(comparison->op));
    } else if (const auto* call = expression.As<Call>()) {
        add(static_cast<int>(call->function));
    }
    ForEachOperand(expression, [&](const ExpressionPtr& operand) { add(Fingerprint(*operand)); });
    return print;
}

} // namespace dialect
