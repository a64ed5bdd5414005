#include "server/dialect/SqlitePrinterImpl.h"

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

} // namespace

void SqlitePrinter::Print(const Expression& expression)
{
    std::visit(
        [&](const auto& node) {
            if constexpr (requires { Print(expression, node); })
                Print(expression, node);
        },
        expression.node);
}

void SqlitePrinter::Print(const Expression& expression, const Literal& literal)
{
    int& parameter = parameterOfLiteral_[static_cast<size_t>(literal.literal)];
    if (parameter > 0) {
        Put("?" + std::to_string(parameter));
        return;
    }
    PutParameter({Parameter::Source::Literal, literal.literal, BoundAs(expression.type)});
    parameter = static_cast<int>(parameters_.size());
}

void SqlitePrinter::Print(const Expression&, const DateLiteral& literal)
{
    int& parameter = parameterOfLiteral_[static_cast<size_t>(literal.literal)];
    if (parameter > 0) {
        Put("?" + std::to_string(parameter));
        return;
    }
    PutParameter({Parameter::Source::Literal, literal.literal, wire::ColumnType::DateTime});
    parameter = static_cast<int>(parameters_.size());
}

void SqlitePrinter::Print(const Expression&, const Null&)
{
    Put("NULL");
}

void SqlitePrinter::Print(const Expression&, const Now&)
{
    if (nowParameter_ > 0) {
        Put("?" + std::to_string(nowParameter_));
        return;
    }
    PutParameter({Parameter::Source::Now, -1, wire::ColumnType::DateTime});
    nowParameter_ = static_cast<int>(parameters_.size());
}

void SqlitePrinter::Print(const Expression&, const ColumnName& name)
{
    Put(AliasOf(*name.source) + ".");
    PrintName(name.source->columns[static_cast<size_t>(name.column)].name);
}

void SqlitePrinter::Print(const Expression&, const Level&)
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

void SqlitePrinter::Print(const Expression&, const Prior& prior)
{
    const char alias = std::exchange(hierarchyAlias_, 'p');
    Print(prior.operand);
    hierarchyAlias_ = alias;
}

void SqlitePrinter::Print(const Expression&, const Negation& negation)
{
    Put("(-");
    Print(negation.operand);
    Put(")");
}

void SqlitePrinter::Print(const Expression&, const Not& negation)
{
    Put("(NOT ");
    Print(negation.operand);
    Put(")");
}

void SqlitePrinter::Print(const Expression& expression, const Arithmetic& arithmetic)
{
    using Operator = Arithmetic::Operator;
    if (arithmetic.op == Operator::Divide) {
        Put("ora_divide(");
        Print(arithmetic.left);
        Put(", ");
        Print(arithmetic.right);
        Put(")");
        return;
    }
    constexpr const char* kSigns[] = {" + ", " - ", " * "};
    const char* sign = kSigns[static_cast<size_t>(arithmetic.op)];
    Put("(");
    Print(arithmetic.left);
    Put(sign);
    if (expression.type == Type::Date) {
        // Days become seconds; a date has no fractions of them.
        const bool whole = arithmetic.right->type == Type::Integer;
        Put(whole ? "86400 * " : "CAST(round(86400 * ");
        Print(arithmetic.right);
        Put(whole ? ")" : ") AS INTEGER))");
        return;
    }
    Print(arithmetic.right);
    Put(")");
    if (arithmetic.left->type == Type::Date)
        Put(" / 86400.0");
}

// Null is the empty text here, and the empty text is null.
void SqlitePrinter::Print(const Expression&, const Concatenation& concatenation)
{
    const auto isLiteral = [](const ExpressionPtr& operand) { return operand->As<Literal>() != nullptr; };
    const bool neverEmpty = std::ranges::any_of(concatenation.operands, isLiteral);
    Put(neverEmpty ? "(" : "nullif(");
    bool first = true;
    for (const ExpressionPtr& operand : concatenation.operands) {
        if (!std::exchange(first, false))
            Put(" || ");
        Put(isLiteral(operand) ? "" : "ifnull(");
        Print(operand);
        Put(isLiteral(operand) ? "" : ", '')");
    }
    Put(neverEmpty ? ")" : ", '')");
}

void SqlitePrinter::Print(const Expression&, const Comparison& comparison)
{
    constexpr const char* kOperators[] = {" = ", " <> ", " < ", " <= ", " > ", " >= "};
    Put("(");
    Print(comparison.left);
    Put(kOperators[static_cast<size_t>(comparison.op)]);
    Print(comparison.right);
    Put(")");
}

