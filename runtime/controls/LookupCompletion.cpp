#include "runtime/controls/LookupCompletion.h"

#include "runtime/data/Collation.h"

#include <QHash>

#include <algorithm>

namespace {

// The rows of a list by the texts of one field, the first row of each. Lives with the list, made when first
// asked and forgotten when the list changes.
class TListRows : public QObject {
public:
    static TListRows& Of(TClientDataSetEx* list, int field)
    {
        for (QObject* child : list->children()) {
            auto* rows = dynamic_cast<TListRows*>(child);
            if (rows && rows->field_ == field)
                return *rows;
        }
        return *new TListRows(list, field);
    }

    // -1 when none.
    int Find(const QString& text)
    {
        if (rows_.isEmpty()) {
            rows_.reserve(list_->RecordCount());
            for (int row = list_->RecordCount() - 1; row >= 0; --row)
                rows_.insert(list_->ViewText(row, field_), row);
        }
        return rows_.value(text, -1);
    }

private:
    TListRows(TClientDataSetEx* list, int field)
        : QObject(list)
        , list_(list)
        , field_(field)
    {
        const auto forget = [this] { rows_.clear(); };
        connect(list, &TClientDataSetEx::DataReset, this, forget);
        connect(list, &TClientDataSetEx::RowInserted, this, forget);
        connect(list, &TClientDataSetEx::RowRemoved, this, forget);
        connect(list, &TClientDataSetEx::RowChanged, this, forget);
        connect(list, &TClientDataSetEx::FieldChanged, this, forget);
    }

    TClientDataSetEx* list_;
    int field_;
    QHash<QString, int> rows_;
};

const QString& ShownField(const TLookupParams& params)
{
    return params.listField.isEmpty() ? params.keyField : params.listField;
}

TClientDataSetEx* OpenList(const TLookupParams& params)
{
    TClientDataSetEx* list = params.listSource ? params.listSource->DataSet() : nullptr;
    return list && list->Active() ? list : nullptr;
}

class Matcher {
public:
    Matcher(const TLookupParams& params, const TClientDataSetEx& list, const QString& typed)
        : list_(list)
        , typed_(typed)
        , shown_(list.FieldIndex(ShownField(params)))
        , lower_(typed.toLower())
        // Initials only make sense for what was typed in letters.
        , letters_(std::all_of(typed.begin(), typed.end(), [](QChar c) { return c.unicode() < 128; }))
    {
        Add(ShownField(params));
        Add(params.keyField);
        for (const QString& field : params.searchFields)
            Add(field);
    }

    bool Begins(int row) const
    {
        for (const int field : fields_) {
            if (list_.ViewText(row, field).startsWith(typed_, Qt::CaseInsensitive))
                return true;
        }
        return letters_ && shown_ >= 0 && PinyinInitials(list_.ViewText(row, shown_)).startsWith(lower_);
    }

    bool Contains(int row) const
    {
        return std::any_of(fields_.begin(), fields_.end(),
            [&](int field) { return list_.ViewText(row, field).contains(typed_, Qt::CaseInsensitive); });
    }

    bool Equals(int row) const
    {
        return std::any_of(
            fields_.begin(), fields_.end(), [&](int field) { return list_.ViewText(row, field) == typed_; });
    }

    bool Usable() const noexcept { return shown_ >= 0; }

private:
    void Add(const QString& fieldName)
    {
        const int field = list_.FieldIndex(fieldName);
        if (field >= 0 && std::find(fields_.begin(), fields_.end(), field) == fields_.end())
            fields_.push_back(field);
    }

    const TClientDataSetEx& list_;
    const QString& typed_;
    int shown_;
    QString lower_;
    bool letters_;
    std::vector<int> fields_;
};

} // namespace

int LookupRow(const TLookupParams& params, const QString& fieldName, const QString& text)
{
    TClientDataSetEx* list = OpenList(params);
    const int field = list ? list->FieldIndex(fieldName) : -1;
    if (field < 0)
        return -1;
    // While its views stand still a list tells of no change.
    if (!list->ControlsDisabled())
        return TListRows::Of(list, field).Find(text);
    for (int row = 0; row < list->RecordCount(); ++row) {
        if (list->ViewText(row, field) == text)
            return row;
    }
    return -1;
}

bool LookupKnows(const TLookupParams& params, const QString& text)
{
    return text.isEmpty() || !OpenList(params) || LookupRow(params, params.keyField, text) >= 0
        || LookupRow(params, ShownField(params), text) >= 0;
}

QString LookupShownText(const TLookupParams& params, const QString& key)
{
    const QString& shown = ShownField(params);
    if (key.isEmpty() || shown.compare(params.keyField, Qt::CaseInsensitive) == 0)
        return key;
    const int row = LookupRow(params, params.keyField, key);
    if (row < 0)
        return key;
    const TClientDataSetEx* list = OpenList(params);
    return list->ViewText(row, list->FieldIndex(shown));
}

TLookupMatches MatchingLookupRows(const TLookupParams& params, const QString& typed)
{
    TLookupMatches matches;
    const TClientDataSetEx* list = OpenList(params);
    if (!list)
        return matches;
    const Matcher matcher(params, *list, typed);
    std::vector<int> containing;
    for (int row = 0; row < list->RecordCount(); ++row) {
        if (typed.isEmpty() || matcher.Begins(row))
            matches.rows.push_back(row);
        else if (matcher.Contains(row))
            containing.push_back(row);
    }
    matches.beginning = int(matches.rows.size());
    matches.rows.insert(matches.rows.end(), containing.begin(), containing.end());
    return matches;
}

int CompleteLookup(const TLookupParams& params, const QString& typed)
{
    const TClientDataSetEx* list = OpenList(params);
    if (!list || typed.isEmpty() || LookupKnows(params, typed))
        return -1;
    const Matcher matcher(params, *list, typed);
    if (!matcher.Usable())
        return -1;
    int first = -1;
    for (int row = 0; row < list->RecordCount(); ++row) {
        if (matcher.Equals(row))
            return row;
        if (first < 0 && matcher.Begins(row))
            first = row;
    }
    return first;
}
