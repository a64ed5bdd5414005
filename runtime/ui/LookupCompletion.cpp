#include "runtime/ui/LookupCompletion.h"

#include "runtime/data/Collation.h"

#include <algorithm>

namespace {

const QString& ShownField(const TLookupParams& params)
{
    return params.listField.isEmpty() ? params.keyField : params.listField;
}

const TClientDataSetEx* OpenList(const TLookupParams& params)
{
    const TClientDataSetEx* list = params.listSource ? params.listSource->DataSet() : nullptr;
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

    bool Equals(int row) const
    {
        return std::any_of(
            fields_.begin(), fields_.end(), [&](int field) { return list_.ViewText(row, field) == typed_; });
    }

    QString Shown(int row) const { return list_.ViewText(row, shown_); }
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
    const TClientDataSetEx* list = OpenList(params);
    const int field = list ? list->FieldIndex(fieldName) : -1;
    if (field < 0)
        return -1;
    for (int row = 0; row < list->RecordCount(); ++row) {
        if (list->ViewText(row, field) == text)
            return row;
    }
    return -1;
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

std::vector<int> MatchingLookupRows(const TLookupParams& params, const QString& typed)
{
    std::vector<int> rows;
    const TClientDataSetEx* list = OpenList(params);
    if (!list)
        return rows;
    const Matcher matcher(params, *list, typed);
    for (int row = 0; row < list->RecordCount(); ++row) {
        if (typed.isEmpty() || matcher.Begins(row))
            rows.push_back(row);
    }
    return rows;
}

QString CompleteLookup(const TLookupParams& params, const QString& typed)
{
    const TClientDataSetEx* list = OpenList(params);
    if (!list || typed.isEmpty())
        return typed;
    if (LookupRow(params, params.keyField, typed) >= 0 || LookupRow(params, ShownField(params), typed) >= 0)
        return typed;
    const Matcher matcher(params, *list, typed);
    if (!matcher.Usable())
        return typed;
    int first = -1;
    for (int row = 0; row < list->RecordCount(); ++row) {
        if (matcher.Equals(row))
            return matcher.Shown(row);
        if (first < 0 && matcher.Begins(row))
            first = row;
    }
    return first < 0 ? typed : matcher.Shown(first);
}
