#include "server/dialect/Printer.h"

namespace dialect {
namespace {

constexpr PrinterWords kWords{
    .parameter = '?',
    .ifNull = "ifnull",
    .same = " IS ",
    .trim = "trim",
    .trims = "ora_",
    .no = "0",
    .crossJoin = ", ",
    .dual = "(SELECT 'X' AS \"DUMMY\")",
    .groupOfAll = " GROUP BY NULL",
    .wrap = "SELECT * FROM (",
    .unwrap = ")",
    .equalSets = true,
    .firstLevel = "1",
    // The queue of rows still to be followed, deepest level first: that is depth first.
    .walk = " ORDER BY 1 DESC, 2",
    .functions = "",
    .collated = "",
};

class SqlitePrinter final : public Printer {
public:
    SqlitePrinter(const Analysis& analysis, TranslationTime& time)
        : Printer(analysis, kWords, time)
    {
    }

private:
    using Printer::Print;
    void PrintName(const QString& name) override { PrintQuoted(name.toUtf8(), '"'); }
    void PrintOutput(const Expression& expression, Type result, Use use) override;
    void PrintOrderKey(const Query& query, const OrderItem& item) override;
    bool MustSayNulls(const OrderItem& item) const override { return item.nullable; }
    void PrintStoredOrder(const SelectBlock&, bool) override { }
    void PrintRow(const Source&, const std::string& alias) override { Put(alias + ".rowid"); }
    void PrintPath(const Source& source, const std::string& alias, const std::string& parent) override;
    void Print(const Expression& expression, const Null& null) override;
    void Print(const Expression& expression, const Arithmetic& arithmetic) override;
    void Print(const Expression& expression, const InQuery& in) override;
    void Print(const Expression& expression, const ScalarQuery& scalar) override;
    void PrintLeft(const Arithmetic& arithmetic);
    void PrintMatch(const Like& like) override;
    void PrintList(const LiteralList& list, Type comparedAs) override;
    void PrintFunction(const Expression& expression, const Call& call) override;
    void PrintConversion(const Call& call);
    void PrintTruncation(const Call& call);
};

void SqlitePrinter::PrintOutput(const Expression& expression, Type, Use use)
{
    Put(use == Use::Single ? "ora_single(" : "");
    Print(expression);
    Put(use == Use::Single ? ")" : "");
}

void SqlitePrinter::PrintOrderKey(const Query&, const OrderItem& item)
{
    if (item.output >= 0)
        Put(std::to_string(item.output + 1));
    else
        Print(*item.expression);
}

void SqlitePrinter::PrintPath(const Source&, const std::string& alias, const std::string& parent)
{
    Put("ora_path(" + (parent.empty() ? "NULL" : parent + ".\"path\"") + ", " + alias + ".rowid)");
}

void SqlitePrinter::Print(const Expression&, const Null&)
{
    Put("NULL");
}

void SqlitePrinter::Print(const Expression& expression, const Arithmetic& arithmetic)
{
    using Operator = Arithmetic::Operator;
    if (arithmetic.op == Operator::Divide) {
        Put("ora_divide(");
        Print(*arithmetic.left);
        Put(", ");
        Print(*arithmetic.right);
        Put(")");
        return;
    }
    constexpr const char* kSigns[] = {" + ", " - ", " * "};
    const char* sign = kSigns[static_cast<size_t>(arithmetic.op)];
    Put("(");
    PrintLeft(arithmetic);
    Put(sign);
    if (expression.type == Type::Date) {
        // Days become seconds; a date has no fractions of them.
        const bool whole = arithmetic.right->type == Type::Integer;
        Put(whole ? "86400 * " : "CAST(round(86400 * ");
        Print(*arithmetic.right);
        Put(whole ? ")" : ") AS INTEGER))");
        return;
    }
    Print(*arithmetic.right);
    Put(")");
    if (arithmetic.left->type == Type::Date)
        Put(" / 86400.0");
}

// A chain of one sign without brackets around its beginning: SQLite's parser takes few that are open at once.
void SqlitePrinter::PrintLeft(const Arithmetic& arithmetic)
{
    std::vector<const Arithmetic*> chain;
    const Expression* first = arithmetic.left.get();
    for (;;) {
        const auto* next = first->As<Arithmetic>();
        const bool plain =
            next && next->op == arithmetic.op && IsNumeric(first->type) && next->left->type != Type::Date;
        if (!plain)
            break;
        chain.push_back(next);
        first = next->left.get();
    }
    Print(*first);
    for (auto link = chain.rbegin(); link != chain.rend(); ++link) {
        Put(arithmetic.op == Arithmetic::Operator::Add            ? " + "
                : arithmetic.op == Arithmetic::Operator::Subtract ? " - "
                                                                  : " * ");
        Print(*(*link)->right);
    }
}

void SqlitePrinter::PrintMatch(const Like& like)
{
    Put("ora_like(");
    Print(*like.value);
    Put(", ");
    Print(*like.pattern);
    if (like.escape) {
        Put(", ");
        Print(*like.escape);
    }
    Put(")");
}

void SqlitePrinter::PrintList(const LiteralList& list, Type comparedAs)
{
    const bool asNumber = list.elements == Type::Text && IsNumeric(comparedAs);
    const bool asDate = comparedAs == Type::Date;
    Put(asNumber     ? "SELECT ora_to_number(value)"
            : asDate ? "SELECT ora_to_date(value, 'yyyy-mm-dd hh24:mi:ss')"
                     : "SELECT value");
    Put(" FROM json_each(");
    PutParameter({Parameter::Source::Literal, list.literal, wire::ColumnType::Text});
    Put(")");
}

void SqlitePrinter::Print(const Expression&, const InQuery& in)
{
    Put("(");
    Print(*in.value);
    Put(in.negated ? " NOT IN (" : " IN (");
    Print(*in.query, Use::Source);
    Put("))");
}

void SqlitePrinter::Print(const Expression&, const ScalarQuery& scalar)
{
    const Query& query = *scalar.query;
    const SelectBlock& first = query.blocks.front();
    // SQLite takes an aggregate over nothing but outer columns for one of the outer query.
    const Expression& output = *first.outputs.front();
    const bool isOwn = output.As<Literal>() || std::ranges::any_of(first.from, [&](const auto& source) {
        return Mentions(output, source.get());
    });
    Put("(");
    if (scalar.oneRow) {
        Print(query, Use::Rows);
    } else if (query.blocks.size() == 1 && query.orderBy.empty() && !first.aggregated && !first.distinct
        && !first.rowLimit && isOwn) {
        Print(query, Use::Single);
    } else {
        Put("SELECT ora_single(v) FROM (SELECT NULL AS v WHERE 0 UNION ALL SELECT * FROM (");
        Print(query, Use::Source);
        Put("))");
    }
    Put(")");
}

void SqlitePrinter::PrintFunction(const Expression&, const Call& call)
{
    const auto plain = [&](const char* function) { PrintCall(function, call.arguments); };
    switch (call.function) {
    case Function::Length:
        return plain("length");
    case Function::Instr:
        return plain("ora_instr");
    case Function::Round:
    case Function::Trunc:
        return PrintTruncation(call);
    case Function::ToDate:
    case Function::ToChar:
    case Function::ToNumber:
        return PrintConversion(call);
    case Function::Greatest:
    case Function::Least:
        if (call.arguments.size() == 1)
            return Print(*call.arguments.front());
        return plain(call.function == Function::Greatest ? "max" : "min");
    default: // for all databases alike
        return;
    }
}

void SqlitePrinter::PrintConversion(const Call& call)
{
    const Type from = call.arguments.front()->type;
    if (call.function == Function::ToChar && from == Type::Integer && call.mask.isEmpty()) {
        Put("CAST(");
        Print(*call.arguments.front());
        Put(" AS TEXT)");
        return;
    }
    if (call.function == Function::ToDate)
        Put("ora_to_date(");
    else if (call.function == Function::ToNumber)
        Put("ora_to_number(");
    else
        Put(from == Type::Date ? "ora_date_text(" : "ora_number_text(");
    Print(*call.arguments.front());
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
    Print(*call.arguments.front());
    Put(", ");
    PrintText(call.mask);
    Put(")");
}

} // namespace

Printed PrintForSqlite(const Statement& statement, const Analysis& analysis, TranslationTime& time)
{
    return SqlitePrinter(analysis, time).Run(statement);
}

} // namespace dialect
