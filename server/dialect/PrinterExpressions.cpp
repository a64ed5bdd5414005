#include "server/dialect/Limits.h"
#include "server/dialect/Printer.h"

#include <algorithm>

namespace dialect {
namespace {

wire::ColumnType BoundAs(Type type)
{
    switch (type) {
    case Type::Integer:
        return wire::ColumnType::Integer;
    case Type::Number:
        return wire::ColumnType::Number;
    default:
        return wire::ColumnType::Text;
    }
}

// Functions that every database is given under the same name.
const char* OwnFunction(Function function)
{
    switch (function) {
    case Function::Substr:
        return "ora_substr";
    case Function::Upper:
        return "ora_upper";
    case Function::Lower:
        return "ora_lower";
    case Function::Replace:
        return "ora_replace";
    case Function::LPad:
        return "ora_lpad";
    case Function::RPad:
        return "ora_rpad";
    case Function::Mod:
        return "ora_mod";
    case Function::Sign:
        return "ora_sign";
    case Function::Ceil:
        return "ora_ceil";
    case Function::Floor:
        return "ora_floor";
    case Function::Power:
        return "ora_power";
    case Function::AddMonths:
        return "ora_add_months";
    case Function::LastDay:
        return "ora_last_day";
    case Function::MonthsBetween:
        return "ora_months_between";
    default:
        return nullptr;
    }
}

} // namespace

void Printer::Print(const Expression& expression)
{
    std::visit(
        [&](const auto& node) {
            if constexpr (requires { Print(expression, node); })
                Print(expression, node);
        },
        expression.node);
}

void Printer::Print(const Expression& expression, const Literal& literal)
{
    PrintLiteral(literal.literal, BoundAs(expression.type));
}

void Printer::Print(const Expression&, const DateLiteral& literal)
{
    PrintLiteral(literal.literal, wire::ColumnType::DateTime);
}

// A literal that is said twice is one parameter.
void Printer::PrintLiteral(int literal, wire::ColumnType type)
{
    int& parameter = parameterOfLiteral_[static_cast<size_t>(literal)];
    if (parameter > 0) {
        Put(words_.parameter + std::to_string(parameter));
        return;
    }
    PutParameter({Parameter::Source::Literal, literal, type});
    parameter = static_cast<int>(parameters_.size());
}

void Printer::Print(const Expression&, const Now&)
{
    if (nowParameter_ > 0) {
        Put(words_.parameter + std::to_string(nowParameter_));
        return;
    }
    PutParameter({Parameter::Source::Now, -1, wire::ColumnType::DateTime});
    nowParameter_ = static_cast<int>(parameters_.size());
}

void Printer::Print(const Expression&, const ColumnName& name)
{
    Put(AliasOf(*name.source) + ".");
    PrintName(name.source->columns[static_cast<size_t>(name.column)].name);
}

void Printer::Print(const Expression&, const Level&)
{
    if (!hierarchy_) {
        Put("\"level\"");
        return;
    }
    // In the condition of connect by it is the level of the row that would be added.
    if (hierarchyAlias_ == 's')
        Put("1");
    else
        Put("(p" + std::to_string(hierarchy_->number) + ".\"level\" + 1)");
}

void Printer::Print(const Expression&, const Prior& prior)
{
    const char alias = std::exchange(hierarchyAlias_, 'p');
    Print(prior.operand);
    hierarchyAlias_ = alias;
}

void Printer::Print(const Expression&, const Negation& negation)
{
    Put("(-");
    Print(negation.operand);
    Put(")");
}

void Printer::Print(const Expression&, const Not& negation)
{
    Put("(NOT ");
    Print(negation.operand);
    Put(")");
}

// Null is the empty text here, and the empty text is null.
void Printer::Print(const Expression& expression, const Concatenation& concatenation)
{
    const auto isLiteral = [](const ExpressionPtr& operand) { return operand->As<Literal>() != nullptr; };
    const bool neverEmpty = std::ranges::any_of(concatenation.operands, isLiteral);
    const bool surelyShort = MostCharacters(expression) <= kSurelyShort;
    if (!surelyShort)
        Put(words_.functions + std::string("ora_built("));
    Put(neverEmpty ? "" : "nullif(");
    PrintJoined(
        concatenation.operands, 0, concatenation.operands.size(), " || ", [&](const ExpressionPtr& operand) {
            if (!isLiteral(operand)) {
                Put(words_.ifNull);
                Put("(");
            }
            Print(operand);
            Put(isLiteral(operand) ? "" : ", '')");
        });
    Put(neverEmpty ? "" : ", '')");
    Put(surelyShort ? "" : ")");
}

void Printer::Print(const Expression&, const Comparison& comparison)
{
    constexpr const char* kOperators[] = {" = ", " <> ", " < ", " <= ", " > ", " >= "};
    Put("(");
    Print(comparison.left);
    Put(kOperators[static_cast<size_t>(comparison.op)]);
    Print(comparison.right);
    Put(")");
}

void Printer::Print(const Expression&, const Junction& junction)
{
    PrintJoined(junction.operands, 0, junction.operands.size(), junction.conjunction ? " AND " : " OR ",
        [this](const ExpressionPtr& operand) { Print(operand); });
}

// In halves: SQLite limits how deep an expression may grow, and a plain chain grows by every operand.
void Printer::PrintJoined(const std::vector<ExpressionPtr>& operands, size_t first, size_t count,
    const char* separator, const std::function<void(const ExpressionPtr&)>& print)
{
    constexpr size_t kChain = 16;
    Put("(");
    if (count <= kChain) {
        for (size_t i = first; i < first + count; ++i) {
            if (i > first)
                Put(separator);
            print(operands[i]);
        }
    } else {
        PrintJoined(operands, first, count / 2, separator, print);
        Put(separator);
        PrintJoined(operands, first + count / 2, count - count / 2, separator, print);
    }
    Put(")");
}

void Printer::Print(const Expression&, const Between& between)
{
    Put("(");
    Print(between.value);
    Put(between.negated ? " NOT BETWEEN " : " BETWEEN ");
    Print(between.low);
    Put(" AND ");
    Print(between.high);
    Put(")");
}

void Printer::Print(const Expression&, const Like& like)
{
    Put(like.negated ? "(NOT " : "(");
    if (like.prefixed && like.value->As<ColumnName>() && !like.negated) {
        Print(like.value);
        Put(" >= ");
        Put(words_.functions);
        Put("ora_like_low(");
        Print(like.pattern);
        Put(")");
        Put(words_.collated);
        Put(" AND ");
        Print(like.value);
        Put(" < ");
        Put(words_.functions);
        Put("ora_like_high(");
        Print(like.pattern);
        Put(")");
        Put(words_.collated);
        Put(" AND ");
    }
    PrintMatch(like);
    Put(")");
}

void Printer::Print(const Expression&, const IsNull& null)
{
    Put("(");
    Print(null.value);
    Put(null.negated ? " IS NOT NULL)" : " IS NULL)");
}

void Printer::Print(const Expression&, const InList& list)
{
    Put("(");
    Print(list.value);
    Put(list.negated ? " NOT IN (" : " IN (");
    if (const auto* literals = list.items.front()->As<LiteralList>()) {
        PrintList(*literals, list.items.front()->type);
    } else {
        for (const ExpressionPtr& item : list.items) {
            if (item != list.items.front())
                Put(", ");
            Print(item);
        }
    }
    Put("))");
}

void Printer::Print(const Expression&, const Exists& exists)
{
    if (PrintMembership(*exists.query, false))
        return;
    Put("EXISTS (");
    Print(*exists.query, Use::Test);
    Put(")");
}

// exists (select … from tree where column = outer …) asks whether the outer value is in the tree. Said so,
// the tree is walked once and not for every outer row. In a filter, unknown may stand for false.
bool Printer::PrintMembership(const Query& query, bool filter)
{
    const SelectBlock& block = query.blocks.front();
    if (query.blocks.size() != 1 || !block.connectBy || block.aggregated || block.rowLimit || !block.where)
        return false;
    const auto* comparison = block.where->As<Comparison>();
    if (!comparison || comparison->op != Comparison::Operator::Equal)
        return false;
    const Source* source = block.from.front().get();
    const bool leftInner = IsColumn(*comparison->left, source);
    const ExpressionPtr& inner = leftInner ? comparison->left : comparison->right;
    const ExpressionPtr& outer = leftInner ? comparison->right : comparison->left;
    if (!IsColumn(*inner, source) || !outer->As<ColumnName>() || Mentions(*outer, source))
        return false;
    if (!filter)
        Put(words_.ifNull);
    Put("(");
    Print(outer);
    Put(" IN (");
    PrintHierarchy(block);
    Put("SELECT ");
    Print(inner);
    Put(" FROM h" + std::to_string(source->number) + " AS " + AliasOf(*source));
    if (!filter) {
        Put(" WHERE ");
        Print(inner);
        Put(" IS NOT NULL");
    }
    Put(")");
    if (!filter) {
        Put(", ");
        Put(words_.no);
    }
    Put(")");
    return true;
}

void Printer::Print(const Expression&, const Case& choice)
{
    Put("CASE");
    if (choice.subject) {
        Put(" ");
        Print(choice.subject);
    }
    for (const Case::Branch& branch : choice.branches) {
        Put(" WHEN ");
        Print(branch.when);
        Put(" THEN ");
        Print(branch.then);
    }
    if (choice.otherwise) {
        Put(" ELSE ");
        Print(choice.otherwise);
    }
    Put(" END");
}

void Printer::Print(const Expression& expression, const Call& call)
{
    const auto trimmed = [&](const char* both, const char* function) {
        Put("nullif(");
        if (call.arguments.size() > 1 && *words_.trims != '\0')
            PrintCall(words_.trims + std::string(function), call.arguments);
        else
            PrintCall(both, call.arguments);
        Put(", '')");
    };
    switch (call.function) {
    case Function::Nvl:
        return PrintCall(words_.ifNull, call.arguments);
    case Function::Coalesce:
        return PrintCall("coalesce", call.arguments);
    case Function::NullIf:
        return PrintCall("nullif", call.arguments);
    case Function::Abs:
        return PrintCall("abs", call.arguments);
    case Function::Trim:
        return trimmed(words_.trim, "trim");
    case Function::LTrim:
        return trimmed("ltrim", "ltrim");
    case Function::RTrim:
        return trimmed("rtrim", "rtrim");
    case Function::Nvl2:
        Put("CASE WHEN ");
        Print(call.arguments[0]);
        Put(" IS NOT NULL THEN ");
        Print(call.arguments[1]);
        Put(" ELSE ");
        Print(call.arguments[2]);
        Put(" END");
        return;
    case Function::Decode:
        return PrintDecode(call);
    default:
        if (IsAggregate(call.function))
            PrintAggregate(expression, call);
        else if (const char* own = OwnFunction(call.function))
            PrintCall(words_.functions + std::string(own), call.arguments);
        else
            PrintFunction(expression, call);
    }
}

void Printer::PrintAggregate(const Expression&, const Call& call)
{
    if (call.star)
        return Put("count(*)");
    Put(InfoOf(call.function).name.toLatin1().toStdString());
    Put(call.distinct ? "(DISTINCT " : "(");
    Print(call.arguments.front());
    Put(")");
}

// Here null equals null.
void Printer::PrintDecode(const Call& call)
{
    Put("CASE");
    size_t i = 1;
    for (; i + 1 < call.arguments.size(); i += 2) {
        Put(" WHEN ");
        Print(call.arguments[0]);
        Put(words_.same);
        Print(call.arguments[i]);
        Put(" THEN ");
        Print(call.arguments[i + 1]);
    }
    if (i < call.arguments.size()) {
        Put(" ELSE ");
        Print(call.arguments[i]);
    }
    Put(" END");
}

void Printer::PrintCall(std::string_view function, const std::vector<ExpressionPtr>& arguments)
{
    Put(function);
    Put("(");
    for (const ExpressionPtr& argument : arguments) {
        if (argument != arguments.front())
            Put(", ");
        Print(argument);
    }
    Put(")");
}

} // namespace dialect
