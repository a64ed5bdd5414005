#pragma once

#include "server/dialect/Analysis.h"

#include <span>
#include <unordered_map>

namespace dialect {

// Default format of implicit conversions between text and date.
QString DefaultDateMask();

// One analysis. Statements and names are in Analyzer.cpp, expressions and types in AnalyzerTypes.cpp.
class Analyzer {
public:
    Analyzer(const Lexer& lexer, const Catalog& catalog, TranslationTime& time);
    Analysis Run(Statement& statement);

private:
    enum class Clause { Plain, Grouped, InAggregate, ConnectBy };

    // What names mean at one place: the sources of a select block, then those of the blocks around it.
    struct Scope {
        std::vector<Source*> sources = {};
        Scope* outer = nullptr;
        Clause clause = Clause::Plain;
        bool hierarchical = false;
        bool aggregates = false; // an aggregate was met
    };

    // What a block is grouped by, to be found again.
    using Groups = std::unordered_map<size_t, const Expression*>;
    static Groups GroupsOf(const SelectBlock& block);

    // Sets the clause of a scope for as long as it lives.
    class ClauseGuard;

    void AnalyzeQuery(Query& query, Scope* outer, bool named);
    void AnalyzeBlock(SelectBlock& block, Scope& scope, bool named);
    void AnalyzeSource(Source& source, Scope* outer);
    void AnalyzeHierarchy(SelectBlock& block, Scope& scope);
    void AnalyzeOutputs(SelectBlock& block, Scope& scope, bool named);
    void AnalyzeOrder(Query& query, SelectBlock& block, Scope& scope);
    void AnalyzeUnionOrder(Query& query);
    void AnalyzeUpdate(Update& update);
    void ExpandStar(SelectBlock& block, const SelectItem& item, Scope& scope);
    void AddOutput(SelectBlock& block, const Expression& expression, const QString& name, Scope& scope);
    void UniteColumns(Query& query);
    void TakeRownum(SelectBlock& block);
    void CheckGrouping(const Groups& groups, const Expression& expression, const Scope& scope) const;
    QString NameOf(const Expression& expression);
    void Describe(const Query& query);
    bool GivesOneRow(const Query& query) const;

    void Condition(ExpressionPtr& expression, Scope& scope);
    void Value(ExpressionPtr& expression, Scope& scope);
    void Resolve(Expression& expression, Scope& scope);
    void Visit(Expression& expression, ColumnName& name, Scope& scope);
    void Visit(Expression& expression, Arithmetic& arithmetic, Scope& scope);
    void Visit(Expression& expression, Concatenation& joined, Scope& scope);
    void Visit(Expression& expression, ScalarQuery& scalar, Scope& scope);
    void Visit(Expression& expression, Between& between, Scope& scope);
    void Visit(Expression& expression, Like& like, Scope& scope);
    void Visit(Expression& expression, InList& list, Scope& scope);
    void Visit(Expression& expression, InQuery& in, Scope& scope);
    void Visit(Expression& expression, Case& choice, Scope& scope);
    void Visit(ExpressionPtr& expression, Scope& scope);
    void VisitCall(ExpressionPtr& expression, Scope& scope);
    void VisitAggregate(Expression& expression, Call& call, Scope& scope);
    void VisitChoice(Expression& expression, Call& call);
    void VisitConversion(ExpressionPtr& expression);
    void VisitTruncation(Expression& expression, Call& call);
    void VisitDecode(Expression& expression, Call& call);
    bool TakeMask(Call& call, size_t argument);
    bool TakeLanguage(Call& call);
    template <typename Read> void CheckMask(Position position, Read&& read) const;

    void Convert(ExpressionPtr& expression, Type to);
    void Wrap(ExpressionPtr& expression, Function function, Type type);
    void ConvertColumn(Query& query, Type to);
    // Converts all to the type in which they can be compared, or to the type of the first that has one; gives
    // it.
    Type Compare(const std::vector<ExpressionPtr*>& expressions);
    Type Unite(const std::vector<ExpressionPtr*>& expressions, int& width);
    void Arguments(Call& call, std::span<const Type> types);

    const wire::Value& Fix(int literal);
    [[noreturn]] void Raise(Position position, const QString& message) const;

    const Lexer& lexer_;
    const Catalog& catalog_;
    TranslationTime& time_;
    Analysis analysis_;
    int sources_ = 0;
    int starColumns_ = 0; // all that stars have become
};

class Analyzer::ClauseGuard {
public:
    ClauseGuard(Scope& scope, Clause clause)
        : scope_(scope)
        , before_(scope.clause)
    {
        scope.clause = clause;
    }
    ~ClauseGuard() { scope_.clause = before_; }
    ClauseGuard(const ClauseGuard&) = delete;
    ClauseGuard& operator=(const ClauseGuard&) = delete;

private:
    Scope& scope_;
    Clause before_;
};

} // namespace dialect
