#pragma once

#include "server/dialect/Analysis.h"

#include <functional>
#include <memory>

namespace dialect {

struct Printed {
    std::string sql;
    std::vector<Parameter> parameters;
};

// How two databases say the same thing where only the words differ.
struct PrinterWords {
    char parameter; // before its number
    const char* ifNull; // the first of two values that is not null
    const char* same; // equal, or both null
    const char* trim; // both ends
    const char* trims; // before the names of trim functions of two arguments
    const char* no; // a condition that does not hold
    const char* crossJoin;
    const char* dual; // the table of one row
    const char* groupOfAll; // before having, where there is no group by
    const char* wrap; // before and …
    const char* unwrap; // … after a select that is a member of a union and must stay apart
    bool equalSets; // union, minus and intersect bind alike
    const char* firstLevel; // of a hierarchy
    const char* walk; // ends the recursion of a hierarchy: in which order rows are followed
    const char* functions; // before the names of our own functions
    const char* collated; // after a text that is compared by its characters' codes
};

// One printing of an analysed statement. What every SQL database understands is here: queries and updates in
// Printer.cpp, expressions in PrinterExpressions.cpp; what each says in its own way is virtual.
class Printer {
public:
    Printer(const Analysis& analysis, const PrinterWords& words, TranslationTime& time);
    virtual ~Printer();
    Printer(const Printer&) = delete;
    Printer& operator=(const Printer&) = delete;

    Printed Run(const Statement& statement);

protected:
    // What a select is for says what its columns must look like.
    enum class Use { Rows, Source, Single, Test };

    virtual void PrintName(const QString& name) = 0;
    // One column of a select; in the result it is of type `result`.
    virtual void PrintOutput(const Expression& expression, Type result, Use use) = 0;
    virtual void PrintOrderKey(const Query& query, const OrderItem& item) = 0;
    virtual bool MustSayNulls(const OrderItem& item) const = 0;
    // After the order that a block asks for, if any, or instead of one.
    virtual void PrintStoredOrder(const SelectBlock& block, bool ordered) = 0;
    // A hierarchy: what says the stored order of a row, the row's way from the root.
    virtual void PrintRow(const Source& source, const std::string& alias) = 0;
    virtual void PrintPath(const Source& source, const std::string& alias, const std::string& parent) = 0;

    virtual void Print(const Expression& expression, const Null& null) = 0;
    virtual void Print(const Expression& expression, const Arithmetic& arithmetic) = 0;
    virtual void Print(const Expression& expression, const InQuery& in) = 0;
    virtual void Print(const Expression& expression, const ScalarQuery& scalar) = 0;
    // value like pattern, without its bounds
    virtual void PrintMatch(const Like& like) = 0;
    // The select that gives the values of a long list.
    virtual void PrintList(const LiteralList& list, Type comparedAs) = 0;
    // Functions of one row that need more than a call.
    virtual void PrintFunction(const Expression& expression, const Call& call) = 0;
    virtual void PrintAggregate(const Expression& expression, const Call& call);

    void Print(const Query& query, Use use);
    void Print(const Expression& expression, const Literal& literal);
    void Print(const Expression& expression, const DateLiteral& literal);
    void Print(const Expression& expression, const Now& now);
    void Print(const Expression& expression, const ColumnName& name);
    void Print(const Expression& expression, const Level& level);
    void Print(const Expression& expression, const Prior& prior);
    void Print(const Expression& expression, const Negation& negation);
    void Print(const Expression& expression, const Not& negation);
    void Print(const Expression& expression, const Concatenation& concatenation);
    void Print(const Expression& expression, const Comparison& comparison);
    void Print(const Expression& expression, const Junction& junction);
    void Print(const Expression& expression, const Between& between);
    void Print(const Expression& expression, const Like& like);
    void Print(const Expression& expression, const IsNull& null);
    void Print(const Expression& expression, const InList& list);
    void Print(const Expression& expression, const Exists& exists);
    void Print(const Expression& expression, const Case& choice);
    void Print(const Expression& expression, const Call& call);
    void PrintHierarchy(const SelectBlock& block);
    void PrintIndexed(const Expression& filter);
    void Print(const ExpressionPtr& expression) { Print(*expression); }
    virtual void Print(const Expression& expression);
    void PrintCall(std::string_view function, const std::vector<ExpressionPtr>& arguments);
    void PrintText(const QString& text);
    void PrintQuoted(const QByteArray& utf8, char quote);

    void Put(std::string_view text);
    void PutParameter(const Parameter& parameter);

private:
    void PrintUpdate(const Update& update);
    void PrintBlock(const SelectBlock& block, Use use, const std::vector<ResultColumn>& columns);
    bool PrintDistinctByIndex(const SelectBlock& block);
    void PrintOutputs(const SelectBlock& block, Use use, const std::vector<ResultColumn>& columns);
    void PrintFrom(const SelectBlock& block);
    void PrintSource(const Source& source);
    void PrintOrder(const Query& query);
    void PrintFilter(const Expression& condition);
    bool PrintMembership(const Query& query, bool filter);

    void PrintLiteral(int literal, wire::ColumnType type);
    void PrintDecode(const Call& call);
    void PrintJoined(const std::vector<ExpressionPtr>& operands, size_t first, size_t count,
        const char* separator, const std::function<void(const ExpressionPtr&)>& print);
    std::string AliasOf(const Source& source) const;

    const PrinterWords& words_;
    TranslationTime& time_;
    std::string sql_;
    std::vector<Parameter> parameters_;
    std::vector<int> parameterOfLiteral_;
    int nowParameter_ = 0;
    // While the two halves of a hierarchy are printed: its table, and its alias there.
    const Source* hierarchy_ = nullptr;
    char hierarchyAlias_ = 't';
};

// An analysed statement in the database's language; see Target for what they need.
Printed PrintForSqlite(const Statement& statement, const Analysis& analysis, TranslationTime& time);
Printed PrintForPostgres(const Statement& statement, const Analysis& analysis, TranslationTime& time);

} // namespace dialect
