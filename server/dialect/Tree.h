#pragma once

#include "server/dialect/Dialect.h"
#include "server/dialect/Functions.h"
#include "server/dialect/Lexer.h"

#include <QHash>

#include <memory>
#include <optional>
#include <variant>
#include <vector>

// What a statement says, independent of the backend that it will run on. The parser builds the tree; the
// analysis (Analysis.h) fills in what is marked "analysis" and makes every conversion explicit.
namespace dialect {

struct Expression;
struct Query;
using ExpressionPtr = std::unique_ptr<Expression>;
using QueryPtr = std::unique_ptr<Query>;

// Null is the type of an empty text literal and of null itself: it goes with every other.
enum class Type : quint8 { Null, Text, Integer, Number, Date, Condition };

inline bool IsNumeric(Type type)
{
    return type == Type::Integer || type == Type::Number;
}

// One column of a table or of a query's result.
struct ResultColumn {
    QString name;
    Type type = Type::Null;
    int width = 0;
    bool key = false;
    int tableColumn = -1; // plain column of the query's first table: its position there
    const struct Source* source = nullptr; // plain column: where from …
    int sourceColumn = -1; // … and which
};

// A table or subquery of a from clause.
struct Source {
    QString tableName; // empty for a subquery
    QueryPtr query;
    QString alias;
    enum class Join { None, Inner, Left } join = Join::None; // to what stands before
    ExpressionPtr on;
    Position position = 0;
    // analysis
    int number = 0; // unique in the statement
    const CatalogTable* table = nullptr; // null for a subquery and for dual
    std::vector<ResultColumn> columns;
    std::vector<bool> used; // columns that the statement reads
    std::vector<bool> shown; // columns that are columns of the result by themselves
    int lookUps = 0; // of columns by name
    QHash<QString, int> columnNumbers; // by name without case, once there have been many
};

// Literals. `literal` counts the literals of the text.
struct Literal {
    int literal = -1;
};
struct LiteralList {
    int literal = -1; // a JSON array
    Type elements = Type::Text; // Text or Number; the expression's type is what they are compared as
};
struct Null { };
struct Now { };
// A date written as to_date('…', 'mask'): read when the text is translated.
struct DateLiteral {
    int literal = -1;
};

struct ColumnName {
    QString qualifier = {};
    QString name = {};
    // analysis
    Source* source = nullptr;
    int column = -1;
};
struct Rownum { };
struct Level { };
struct Prior {
    ExpressionPtr operand;
};
struct Negation {
    ExpressionPtr operand;
};
struct Not {
    ExpressionPtr operand;
};
struct Arithmetic {
    enum class Operator { Add, Subtract, Multiply, Divide } op;
    ExpressionPtr left, right;
};
struct Concatenation {
    std::vector<ExpressionPtr> operands;
};
struct Comparison {
    enum class Operator { Equal, NotEqual, Less, LessOrEqual, Greater, GreaterOrEqual } op;
    ExpressionPtr left, right;
};
// `and` or `or` of two or more conditions.
struct Junction {
    bool conjunction = true;
    std::vector<ExpressionPtr> operands;
};
struct Between {
    ExpressionPtr value, low, high;
    bool negated = false;
};
struct Like {
    ExpressionPtr value, pattern, escape;
    bool negated = false;
    // The pattern begins with a plain character, so that an index on the value serves.
    bool prefixed = false;
};
struct IsNull {
    ExpressionPtr value;
    bool negated = false;
};
struct InList {
    ExpressionPtr value;
    std::vector<ExpressionPtr> items; // one LiteralList stands for all of them
    bool negated = false;
};
struct InQuery {
    ExpressionPtr value;
    QueryPtr query;
    bool negated = false;
};
struct Exists {
    QueryPtr query;
};
struct ScalarQuery {
    QueryPtr query;
    // analysis
    bool oneRow = false; // by its form it gives one row at most
};
struct Case {
    struct Branch {
        ExpressionPtr when, then;
    };
    ExpressionPtr subject; // may be null: a searched case
    std::vector<Branch> branches;
    ExpressionPtr otherwise; // may be null
};
struct Call {
    Function function;
    std::vector<ExpressionPtr> arguments = {};
    bool distinct = false;
    bool star = false; // count(*)
    // analysis
    QString mask = {}; // to_date, to_char, to_number, trunc, round: the format, in lower case
};

struct Expression {
    using Node = std::variant<Literal, LiteralList, Null, Now, DateLiteral, ColumnName, Rownum, Level, Prior,
        Negation, Not, Arithmetic, Concatenation, Comparison, Junction, Between, Like, IsNull, InList,
        InQuery, Exists, ScalarQuery, Case, Call>;
    Node node;
    Position start = 0, end = 0; // in the text
    int depth = 1; // of the tree below, subqueries included
    // analysis
    Type type = Type::Null;
    int width = 0; // text: most characters, 0 when unknown

