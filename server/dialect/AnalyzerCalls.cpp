#include "server/dialect/Analyzer.h"

#include "server/dialect/DateFormats.h"
#include "server/dialect/Limits.h"
#include "server/dialect/NumberFormats.h"
#include "server/dialect/Refusals.h"

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

// Calls: what each function takes and gives, and the masks that some of them are told.
namespace dialect {

namespace {

// What a call takes and gives, where its arguments have no say in it.
struct Signature {
    Function function;
    Type gives;
    std::array<Type, 4> takes; // as many as it may have
    bool keepsWidth = false; // the first one's
};

constexpr Signature kSignatures[]{
    {Function::Substr, Type::Text, {Type::Text, Type::Integer, Type::Integer}, true},
    {Function::Length, Type::Integer, {Type::Text}},
    {Function::Instr, Type::Integer, {Type::Text, Type::Text, Type::Integer, Type::Integer}},
    {Function::Upper, Type::Text, {Type::Text}, true},
    {Function::Lower, Type::Text, {Type::Text}, true},
    {Function::Trim, Type::Text, {Type::Text, Type::Text}, true},
    {Function::LTrim, Type::Text, {Type::Text, Type::Text}, true},
    {Function::RTrim, Type::Text, {Type::Text, Type::Text}, true},
    {Function::Replace, Type::Text, {Type::Text, Type::Text, Type::Text}},
    {Function::LPad, Type::Text, {Type::Text, Type::Integer, Type::Text}},
    {Function::RPad, Type::Text, {Type::Text, Type::Integer, Type::Text}},
    {Function::Sign, Type::Integer, {Type::Number}},
    {Function::Ceil, Type::Number, {Type::Number}},
    {Function::Floor, Type::Number, {Type::Number}},
    {Function::Power, Type::Number, {Type::Number, Type::Number}},
    {Function::AddMonths, Type::Date, {Type::Date, Type::Number}},
    {Function::LastDay, Type::Date, {Type::Date}},
    {Function::MonthsBetween, Type::Number, {Type::Date, Type::Date}},
};

} // namespace

void Analyzer::VisitCall(ExpressionPtr& expression, Scope& scope)
{
    auto& call = std::get<Call>(expression->node);
    if (IsAggregate(call.function)) {
        VisitAggregate(*expression, call, scope);
        return;
    }
    for (ExpressionPtr& argument : call.arguments)
        Value(argument, scope);
    const auto* const plain = std::ranges::find(kSignatures, call.function, &Signature::function);
    if (plain != std::end(kSignatures)) {
        Arguments(call, plain->takes);
        expression->type = plain->gives;
        expression->width = plain->keepsWidth ? call.arguments[0]->width : 0;
        return;
    }
    switch (call.function) {
    case Function::Round:
    case Function::Trunc:
        return VisitTruncation(*expression, call);
    case Function::Mod:
        Arguments(call, std::array{Type::Number, Type::Number});
        expression->type = call.arguments[0]->type == Type::Integer ? call.arguments[1]->type : Type::Number;
        return;
    case Function::Abs:
        Arguments(call, std::array{Type::Number});
        expression->type = call.arguments[0]->type;
        return;
    case Function::ToDate:
    case Function::ToChar:
    case Function::ToNumber:
        return VisitConversion(expression);
    default:
        return VisitChoice(*expression, call);
    }
}

// What gives one of its arguments.
void Analyzer::VisitChoice(Expression& expression, Call& call)
{
    std::vector<ExpressionPtr*> all;
    for (ExpressionPtr& argument : call.arguments)
        all.push_back(&argument);
    switch (call.function) {
    case Function::Nvl:
    case Function::Coalesce:
    case Function::Greatest:
    case Function::Least:
        expression.type = Unite(all, expression.width);
        return;
    case Function::Nvl2:
        expression.type = Unite({all[1], all[2]}, expression.width);
        return;
    case Function::NullIf:
        Compare(all);
        expression.type = call.arguments[0]->type;
        expression.width = call.arguments[0]->width;
        return;
    case Function::Decode:
        return VisitDecode(expression, call);
    default:
        return;
    }
}

void Analyzer::VisitAggregate(Expression& expression, Call& call, Scope& scope)
{
    if (scope.clause != Clause::Grouped)
        Raise(expression.start, texts::AggregateHere(InfoOf(call.function).name.toString()));
    scope.aggregates = true;
    const ClauseGuard inside(scope, Clause::InAggregate);
    Named named;
    for (ExpressionPtr& argument : call.arguments) {
        Value(argument, scope);
        NoteNames(*argument, scope.sources, named);
    }
    // Databases would take it for one of the query around this one.
    if (named.outer && !named.own)
        Raise(expression.start, texts::AggregateHere(InfoOf(call.function).name.toString()));
    if (call.function == Function::Count) {
        expression.type = Type::Integer;
        return;
    }
    ExpressionPtr& argument = call.arguments.front();
    if (call.function == Function::Sum || call.function == Function::Avg) {
        if (!IsNumeric(argument->type))
            Convert(argument, Type::Number);
        const bool whole = call.function == Function::Sum && argument->type == Type::Integer;
        expression.type = whole ? Type::Integer : Type::Number;
        return;
    }
    expression.type = argument->type;
    expression.width = argument->width;
}

// to_date, to_char and to_number. A literal date is read at translation; a conversion to what the argument
// already is falls away.
void Analyzer::VisitConversion(ExpressionPtr& expression)
{
    auto& call = std::get<Call>(expression->node);
    const bool english = TakeLanguage(call);
    const bool masked = TakeMask(call, 1);
    if (english)
        call.mask = DateMask::InEnglish(call.mask);
    const Position position = expression->start;
    const ExpressionPtr& argument = call.arguments.front();
    const Type from = argument->type;
    const Type to = call.function == Function::ToDate ? Type::Date
        : call.function == Function::ToChar           ? Type::Text
                                                      : Type::Number;
    if (from == to || (to == Type::Number && IsNumeric(from)) || from == Type::Null) {
        ExpressionPtr inner = std::move(call.arguments.front());
        if (from == Type::Null)
            inner->type = to;
        inner->start = expression->start;
        inner->end = expression->end;
        expression = std::move(inner);
        return;
    }
    if (to == Type::Date) {
        if (from != Type::Text)
            Convert(call.arguments.front(), Type::Text);
        if (!masked)
            call.mask = DefaultDateMask();
        CheckMask(position, [&] { DateMask(call.mask).CheckReadable(); });
        if (const auto* literal = call.arguments.front()->As<Literal>()) {
            LiteralUse& use = analysis_.literals[static_cast<size_t>(literal->literal)];
            use.conversion = LiteralUse::Conversion::ToDate;
            use.mask = call.mask;
            expression->node = DateLiteral{literal->literal};
        }
    } else if (to == Type::Text && from == Type::Date) {
        if (!masked)
            call.mask = DefaultDateMask();
        CheckMask(position, [&] { DateMask mask(call.mask); });
    } else if (from == Type::Date) {
        Raise(expression->start, texts::TypeMismatch());
    } else if (masked) {
        CheckMask(position, [&] { NumberMask mask(call.mask); });
    }
    expression->type = to;
}

// round and trunc of a number (to places) or a date (to a unit, the day without one).
void Analyzer::VisitTruncation(Expression& expression, Call& call)
{
    if (call.arguments.front()->type == Type::Date) {
        if (!TakeMask(call, 1))
            call.mask = u"dd"_s;
        CheckMask(expression.start, [&] { DateUnitOf(call.mask); });
        expression.type = Type::Date;
        return;
    }
    Arguments(call, std::array{Type::Number, Type::Integer});
    expression.type = call.arguments.front()->type;
}

// decode(value, search, result, …, otherwise)
void Analyzer::VisitDecode(Expression& expression, Call& call)
{
    std::vector<ExpressionPtr*> compared{&call.arguments[0]};
    std::vector<ExpressionPtr*> results;
    for (size_t i = 1; i < call.arguments.size(); ++i) {
        const bool search = i % 2 == 1 && i + 1 < call.arguments.size();
        (search ? compared : results).push_back(&call.arguments[i]);
    }
    Compare(compared);
    expression.type = Unite(results, expression.width);
}

// Runs what reads a format; what it raises gets the place in the text.
template <typename Read> void Analyzer::CheckMask(Position position, Read&& read) const
{
    try {
        read();
    } catch (const wire::Error& error) {
        Raise(position, error.Message());
    }
}

// The third argument of to_date and to_char, 'nls_date_language=…', as it says in which language names are
// written; true: English.
bool Analyzer::TakeLanguage(Call& call)
{
    constexpr size_t kArgument = 2;
    if (call.arguments.size() <= kArgument)
        return false;
    const Expression& argument = *call.arguments[kArgument];
    const auto* literal = argument.As<Literal>();
    if (!literal || argument.type != Type::Text)
        Raise(argument.start, texts::MaskLiteral());
    const QString setting = std::get<QString>(Fix(literal->literal)).toLower().remove(u' ').remove(u'\'');
    constexpr QStringView kSetting = u"nls_date_language=";
    const QString language = setting.startsWith(kSetting) ? setting.sliced(kSetting.size()) : QString();
    const bool english = language == u"american" || language == u"english";
    if (!english && language != u"simplifiedchinese")
        Raise(argument.start, texts::NotSupported(texts::Quoted(texts::Shortened(setting))));
    call.arguments.pop_back();
    return english;
}

// Moves the format from the arguments to the call; false when there is none.
bool Analyzer::TakeMask(Call& call, size_t argument)
{
    if (call.arguments.size() <= argument)
        return false;
    const Expression& mask = *call.arguments[argument];
    const auto* literal = mask.As<Literal>();
    if (!literal || mask.type != Type::Text)
        Raise(mask.start, texts::MaskLiteral());
    call.mask = std::get<QString>(Fix(literal->literal));
    call.arguments.erase(call.arguments.begin() + static_cast<qsizetype>(argument));
    return true;
}

} // namespace dialect
