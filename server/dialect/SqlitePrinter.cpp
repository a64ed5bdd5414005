#include "server/dialect/SqlitePrinterImpl.h"

#include <algorithm>
#include <utility>

namespace dialect {

SqlitePrinter::SqlitePrinter(const Analysis& analysis)
    : analysis_(analysis)
    , parameterOfLiteral_(analysis.literals.size(), 0)
{
}

Printed SqlitePrinter::Run(const Statement& statement)
{
    if (const auto* query = std::get_if<QueryPtr>(&statement))
        Print(**query, Use::Rows);
    else
        Print(std::get<Update>(statement));
    return {std::move(sql_), std::move(parameters_)};
}

void SqlitePrinter::Print(const Query& query, Use use)
{
    if (query.blocks.size() == 1) {
        const SelectBlock& block = query.blocks.front();
        if (query.orderBy.empty() && PrintDistinctByIndex(block))
            return;
        PrintBlock(block, use);
        if (use != Use::Test)
            PrintOrder(query);
        if (block.rowLimit)
            Put(" LIMIT " + std::to_string(*block.rowLimit));
        return;
    }
    for (size_t i = 0; i < query.blocks.size(); ++i) {
        if (i > 0) {
            constexpr const char* kOperators[] = {" UNION ALL ", " UNION ", " INTERSECT ", " EXCEPT "};
            Put(kOperators[static_cast<size_t>(query.operators[i - 1])]);
        }
        const SelectBlock& block = query.blocks[i];
        // A member of a union has no limit of its own, and its recursion must stay inside.
        const bool wrapped = block.rowLimit || block.connectBy;
        if (wrapped)
            Put("SELECT * FROM (");
        PrintBlock(block, use == Use::Test ? Use::Source : use);
        if (block.rowLimit)
            Put(" LIMIT " + std::to_string(*block.rowLimit));
        if (wrapped)
            Put(")");
    }
    PrintOrder(query);
}

void SqlitePrinter::PrintBlock(const SelectBlock& block, Use use)
{
    if (block.connectBy)
        PrintHierarchy(block);
    Put(block.distinct ? "SELECT DISTINCT " : "SELECT ");
    PrintOutputs(block, use);
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
        // Oracle's users may leave out group by; here it must stand.
        Put(block.groupBy.empty() ? " GROUP BY NULL HAVING " : " HAVING ");
        Print(block.having);
    }
}

// The rows of the tree, found from the start rows downwards. The queue of rows still to be followed is kept
// deepest level first, then in stored order: that is depth first. `path` holds the rows from the root down
// and raises the error of a row that is its own descendant.
void SqlitePrinter::PrintHierarchy(const SelectBlock& block)
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
    Put(") AS (SELECT 1, " + start + ".rowid, ora_path(NULL, " + start + ".rowid)");
    hierarchyAlias_ = 's';
    columns(start);
    Put(" FROM ");
    PrintName(source.table->name);
    Put(" AS " + start);
    if (block.startWith) {
        Put(" WHERE ");
        PrintFilter(*block.startWith);
    }
    Put(" UNION ALL SELECT " + parent + ".\"level\" + 1, " + child + ".rowid, ora_path(" + parent
        + ".\"path\", " + child + ".rowid)");
    hierarchyAlias_ = 'c';
    columns(child);
    Put(" FROM h" + number + " AS " + parent + " CROSS JOIN ");
    PrintName(source.table->name);
    Put(" AS " + child + " WHERE ");
    // x = case … when … then null … else y end holds only where x = y, which an index on y answers.
    for (const Expression* condition : Conjuncts(block.connectBy.get())) {
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
    PrintFilter(*block.connectBy);
    Put(" ORDER BY 1 DESC, 2) ");
    hierarchy_ = nullptr;
}

// Distinct values of one column with an index of its own: each value is looked up from the one before it, so
// that the rows are never read.
bool SqlitePrinter::PrintDistinctByIndex(const SelectBlock& block)
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

void SqlitePrinter::PrintOutputs(const SelectBlock& block, Use use)
{
    if (use == Use::Test && !block.aggregated) {
        Put("1");
        return;
    }
    for (size_t i = 0; i < block.outputs.size(); ++i) {
        if (i > 0)
            Put(", ");
        if (use == Use::Single)
            Put("ora_single(");
        Print(*block.outputs[i]);
        if (use == Use::Single)
            Put(")");
        if (use == Use::Source && !block.columns[i].name.isEmpty()) {
            Put(" AS ");
            PrintName(block.columns[i].name);
        }
    }
}

void SqlitePrinter::PrintFrom(const SelectBlock& block)
{
    for (const auto& source : block.from) {
        if (source != block.from.front()) {
            constexpr const char* kJoins[] = {", ", " JOIN ", " LEFT JOIN "};
            Put(kJoins[static_cast<size_t>(source->join)]);
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

void SqlitePrinter::PrintSource(const Source& source)
{
    if (source.query) {
        Put("(");
        Print(*source.query, Use::Source);
        Put(")");
    } else if (source.table) {
        PrintName(source.table->name);
    } else {
        Put("(SELECT 'X' AS \"DUMMY\")");
    }
    Put(" AS " + AliasOf(source));
}

// Nulls are the greatest values.
void SqlitePrinter::PrintOrder(const Query& query)
{
    for (const OrderItem& item : query.orderBy) {
        Put(&item == &query.orderBy.front() ? " ORDER BY " : ", ");
        if (item.output >= 0)
            Put(std::to_string(item.output + 1));
        else
            Print(item.expression);
        if (item.descending)
            Put(" DESC");
        if (item.nullable)
            Put(item.nullsFirst.value_or(item.descending) ? " NULLS FIRST" : " NULLS LAST");
    }
}

// A condition whose false and unknown are alike, so that forms which an index serves better may stand for it.
void SqlitePrinter::PrintFilter(const Expression& condition)
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

void SqlitePrinter::Print(const Update& update)
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

void SqlitePrinter::PrintName(const QString& name)
{
    Put("\"");
    const QByteArray utf8 = name.toUtf8();
    for (const char byte : utf8)
        sql_.append(byte == '"' ? 2 : 1, byte);
    Put("\"");
}

void SqlitePrinter::PutParameter(const Parameter& parameter)
{
    parameters_.push_back(parameter);
    Put("?" + std::to_string(parameters_.size()));
}

std::string SqlitePrinter::AliasOf(const Source& source) const
{
    const char letter = &source == hierarchy_ ? hierarchyAlias_ : 't';
    return letter + std::to_string(source.number);
}

Printed PrintForSqlite(const Statement& statement, const Analysis& analysis)
{
    return SqlitePrinter(analysis).Run(statement);
}

} // namespace dialect
