#include "server/dialect/Limits.h"
#include "server/dialect/PostgresFormats.h"
#include "server/dialect/Printer.h"

#include <QCryptographicHash>

#include <algorithm>
#include <span>

namespace dialect {
namespace {

constexpr PrinterWords kWords{
    .parameter = '$',
    .ifNull = "coalesce",
    .same = " IS NOT DISTINCT FROM ",
    .trim = "btrim",
    .trims = "",
    .no = "false",
    .crossJoin = " CROSS JOIN ", // a comma binds less than the joins after it
    .dual = "(SELECT 'X'::text AS \"dummy\")",
    .groupOfAll = "",
    .wrap = "(",
    .unwrap = ")",
    .equalSets = false,
    .firstLevel = "1::bigint",
    .walk = "",
    .functions = "zelmor.",
    .collated = " COLLATE \"C\"",
};

const char* NameOf(Type type)
{
    switch (type) {
    case Type::Integer:
        return "bigint";
    case Type::Number:
        return "double precision";
    case Type::Date:
        return "timestamp";
    default:
        return "text";
    }
}

// What an expression is by itself, before anything around it gave a null its type.
Type OwnType(const Expression& expression)
{
    const auto allNull = [&](auto first, auto last) {
        return std::all_of(
                   first, last, [](const ExpressionPtr& each) { return OwnType(*each) == Type::Null; })
            ? Type::Null
            : expression.type;
    };
    if (expression.As<Null>())
        return Type::Null;
    if (const auto* name = expression.As<ColumnName>())
        return name->source->columns[static_cast<size_t>(name->column)].type;
    if (const auto* prior = expression.As<Prior>())
        return OwnType(*prior->operand);
    if (const auto* scalar = expression.As<ScalarQuery>())
        return scalar->query->columns.front().type;
    if (const auto* choice = expression.As<Case>()) {
        const bool null = std::ranges::all_of(
            choice->branches, [](const Case::Branch& branch) { return OwnType(*branch.then) == Type::Null; });
        return null && (!choice->otherwise || OwnType(*choice->otherwise) == Type::Null) ? Type::Null
                                                                                         : expression.type;
    }
    const auto* call = expression.As<Call>();
    if (!call)
        return expression.type;
    const auto& arguments = call->arguments;
    switch (call->function) {
    case Function::Nvl:
    case Function::Coalesce:
    case Function::Greatest:
    case Function::Least:
        return allNull(arguments.begin(), arguments.end());
    case Function::Nvl2:
        return allNull(arguments.begin() + 1, arguments.end());
    case Function::NullIf:
    case Function::Min:
    case Function::Max:
        return OwnType(*arguments.front());
    case Function::Decode: {
        bool null = true;
        for (size_t i = 1; i < arguments.size(); ++i) {
            const bool search = i % 2 == 1 && i + 1 < arguments.size();
            null = null && (search || OwnType(*arguments[i]) == Type::Null);
        }
        return null ? Type::Null : expression.type;
    }
    default:
        return expression.type;
    }
}

class PostgresPrinter final : public Printer {
public:
    PostgresPrinter(const Analysis& analysis, TranslationTime& time)
        : Printer(analysis, kWords, time)
    {
    }

private:
    using Printer::Print;
    void PrintName(const QString& name) override;
    void PrintOutput(const Expression& expression, Type result, Use use) override;
    void PrintOrderKey(const Query& query, const OrderItem& item) override;
    bool MustSayNulls(const OrderItem& item) const override;
    void PrintStoredOrder(const SelectBlock& block, bool ordered) override;
    void PrintRow(const Source& source, const std::string& alias) override;
    void PrintPath(const Source& source, const std::string& alias, const std::string& parent) override;
    void Print(const Expression& expression) override;
    void Print(const Expression& expression, const Null& null) override;
    void Print(const Expression& expression, const Arithmetic& arithmetic) override;
    void Print(const Expression& expression, const InQuery& in) override;
    void Print(const Expression& expression, const ScalarQuery& scalar) override;
    void PrintMatch(const Like& like) override;
    void PrintList(const LiteralList& list, Type comparedAs) override;
    void PrintFunction(const Expression& expression, const Call& call) override;
    void PrintAggregate(const Expression& expression, const Call& call) override;
    void PrintExtreme(const char* function, std::span<const ExpressionPtr> arguments);
    void PrintConversion(const Call& call);
    void PrintReader(const QString& mask);
    void PrintTruncation(const Expression& expression, const Call& call);
    void PrintRoundedDate(const Expression& date, DateUnit unit);
    // Prints `value` so that it is of the type.
    template <typename Value> void PrintAs(Type type, Value&& value);
};

template <typename Value> void PostgresPrinter::PrintAs(Type type, Value&& value)
{
    Put("CAST(");
    value();
    Put(" AS ");
    Put(NameOf(type));
    Put(")");
}

// Names are created in lower case. Longer ones than PostgreSQL keeps (columns named by their expression) are
// told apart by what stands for them.
void PostgresPrinter::PrintName(const QString& name)
{
    constexpr qsizetype kLongest = 63;
    const QByteArray utf8 = name.toLower().toUtf8();
    PrintQuoted(utf8.size() <= kLongest
            ? utf8
            : "x" + QCryptographicHash::hash(utf8, QCryptographicHash::Md5).toHex(),
        '"');
}

void PostgresPrinter::PrintOutput(const Expression& expression, Type result, Use)
{
    if (result == expression.type || result == Type::Null)
        Print(expression);
    else
        PrintAs(result, [&] { Print(expression); });
}

// Text that no stored column takes part in has the database's collation unless told otherwise.
void PostgresPrinter::PrintOrderKey(const Query& query, const OrderItem& item)
{
    const SelectBlock& block = query.blocks.front();
    const bool byPosition = query.blocks.size() > 1 || block.distinct;
    const Expression* key = item.expression.get();
    if (item.output >= 0)
        key = byPosition ? nullptr : block.outputs[static_cast<size_t>(item.output)];
    if (!key || (item.output >= 0 && (key->type != Type::Text || key->As<ColumnName>())))
        return Put(std::to_string(item.output + 1));
    Print(*key);
    if (key->type == Type::Text && !key->As<ColumnName>())
        Put(kWords.collated);
}

// Nulls are the greatest values here too, and an index read in either direction has them so.
bool PostgresPrinter::MustSayNulls(const OrderItem& item) const
{
    return item.nullable && item.nullsFirst.value_or(item.descending) != item.descending;
}

// A recursion gives its rows level by level; their ways from the root sort depth first.
void PostgresPrinter::PrintStoredOrder(const SelectBlock& block, bool ordered)
{
    if (!block.connectBy || block.aggregated || block.distinct)
        return;
    Put(ordered ? ", " : " ORDER BY ");
    Put("\"path\"");
}

void PostgresPrinter::PrintRow(const Source& source, const std::string& alias)
{
    Put(alias + ".");
    if (source.table->rowColumn.isEmpty())
        Put("ctid");
    else
        PrintName(source.table->rowColumn);
}

void PostgresPrinter::PrintPath(const Source& source, const std::string& alias, const std::string& parent)
{
    if (parent.empty()) {
        Put("ARRAY[");
        PrintRow(source, alias);
        Put("]");
        return;
    }
    const std::string path = parent + ".\"path\"";
    Put("CASE WHEN ");
    PrintRow(source, alias);
    Put(" = ANY (" + path + ") THEN zelmor.ora_loop(" + path + ") ELSE " + path + " || ");
    PrintRow(source, alias);
    Put(" END");
}

void PostgresPrinter::Print(const Expression& expression)
{
    const auto* call = expression.As<Call>();
    // nullif of unlike numbers is of the wider type.
    const bool widened = call && call->function == Function::NullIf && expression.type == Type::Integer
        && call->arguments[1]->type == Type::Number;
    const bool nullOfType =
        expression.type != Type::Null && !expression.As<Null>() && OwnType(expression) == Type::Null;
    if (widened || nullOfType)
        PrintAs(expression.type, [&] { Printer::Print(expression); });
    else
        Printer::Print(expression);
}

void PostgresPrinter::Print(const Expression& expression, const Null&)
{
    Put("NULL::");
    Put(NameOf(expression.type));
}

void PostgresPrinter::Print(const Expression& expression, const Arithmetic& arithmetic)
{
    using Operator = Arithmetic::Operator;
    const Expression& left = *arithmetic.left;
    const Expression& right = *arithmetic.right;
    constexpr const char* kSigns[] = {" + ", " - ", " * ", " / "};
    const char* sign = kSigns[static_cast<size_t>(arithmetic.op)];
    if (expression.type == Type::Date) {
        const bool whole = right.type == Type::Integer;
        Put("(");
        Print(left);
        Put(sign);
        Put(whole ? "" : "zelmor.ora_days(");
        Print(right);
        Put(whole ? " * interval '1 day')" : "))");
    } else if (left.type == Type::Date) {
        Put("(date_part('epoch', ");
        Print(left);
        Put(" - ");
        Print(right);
        Put(") / 86400)");
    } else if (arithmetic.op == Operator::Divide && left.type == Type::Integer) {
        Put("(");
        PrintAs(Type::Number, [&] { Print(left); });
        Put(sign);
        Print(right);
        Put(")");
    } else {
        Put("(");
        Print(left);
        Put(sign);
        Print(right);
        Put(")");
    }
}

void PostgresPrinter::PrintMatch(const Like& like)
{
    // Its matcher may look at every place of the text for every place of the pattern.
    const bool surelyShort = MostCharacters(*like.pattern) <= 2 * kLongestLiteral + kLongestNumber;
    Print(*like.value);
    Put(surelyShort ? " LIKE " : " LIKE zelmor.ora_pattern(");
    Print(*like.pattern);
    Put(surelyShort ? "" : ")");
    Put(" ESCAPE ");
    if (like.escape) {
        Put("left(");
        Print(*like.escape);
        Put(", 1)");
    } else {
        Put("''");
    }
}

void PostgresPrinter::PrintList(const LiteralList& list, Type comparedAs)
{
    Put("SELECT ");
    if (list.elements == Type::Number) {
        Put("value::double precision");
    } else if (IsNumeric(comparedAs)) {
        Put("zelmor.ora_to_number(value)");
    } else if (comparedAs == Type::Date) {
        Put("zelmor.ora_to_date(value, ");
        PrintReader(QStringLiteral("yyyy-mm-dd hh24:mi:ss"));
        Put(")");
    } else {
        Put("value");
    }
    Put(" FROM json_array_elements_text(");
    PutParameter({Parameter::Source::Literal, list.literal, wire::ColumnType::Text});
    Put("::json)");
}

// Nothing but null on one side has no type of its own there.
void PostgresPrinter::Print(const Expression&, const InQuery& in)
{
    const Type column = in.query->columns.front().type;
    const Type value = in.value->type;
    Put("(");
    if ((value == Type::Null) != (column == Type::Null))
        PrintAs(column, [&] { Print(*in.value); });
    else
        Print(*in.value);
    Put(in.negated ? " NOT IN (" : " IN (");
    Print(*in.query, Use::Source);
    Put("))");
}

void PostgresPrinter::Print(const Expression&, const ScalarQuery& scalar)
{
    Put("(");
    Print(*scalar.query, Use::Rows);
    Put(")");
}

void PostgresPrinter::PrintFunction(const Expression& expression, const Call& call)
{
    switch (call.function) {
    case Function::Length:
        return PrintCall("zelmor.ora_length", call.arguments);
    case Function::Instr:
        return PrintCall("zelmor.ora_instr", call.arguments);
    case Function::Round:
    case Function::Trunc:
        return PrintTruncation(expression, call);
    case Function::ToDate:
    case Function::ToChar:
    case Function::ToNumber:
        return PrintConversion(call);
    case Function::Greatest:
        return PrintExtreme("zelmor.ora_greatest(", call.arguments);
    case Function::Least:
        return PrintExtreme("zelmor.ora_least(", call.arguments);
    default: // for all databases alike
        return;
    }
}

// Of two at a time.
void PostgresPrinter::PrintExtreme(const char* function, std::span<const ExpressionPtr> arguments)
{
    for (size_t i = 1; i < arguments.size(); ++i)
        Put(function);
    Print(*arguments.front());
    for (const ExpressionPtr& argument : arguments.subspan(1)) {
        Put(", ");
        Print(*argument);
        Put(")");
    }
}

void PostgresPrinter::PrintAggregate(const Expression& expression, const Call& call)
{
    const bool numeric = (call.function == Function::Sum || call.function == Function::Avg)
        && call.arguments.front()->type == Type::Integer;
    if (numeric)
        PrintAs(expression.type, [&] { Printer::PrintAggregate(expression, call); });
    else
        Printer::PrintAggregate(expression, call);
}

void PostgresPrinter::PrintReader(const QString& mask)
{
    const DateMask dateMask(mask);
    const PostgresDateReader reader = PostgresReaderOf(dateMask);
    PrintText(reader.pattern);
    Put(", ");
    PrintText(reader.fields);
    Put(", ");
    PrintText(dateMask.Text());
}

void PostgresPrinter::PrintConversion(const Call& call)
{
    const Expression& argument = *call.arguments.front();
    const auto print = [&](const char* function) {
        Put(function);
        Put("(");
        Print(argument);
    };
    if (call.function == Function::ToDate) {
        print("zelmor.ora_to_date");
        Put(", ");
        PrintReader(call.mask);
    } else if (call.function == Function::ToNumber) {
        print(call.mask.isEmpty() ? "zelmor.ora_to_number" : "zelmor.ora_to_number_of_groups");
    } else if (argument.type == Type::Date) {
        const PostgresDateFormat format = PostgresFormatOf(DateMask(call.mask));
        print(format.own ? "zelmor.ora_date_text" : "to_char");
        Put(", ");
        PrintText(format.format);
    } else if (!call.mask.isEmpty()) {
        const NumberMask mask(call.mask);
        print("zelmor.ora_number_text");
        Put(", ");
        PrintText(PostgresFormatOf(mask));
        const qsizetype digits = mask.Whole().size() - mask.Whole().count(u',');
        for (const qsizetype number : {digits, mask.Fraction().size(), mask.Width()})
            Put(", " + std::to_string(number));
    } else if (argument.type == Type::Integer) {
        return PrintAs(Type::Text, [&] { Print(argument); });
    } else {
        print("zelmor.ora_number_text");
    }
    Put(")");
}

void PostgresPrinter::PrintTruncation(const Expression& expression, const Call& call)
{
    const bool round = call.function == Function::Round;
    const Expression& value = *call.arguments.front();
    if (value.type == Type::Date) {
        const DateUnit unit = DateUnitOf(call.mask);
        if (round)
            return PrintRoundedDate(value, unit);
        Put("date_trunc('");
        Put(PostgresUnitOf(unit));
        Put("', ");
        Print(value);
        return Put(")");
    }
    const auto print = [&] { PrintCall(round ? "zelmor.ora_round" : "zelmor.ora_trunc", call.arguments); };
    if (expression.type == Type::Integer)
        PrintAs(Type::Integer, print);
    else
        print();
}

// The unit's start of a moment so much later that what is rounded up has come to the next unit: a year's
// second half begins in July, a month's on the 16th, a quarter's on the 16th of its second month.
void PostgresPrinter::PrintRoundedDate(const Expression& date, DateUnit unit)
{
    const char* shift = "";
    switch (unit) {
    case DateUnit::Year:
        shift = " + interval '6 months'";
        break;
    case DateUnit::Quarter:
        shift = " - interval '15 days' + interval '2 months'";
        break;
    case DateUnit::Month:
        shift = " - interval '15 days' + interval '1 month'";
        break;
    case DateUnit::Day:
        shift = " + interval '12 hours'";
        break;
    case DateUnit::Hour:
        shift = " + interval '30 minutes'";
        break;
    case DateUnit::Minute:
        shift = " + interval '30 seconds'";
        break;
    }
    Put("date_trunc('");
    Put(PostgresUnitOf(unit));
    Put("', ");
    Print(date);
    Put(shift);
    Put(")");
}

} // namespace

Printed PrintForPostgres(const Statement& statement, const Analysis& analysis, TranslationTime& time)
{
    return PostgresPrinter(analysis, time).Run(statement);
}

} // namespace dialect