void SqlitePrinter::Print(const Expression&, const Junction& junction)
{
    PrintJoined(junction.operands, 0, junction.operands.size(), junction.conjunction ? " AND " : " OR ");
}

// In halves: SQLite limits how deep an expression may grow, and a plain chain grows by every operand.
void SqlitePrinter::PrintJoined(
    const std::vector<ExpressionPtr>& operands, size_t first, size_t count, const char* separator)
{
    constexpr size_t kChain = 16;
    Put("(");
    if (count <= kChain) {
        for (size_t i = first; i < first + count; ++i) {
            if (i > first)
                Put(separator);
            Print(operands[i]);
        }
    } else {
        PrintJoined(operands, first, count / 2, separator);
        Put(separator);
        PrintJoined(operands, first + count / 2, count - count / 2, separator);
    }
    Put(")");
}

void SqlitePrinter::Print(const Expression&, const Between& between)
{
    Put("(");
    Print(between.value);
    Put(between.negated ? " NOT BETWEEN " : " BETWEEN ");
    Print(between.low);
    Put(" AND ");
    Print(between.high);
    Put(")");
}

void SqlitePrinter::Print(const Expression&, const Like& like)
{
    Put(like.negated ? "(NOT " : "(");
    if (like.prefixed && like.value->As<ColumnName>() && !like.negated) {
        Print(like.value);
        Put(" >= ora_like_low(");
        Print(like.pattern);
        Put(") AND ");
        Print(like.value);
        Put(" < ora_like_high(");
        Print(like.pattern);
        Put(") AND ");
    }
    Put("ora_like(");
    Print(like.value);
    Put(", ");
    Print(like.pattern);
    if (like.escape) {
        Put(", ");
        Print(like.escape);
    }
    Put("))");
}

void SqlitePrinter::Print(const Expression&, const IsNull& null)
{
    Put("(");
    Print(null.value);
    Put(null.negated ? " IS NOT NULL)" : " IS NULL)");
}

void SqlitePrinter::Print(const Expression&, const InList& list)
{
    Put("(");
    Print(list.value);
    Put(list.negated ? " NOT IN (" : " IN (");
    if (const auto* literals = list.items.front()->As<LiteralList>()) {
        const Type type = list.items.front()->type;
        const bool asNumber = literals->elements == Type::Text && IsNumeric(type);
        const bool asDate = type == Type::Date;
        Put(asNumber     ? "SELECT ora_to_number(value)"
                : asDate ? "SELECT ora_to_date(value, 'yyyy-mm-dd hh24:mi:ss')"
                         : "SELECT value");
        Put(" FROM json_each(");
        PutParameter({Parameter::Source::Literal, literals->literal, wire::ColumnType::Text});
        Put(")");
    } else {
        for (const ExpressionPtr& item : list.items) {
            if (item != list.items.front())
                Put(", ");
            Print(item);
        }
    }
    Put("))");
}

void SqlitePrinter::Print(const Expression&, const InQuery& in)
{
    Put("(");
    Print(in.value);
    Put(in.negated ? " NOT IN (" : " IN (");
    Print(*in.query, Use::Source);
    Put("))");
}

void SqlitePrinter::Print(const Expression&, const Exists& exists)
{
    if (PrintMembership(*exists.query, false))
        return;
    Put("EXISTS (");
    Print(*exists.query, Use::Test);
    Put(")");
}

// exists (select … from tree where column = outer …) asks whether the outer value is in the tree. Said so,
// the tree is walked once and not for every outer row. In a filter, unknown may stand for false.
bool SqlitePrinter::PrintMembership(const Query& query, bool filter)
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
    Put(filter ? "(" : "ifnull(");
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
    Put(filter ? "))" : "), 0)");
    return true;
}

void SqlitePrinter::Print(const Expression&, const ScalarQuery& scalar)
{
    const Query& query = *scalar.query;
    const SelectBlock& first = query.blocks.front();
    Put("(");
    if (scalar.oneRow) {
        Print(query, Use::Rows);
    } else if (query.blocks.size() == 1 && query.orderBy.empty() && !first.aggregated && !first.distinct
        && !first.rowLimit) {
        Print(query, Use::Single);
    } else {
        Put("SELECT ora_single(v) FROM (SELECT NULL AS v WHERE 0 UNION ALL SELECT * FROM (");
        Print(query, Use::Source);
        Put("))");
    }
    Put(")");
}

