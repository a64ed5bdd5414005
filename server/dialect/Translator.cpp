#include "server/dialect/DateFormats.h"
#include "server/dialect/Limits.h"
#include "server/dialect/NumberFormats.h"
#include "server/dialect/Parse.h"
#include "server/dialect/Printer.h"
#include "server/dialect/Refusals.h"

#include <QScopeGuard>

#include <list>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace dialect {
namespace {

// More than all screens' texts, whichever filters are set.
constexpr size_t kMostTranslations = 400;
// Of their texts: far more than those need.
constexpr size_t kMostBytes = 8 << 20;

// What becomes of a text literal before it is bound: a date by its format, without one a number.
struct Conversion {
    size_t literal;
    QString mask;
    std::optional<DateMask> date;
};

wire::Value Converted(const QString& text, const Conversion& conversion, QStringView sqlText)
{
    if (!conversion.date) {
        if (const auto number = ReadNumber(text))
            return *number;
        throw wire::Error(wire::ErrorKind::Data, texts::InvalidNumber(text) + u'！', sqlText.toString());
    }
    if (const auto date = conversion.date->Read(text))
        return *date;
    throw wire::Error(
        wire::ErrorKind::Data, texts::InvalidDate(text, conversion.mask) + u'！', sqlText.toString());
}

// One translation, and for which of the texts of its shape it holds.
struct Entry {
    std::u16string shape;
    std::vector<std::pair<size_t, wire::Value>> fixed; // literals that must have these values
    std::vector<Conversion> conversions;
    std::shared_ptr<const Translation> translation;

    size_t Bytes() const
    {
        size_t bytes = shape.size() * sizeof(char16_t) + translation->sql.size();
        for (const auto& [literal, value] : fixed) {
            if (const auto* text = std::get_if<QString>(&value))
                bytes += static_cast<size_t>(text->size()) * sizeof(QChar);
        }
        for (const wire::ColumnInfo& column : *translation->columns)
            bytes += sizeof(column) + static_cast<size_t>(column.name.size()) * sizeof(QChar);
        return bytes;
    }
    bool Holds(const std::vector<wire::Value>& literals) const
    {
        for (const auto& [literal, value] : fixed) {
            if (literals[literal] != value)
                return false;
        }
        return true;
    }
};

} // namespace

class Translator::Private {
public:
    Private(std::shared_ptr<const Catalog> catalog, Target target)
        : catalog_(std::move(catalog))
        , target_(target)
    {
    }

    Translated Translate(QStringView sqlText)
    {
        const auto letGo = qScopeGuard([this] { lexer_.LetGo(); });
        lexer_.Read(sqlText);
        Entry* entry = Find();
        ++(entry ? counts_.found : counts_.made);
        if (!entry)
            entry = Add();
        if (target_ == Target::Verbatim) {
            // What the database would not cut into the same words has not been checked.
            if (const Position blank = lexer_.WideBlank(); blank >= 0)
                throw SyntaxError(sqlText, blank, texts::BadCharacter(sqlText.sliced(blank, 1).toString()));
            return {Verbatim(*entry->translation, sqlText), {}};
        }
        Translated result{entry->translation, lexer_.TakeLiterals()};
        for (const Conversion& conversion : entry->conversions) {
            wire::Value& literal = result.literals[conversion.literal];
            literal = Converted(std::get<QString>(literal), conversion, sqlText);
        }
        return result;
    }

    Counts TakeCounts() noexcept { return std::exchange(counts_, {}); }

private:
    using Entries = std::list<Entry>;

    // The most recently used first.
    Entry* Find()
    {
        const auto [from, to] = byShape_.equal_range(lexer_.Shape());
        for (auto it = from; it != to; ++it) {
            if (it->second->Holds(lexer_.Literals())) {
                entries_.splice(entries_.begin(), entries_, it->second);
                return &entries_.front();
            }
        }
        return nullptr;
    }

    Entry* Add()
    {
        TranslationTime time(lexer_.Text());
        Statement statement = Parse(lexer_, time);
        const Analysis analysis = Analyze(statement, lexer_, *catalog_, time);
        Printed printed = Print(statement, analysis, time);
        auto translation = std::make_shared<Translation>();
        translation->kind =
            std::holds_alternative<Update>(statement) ? StatementKind::Update : StatementKind::Select;
        translation->sql = std::move(printed.sql);
        translation->parameters = std::move(printed.parameters);
        translation->columns = analysis.columns;
        translation->tables = analysis.tables;
        translation->targetTable = analysis.targetTable;

        Entry entry{lexer_.Shape(), {}, {}, std::move(translation)};
        for (size_t i = 0; i < analysis.literals.size(); ++i) {
            const LiteralUse& use = analysis.literals[i];
            if (use.fixed)
                entry.fixed.emplace_back(i, lexer_.Literals()[i]);
            if (use.conversion == LiteralUse::Conversion::ToNumber)
                entry.conversions.push_back({i, {}, {}});
            else if (use.conversion == LiteralUse::Conversion::ToDate)
                entry.conversions.push_back({i, DateMask(use.mask).Text(), DateMask(use.mask)});
        }
        bytes_ += entry.Bytes();
        while (!entries_.empty() && (entries_.size() >= kMostTranslations || bytes_ > kMostBytes))
            Forget();
        entries_.push_front(std::move(entry));
        byShape_.emplace(entries_.front().shape, entries_.begin());
        return &entries_.front();
    }

    Printed Print(const Statement& statement, const Analysis& analysis, TranslationTime& time) const
    {
        switch (target_) {
        case Target::Sqlite:
            return PrintForSqlite(statement, analysis, time);
        case Target::Postgres:
            return PrintForPostgres(statement, analysis, time);
        case Target::Verbatim:
            break;
        }
        return {};
    }

    static std::shared_ptr<const Translation> Verbatim(const Translation& shape, QStringView sqlText)
    {
        while (!sqlText.isEmpty() && sqlText.back().isSpace())
            sqlText.chop(1);
        auto translation = std::make_shared<Translation>(shape);
        translation->sql = sqlText.toUtf8().toStdString();
        return translation;
    }

    void Forget()
    {
        const auto last = std::prev(entries_.end());
        const auto [from, to] = byShape_.equal_range(last->shape);
        for (auto it = from; it != to; ++it) {
            if (it->second == last) {
                byShape_.erase(it);
                break;
            }
        }
        bytes_ -= last->Bytes();
        entries_.erase(last);
    }

    std::shared_ptr<const Catalog> catalog_;
    Target target_;
    Lexer lexer_;
    Counts counts_;
    Entries entries_;
    size_t bytes_ = 0; // of all entries
    std::unordered_multimap<std::u16string_view, Entries::iterator> byShape_; // views into the entries
};

Translator::Translator(std::shared_ptr<const Catalog> catalog, Target target)
    : d_(std::make_unique<Private>(std::move(catalog), target))
{
}

Translator::~Translator() = default;

Translated Translator::Translate(QStringView sqlText)
{
    return d_->Translate(sqlText);
}

Translator::Counts Translator::TakeCounts() noexcept
{
    return d_->TakeCounts();
}

} // namespace dialect
