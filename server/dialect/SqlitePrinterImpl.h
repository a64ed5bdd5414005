#pragma once

#include "server/dialect/SqlitePrinter.h"

namespace dialect {

// One printing. Selects and updates are in SqlitePrinter.cpp, expressions in SqliteExpressions.cpp.
class SqlitePrinter {
public:
    explicit SqlitePrinter(const Analysis& analysis);
    Printed Run(const Statement& statement);

private:
    // What a select is for says what its columns must look like.
    enum class Use { Rows, Source, Single, Test };

    void Print(const Query& query, Use use);
    void Print(const Update& update);
    void PrintBlock(const SelectBlock& block, Use use);
    void PrintHierarchy(const SelectBlock& block);
    bool PrintDistinctByIndex(const SelectBlock& block);
    void PrintOutputs(const SelectBlock& block, Use use);
    void PrintFrom(const SelectBlock& block);
    void PrintSource(const Source& source);
    void PrintOrder(const Query& query);
    void PrintFilter(const Expression& condition);

    void Print(const ExpressionPtr& expression) { Print(*expression); }
    void Print(const Expression& expression);
    void Print(const Expression& expression, const Literal& literal);
    void Print(const Expression& expression, const DateLiteral& literal);
    void Print(const Expression& expression, const Null& null);
    void Print(const Expression& expression, const Now& now);
    void Print(const Expression& expression, const ColumnName& name);
    void Print(const Expression& expression, const Level& level);
    void Print(const Expression& expression, const Prior& prior);
    void Print(const Expression& expression, const Negation& negation);
    void Print(const Expression& expression, const Not& negation);
    void Print(const Expression& expression, const Arithmetic& arithmetic);
    void Print(const Expression& expression, const Concatenation& concatenation);
    void Print(const Expression& expression, const Comparison& comparison);
    void Print(const Expression& expression, const Junction& junction);
    void Print(const Expression& expression, const Between& between);
    void Print(const Expression& expression, const Like& like);
    void Print(const Expression& expression, const IsNull& null);
    void Print(const Expression& expression, const InList& list);
    void Print(const Expression& expression, const InQuery& in);
    void Print(const Expression& expression, const Exists& exists);
    void Print(const Expression& expression, const ScalarQuery& scalar);
    void Print(const Expression& expression, const Case& choice);
    void Print(const Expression& expression, const Call& call);
    void PrintDecode(const Call& call);
    void PrintConversion(const Call& call);
    void PrintTruncation(const Call& call);
    bool PrintMembership(const Query& query, bool filter);
    void PrintJoined(
        const std::vector<ExpressionPtr>& operands, size_t first, size_t count, const char* separator);
    void PrintCall(const char* function, const std::vector<ExpressionPtr>& arguments);
    void PrintText(const QString& text);
    void PrintName(const QString& name);

    void Put(std::string_view text) { sql_ += text; }
    void PutParameter(const Parameter& parameter);
    std::string AliasOf(const Source& source) const;

    const Analysis& analysis_;
    std::string sql_;
    std::vector<Parameter> parameters_;
    std::vector<int> parameterOfLiteral_;
    int nowParameter_ = 0;
    // While the two halves of a hierarchy are printed: its table, and its alias there.
    const Source* hierarchy_ = nullptr;
    char hierarchyAlias_ = 't';
};

} // namespace dialect