void SqlitePrinter::Print(const Expression&, const Case& choice)
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

void SqlitePrinter::Print(const Expression& expression, const Call& call)
{
    const auto plain = [&](const char* function) { PrintCall(function, call.arguments); };
    const auto nonEmpty = [&](const char* function) {
        Put("nullif(");
        PrintCall(function, call.arguments);
        Put(", '')");
    };
    switch (call.function) {
    case Function::Substr:
        return plain("ora_substr");
    case Function::Length:
        return plain("length");
    case Function::Instr:
        return plain(call.arguments.size() == 2 ? "instr" : "ora_instr");
    case Function::Upper:
        return plain("ora_upper");
    case Function::Lower:
        return plain("ora_lower");
    case Function::Trim:
        return nonEmpty("trim");
    case Function::LTrim:
        return nonEmpty("ltrim");
    case Function::RTrim:
        return nonEmpty("rtrim");
    case Function::Replace:
        return plain("ora_replace");
    case Function::LPad:
        return plain("ora_lpad");
    case Function::RPad:
        return plain("ora_rpad");
    case Function::Round:
    case Function::Trunc:
        return PrintTruncation(call);
    case Function::Mod:
        return plain("ora_mod");
    case Function::Abs:
        return plain("abs");
    case Function::Sign:
        return plain("ora_sign");
    case Function::Ceil:
        return plain("ora_ceil");
    case Function::Floor:
        return plain("ora_floor");
    case Function::Power:
        return plain("ora_power");
    case Function::AddMonths:
        return plain("ora_add_months");
    case Function::LastDay:
        return plain("ora_last_day");
    case Function::MonthsBetween:
        return plain("ora_months_between");
    case Function::ToDate:
    case Function::ToChar:
    case Function::ToNumber:
        return PrintConversion(call);
    case Function::Nvl:
        return plain("ifnull");
    case Function::Coalesce:
        return plain("coalesce");
    case Function::NullIf:
        return plain("nullif");
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
    case Function::Greatest:
    case Function::Least:
        if (call.arguments.size() == 1)
            return Print(call.arguments.front());
        return plain(call.function == Function::Greatest ? "max" : "min");
    case Function::Count:
        if (call.star)
            return Put("count(*)");
        [[fallthrough]];
    case Function::Sum:
    case Function::Min:
    case Function::Max:
    case Function::Avg:
        Put(InfoOf(call.function).name.toLatin1().toStdString());
        Put(call.distinct ? "(DISTINCT " : "(");
        Print(call.arguments.front());
        Put(")");
        return;
    }
    Q_UNUSED(expression)
}

// Here null equals null.
void SqlitePrinter::PrintDecode(const Call& call)
{
    Put("CASE");
    size_t i = 1;
    for (; i + 1 < call.arguments.size(); i += 2) {
        Put(" WHEN ");
        Print(call.arguments[0]);
        Put(" IS ");
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

void SqlitePrinter::PrintConversion(const Call& call)
{
    const Type from = call.arguments.front()->type;
    if (call.function == Function::ToChar && from == Type::Integer && call.mask.isEmpty()) {
        Put("CAST(");
        Print(call.arguments.front());
        Put(" AS TEXT)");
        return;
    }
    if (call.function == Function::ToDate)
        Put("ora_to_date(");
    else if (call.function == Function::ToNumber)
        Put("ora_to_number(");
    else
        Put(from == Type::Date ? "ora_date_text(" : "ora_number_text(");
    Print(call.arguments.front());
    if (!call.mask.isEmpty()) {
        Put(", ");
        PrintText(call.mask);
    }
    Put(")");
}

void SqlitePrinter::PrintTruncation(const Call& call)
{
    const bool round = call.function == Function::Round;
    if (call.arguments.front()->type != Type::Date)
        return PrintCall(round ? "ora_round" : "ora_trunc", call.arguments);
    Put(round ? "ora_round_date(" : "ora_trunc_date(");
    Print(call.arguments.front());
    Put(", ");
    PrintText(call.mask);
    Put(")");
}

void SqlitePrinter::PrintCall(const char* function, const std::vector<ExpressionPtr>& arguments)
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

void SqlitePrinter::PrintText(const QString& text)
{
    Put("'");
    const QByteArray utf8 = text.toUtf8();
    for (const char byte : utf8)
        sql_.append(byte == '\'' ? 2 : 1, byte);
    Put("'");
}

} // namespace dialect
