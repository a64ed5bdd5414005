#include "server/dialect/Printer.h"

#include "server/dialect/Limits.h"
#include "server/dialect/Refusals.h"
#include "wire/Error.h"

#include <algorithm>
#include <utility>

namespace dialect {

Printer::Printer(const Analysis& analysis, const PrinterWords& words, TranslationTime& time)
    : words_(words)
    , time_(time)
    , parameterOfLiteral_(analysis.literals.size(), 0)
{
}

Printer::~Printer() = default;

Printed Printer::Run(const Statement& statement)
{
    if (const auto* query = std::get_if<QueryPtr>(&statement))
        Print(**query, Use::Rows);
    else
        PrintUpdate(std::get<Update>(statement));
    return {std::move(sql_), std::move(parameters_)};
}

void Printer::Print(const Query& query, Use use)
{
    if (query.blocks.size() == 1) {
        const SelectBlock& block = query.blocks.front();
        if (query.orderBy.empty() && PrintDistinctByIndex(block))
            return;
        PrintBlock(block, use, query.columns);
        if (use != Use::Test)
            PrintOrder(query);
        if (block.rowLimit)
            Put(" LIMIT " + std::to_string(*block.rowLimit));
        return;
    }
    // Where intersect binds closer than the others, what stands before it is put in brackets.
    const auto apart = [&](SetOperator op) { return !words_.equalSets && op == SetOperator::Intersect; };
    for (const SetOperator op : query.operators)
        Put(apart(op) ? "(" : "");
    for (size_t i = 0; i < query.blocks.size(); ++i) {
        if (i > 0) {
            constexpr const char* kOperators[] = {" UNION ALL ", " UNION ", " INTERSECT ", " EXCEPT "};
            const SetOperator op = query.operators[i - 1];
            Put(apart(op) ? ")" : "");
            Put(kOperators[static_cast<size_t>(op)]);
        }
        const SelectBlock& block = query.blocks[i];
        // A member of a union has no limit of its own, and its recursion must stay inside.
        const bool wrapped = block.rowLimit || block.connectBy;
        if (wrapped)
            Put(words_.wrap);
        PrintBlock(block, use == Use::Test ? Use::Source : use, query.columns);
        if (wrapped)
            PrintStoredOrder(block, false);
        if (block.rowLimit)
            Put(" LIMIT " + std::to_string(*block.rowLimit));
        if (wrapped)
            Put(words_.unwrap);
    }
    PrintOrder(query);
}

void Printer::PrintBlock(const SelectBlock& block, Use use, const std::vector<ResultColumn>& columns)
{
    if (block.connectBy)
        PrintHierarchy(block);
    Put(block.distinct ? "SELECT DISTINCT " : "SELECT ");
    PrintOutputs(block, use, columns);
    Put(" FROM ");
    PrintFrom(block);
    if (block.where) {
        Put(" WHERE ");
        PrintFilter(*block.where);
    }
    for (size_t i = 0; i < block.groupBy.size(); ++i) {
        Put(i == 0 ? " GROUP BY " : ", ");
        Print(block.groupBy[i]);
    }
    if (block.having) {
        // Oracle's users may leave out group by; not every database lets them.
        Put(block.groupBy.empty() ? words_.groupOfAll : "");
        Put(" HAVING ");
        Print(block.having);
    }
}

// The rows of the tree, found from the start rows downwards, depth first, sisters in stored order. `path`
// holds the rows from the root down and raises the error of a row that is its own descendant.
void Printer::PrintHierarchy(const SelectBlock& block)
{
    const Source& source = *block.from.front();
    const std::string number = std::to_string(source.number);
    const auto columns = [&](const std::string& alias) {
        for (size_t i = 0; i < source.columns.size(); ++i) {
            if (!source.used[i])
                continue;
            Put(alias.empty() ? ", " : ", " + alias + ".");
            PrintName(source.columns[i].name);
        }
    };
    const std::string start = "s" + number;
    const std::string parent = "p" + number;
    const std::string child = "c" + number;
    hierarchy_ = &source;
    Put("WITH RECURSIVE h" + number + "(\"level\", \"row\", \"path\"");
    columns({});
    Put(") AS (SELECT ");
    Put(words_.firstLevel);
    Put(", ");
    PrintRow(source, start);
    Put(", ");
    PrintPath(source, start, {});
    hierarchyAlias_ = 's';
    columns(start);
    Put(" FROM ");
    PrintName(source.table->name);
    Put(" AS " + start);
    if (block.startWith) {
        Put(" WHERE ");
        PrintFilter(*block.startWith);
    }
    Put(" UNION ALL SELECT " + parent + ".\"level\" + 1, ");
    PrintRow(source, child);
    Put(", ");
    PrintPath(source, child, parent);
    hierarchyAlias_ = 'c';
    columns(child);
    Put(" FROM h" + number + " AS " + parent + " CROSS JOIN ");
    PrintName(source.table->name);
    Put(" AS " + child + " WHERE ");
    PrintIndexed(*block.connectBy);
    PrintFilter(*block.connectBy);
    Put(words_.walk);
    Put(") ");
    hierarchy_ = nullptr;
}

// x = case … when … then null … else y end holds only where x = y, which an index on y answers.
void Printer::PrintIndexed(const Expression& filter)
{
    for (const Expression* condition : Conjuncts(&filter)) {
        const auto* comparison = condition->As<Comparison>();
        if (!comparison || comparison->op != Comparison::Operator::Equal)
            continue;
        for (const auto& [one, other] : {std::pair(&comparison->left, &comparison->right),
                 std::pair(&comparison->right, &comparison->left)}) {
            const auto* choice = (*other)->As<Case>();
            const auto isNull = [](const Case::Branch& branch) { return branch.then->As<Null>() != nullptr; };
            if (!choice || !choice->otherwise || !std::ranges::all_of(choice->branches, isNull))
                continue;
            Print(*one);
            Put(" = ");
            Print(choice->otherwise);
            Put(" AND ");
        }
    }
}

// Distinct values of one column with an index of its own: each value is looked up from the one before it, so
// that the rows are never read.
bool Printer::PrintDistinctByIndex(const SelectBlock& block)
{
    const Source& source = *block.from.front();
    const bool plain = block.distinct && block.from.size() == 1 && source.table && !block.where
        && !block.connectBy && block.groupBy.empty() && !block.aggregated && block.outputs.size() == 1;
    if (!plain || !IsColumn(*block.outputs.front(), &source))
        return false;
    const QString& column = source.columns[static_cast<size_t>(block.columns.front().sourceColumn)].name;
    const auto leads = [&column](const std::vector<QString>& index) {
        return !index.empty() && index.front().compare(column, Qt::CaseInsensitive) == 0;
    };
    if (std::ranges::none_of(source.table->indexColumns, leads))
        return false;
    const std::string name = "d" + std::to_string(source.number);
    const auto from = [&](const char* select, const char* where) {
        Put(select);
        PrintName(column);
        Put(") FROM ");
        PrintName(source.table->name);
        if (*where) {
            Put(" WHERE ");
            PrintName(column);
            Put(where);
        }
    };
    Put("WITH RECURSIVE " + name + "(v) AS (");
    from("SELECT min(", "");
    Put(" UNION ALL SELECT (");
    from("SELECT min(", (" > " + name + ".v").c_str());
    Put(") FROM " + name + " WHERE v IS NOT NULL) SELECT v AS ");
    PrintName(block.columns.front().name.isEmpty() ? column : block.columns.front().name);
    Put(" FROM " + name + " WHERE v IS NOT NULL UNION ALL SELECT NULL WHERE EXISTS (SELECT 1 FROM ");
    PrintName(source.table->name);
    Put(" WHERE ");
    PrintName(column);
    Put(" IS NULL)");
    return true;
}

void Printer::PrintOutputs(const SelectBlock& block, Use use, const std::vector<ResultColumn>& columns)
{
    if (use == Use::Test && !block.aggregated) {
        Put("1");
        return;
    }
    for (size_t i = 0; i < block.outputs.size(); ++i) {
        if (i > 0)
            Put(", ");
        PrintOutput(*block.outputs[i], columns[i].type, use);
        if (use == Use::Source && !block.columns[i].name.isEmpty()) {
            Put(" AS ");
            PrintName(block.columns[i].name);
        }
    }
}

void Printer::PrintFrom(const SelectBlock& block)
{
    for (const auto& source : block.from) {
        if (source != block.from.front()) {
            const char* const joins[] = {words_.crossJoin, " JOIN ", " LEFT JOIN "};
            Put(joins[static_cast<size_t>(source->join)]);
        }
        if (block.connectBy)
            Put("h" + std::to_string(source->number) + " AS " + AliasOf(*source));
        else
            PrintSource(*source);
        if (source->on) {
            Put(" ON ");
            PrintFilter(*source->on);
        }
    }
}

void Printer::PrintSource(const Source& source)
{
    if (source.query) {
        Put("(");
        Print(*source.query, Use::Source);
        Put(")");
    } else if (source.table) {
        PrintName(source.table->name);
    } else {
        Put(words_.dual);
    }
    Put(" AS " + AliasOf(source));
}

// Nulls are the greatest values.
void Printer::PrintOrder(const Query& query)
{
    for (const OrderItem& item : query.orderBy) {
        Put(&item == &query.orderBy.front() ? " ORDER BY " : ", ");
        PrintOrderKey(query, item);
        if (item.descending)
            Put(" DESC");
        if (MustSayNulls(item))
            Put(item.nullsFirst.value_or(item.descending) ? " NULLS FIRST" : " NULLS LAST");
    }
    if (query.blocks.size() == 1)
        PrintStoredOrder(query.blocks.front(), !query.orderBy.empty());
}

// A condition whose false and unknown are alike, so that forms which an index serves better may stand for it.
void Printer::PrintFilter(const Expression& condition)
{
    const auto conjuncts = Conjuncts(&condition);
    for (const Expression* conjunct : conjuncts) {
        if (conjunct != conjuncts.front())
            Put(" AND ");
        const auto* exists = conjunct->As<Exists>();
        if (!exists || !PrintMembership(*exists->query, true))
            Print(*conjunct);
    }
}

void Printer::PrintUpdate(const Update& update)
{
    Put("UPDATE ");
    PrintName(update.target->table->name);
    Put(" AS " + AliasOf(*update.target));
    for (const Assignment& assignment : update.assignments) {
        Put(&assignment == &update.assignments.front() ? " SET " : ", ");
        const auto& name = std::get<ColumnName>(assignment.target->node);
        PrintName(name.source->columns[static_cast<size_t>(name.column)].name);
        Put(" = ");
        Print(assignment.value);
    }
    if (update.where) {
        Put(" WHERE ");
        PrintFilter(*update.where);
    }
}

void Printer::PrintText(const QString& text)
{
    PrintQuoted(text.toUtf8(), '\'');
}

void Printer::PrintQuoted(const QByteArray& utf8, char quote)
{
    sql_ += quote;
    for (const char byte : utf8)
        sql_.append(byte == quote ? 2 : 1, byte);
    sql_ += quote;
}

// What is said more than once may contain what is said more than once: there must be an end to it.
void Printer::Put(std::string_view text)
{
    constexpr size_t kLongest = 8 << 20;
    time_.Check();
    if (sql_.size() + text.size() > kLongest)
        throw wire::Error(wire::ErrorKind::Syntax, texts::TooDeep() + u'！');
    sql_ += text;
}

void Printer::PutParameter(const Parameter& parameter)
{
    parameters_.push_back(parameter);
    Put(words_.parameter + std::to_string(parameters_.size()));
}

std::string Printer::AliasOf(const Source& source) const
{
    const char letter = &source == hierarchy_ ? hierarchyAlias_ : 't';
    return letter + std::to_string(source.number);
}

} // namespace dialect