    template <typename T> T* As() { return std::get_if<T>(&node); }
    template <typename T> const T* As() const { return std::get_if<T>(&node); }
};

// expression [as] alias, or * or alias.*
struct SelectItem {
    ExpressionPtr expression; // null: a star
    QString alias;
    QString starQualifier;
    Position position = 0;
};

// select … from … where … start with … connect by … group by … having …
struct SelectBlock {
    Position position = 0;
    bool distinct = false;
    std::vector<SelectItem> items;
    std::vector<std::unique_ptr<Source>> from;
    ExpressionPtr where;
    ExpressionPtr startWith, connectBy;
    std::vector<ExpressionPtr> groupBy;
    ExpressionPtr having;
    // analysis
    std::vector<ExpressionPtr> stars; // the columns that stars stand for, in order of `outputs`
    std::vector<const Expression*> outputs; // what each result column is; its own item or one of `stars`
    std::vector<ResultColumn> columns;
    bool aggregated = false;
    std::optional<qint64> rowLimit; // from rownum
};

struct OrderItem {
    ExpressionPtr expression;
    bool descending = false;
    std::optional<bool> nullsFirst; // as written
    // analysis
    int output = -1; // a result column instead of the expression
    bool nullable = true; // false: the where clause lets no null pass
};

enum class SetOperator { UnionAll, Union, Intersect, Minus };

// Blocks joined by set operators (one fewer than blocks), with their common order.
struct Query {
    std::vector<SelectBlock> blocks;
    std::vector<SetOperator> operators;
    std::vector<OrderItem> orderBy;
    int depth = 1; // of its deepest expression
    // analysis
    std::vector<ResultColumn> columns;
};

struct Assignment {
    ExpressionPtr target; // a ColumnName
    ExpressionPtr value;
};

struct Update {
    std::unique_ptr<Source> target;
    std::vector<Assignment> assignments;
    ExpressionPtr where;
};

using Statement = std::variant<QueryPtr, Update>;

// Calls `visit` for the owner of every direct operand; subqueries are not entered.
template <typename E, typename Visit> void ForEachOperand(E& expression, Visit&& visit)
{
    const auto one = [&visit](auto& operand) {
        if (operand)
            visit(operand);
    };
    const auto all = [&one](auto&... operands) { (one(operands), ...); };
    const auto list = [&one](auto& operands) {
        for (auto& operand : operands)
            one(operand);
    };
    std::visit(
        [&](auto& node) {
            using T = std::remove_cvref_t<decltype(node)>;
            if constexpr (std::is_same_v<T, Prior> || std::is_same_v<T, Negation> || std::is_same_v<T, Not>) {
                all(node.operand);
            } else if constexpr (std::is_same_v<T, Arithmetic> || std::is_same_v<T, Comparison>) {
                all(node.left, node.right);
            } else if constexpr (std::is_same_v<T, Concatenation> || std::is_same_v<T, Junction>) {
                list(node.operands);
            } else if constexpr (std::is_same_v<T, Between>) {
                all(node.value, node.low, node.high);
            } else if constexpr (std::is_same_v<T, Like>) {
                all(node.value, node.pattern, node.escape);
            } else if constexpr (std::is_same_v<T, IsNull> || std::is_same_v<T, InQuery>) {
                all(node.value);
            } else if constexpr (std::is_same_v<T, InList>) {
                all(node.value);
                list(node.items);
            } else if constexpr (std::is_same_v<T, Case>) {
                all(node.subject);
                for (auto& branch : node.branches)
                    all(branch.when, branch.then);
                all(node.otherwise);
            } else if constexpr (std::is_same_v<T, Call>) {
                list(node.arguments);
            }
        },
        expression.node);
}

// The conditions that `condition` joins by `and` at its top: itself when it is no conjunction.
std::vector<const Expression*> Conjuncts(const Expression* condition);
// Whether the two say the same of the same columns. Literals are told apart by their place.
bool SameExpression(const Expression& a, const Expression& b);
// Expressions that say the same have the same one.
size_t Fingerprint(const Expression& expression);
// `expression` names a column of `source` (any of its columns when `column` is negative).
bool IsColumn(const Expression& expression, const Source* source, int column = -1);
// A bound for the length of a text, from what is known without its value.
int MostCharacters(const Expression& expression);
// Somewhere in `expression`, subqueries left aside, stands a column of `source`.
bool Mentions(const Expression& expression, const Source* source);
// Whose columns stand in expressions, subqueries left aside: `sources` are the own ones, `level` and `rownum`
// theirs. Added to `named`.
struct Named {
    bool own = false;
    bool outer = false;
};
void NoteNames(const Expression& expression, const std::vector<Source*>& sources, Named& named);

} // namespace dialect
