// Random work on a dataset and on a plain model of it: both must show the same after every step.

#include "runtime/data/Collation.h"
#include "tests/runtime/DataSetRows.h"

#include <algorithm>
#include <random>

using namespace Qt::Literals::StringLiterals;

namespace {

// Everything held row by row, nothing clever.
struct Model {
    struct ModelRow {
        Row original;
        Row present;
        bool inserted = false;
        bool deleted = false;
        bool gone = false;
    };
    std::vector<ModelRow> rows;
    std::vector<size_t> view;
    std::vector<std::pair<size_t, bool>> order; // field, descending
    bool filtered = false;
    int cursor = 0;

    bool Live(size_t row) const { return !rows[row].deleted && !rows[row].gone; }
    bool Passes(size_t row) const { return !filtered || !wire::IsNull(rows[row].present[1]); }
    static bool SameRow(const Row& a, const Row& b)
    {
        return std::equal(a.begin(), a.end(), b.begin(), wire::SameValue);
    }
    TRowStatus Status(size_t row) const
    {
        if (rows[row].gone)
            return TRowStatus::Unmodified;
        if (rows[row].inserted)
            return TRowStatus::Inserted;
        if (rows[row].deleted)
            return TRowStatus::Deleted;
        return SameRow(rows[row].original, rows[row].present) ? TRowStatus::Unmodified : TRowStatus::Modified;
    }
    int ChangeCount() const
    {
        int count = 0;
        for (size_t row = 0; row < rows.size(); ++row)
            count += Status(row) != TRowStatus::Unmodified;
        return count;
    }
    static int Compare(const wire::Value& a, const wire::Value& b)
    {
        if (wire::IsNull(a) || wire::IsNull(b))
            return static_cast<int>(wire::IsNull(b)) - static_cast<int>(wire::IsNull(a));
        if (const auto* text = std::get_if<QString>(&a))
            return CompareChinese(*text, std::get<QString>(b));
        return a < b ? -1 : b < a ? 1 : 0;
    }
    void Rebuild()
    {
        const std::optional<size_t> current =
            view.empty() ? std::nullopt : std::optional(view[static_cast<size_t>(cursor)]);
        view.clear();
        for (size_t row = 0; row < rows.size(); ++row)
            if (Live(row) && Passes(row))
                view.push_back(row);
        std::stable_sort(view.begin(), view.end(), [this](size_t a, size_t b) {
            for (const auto& [field, descending] : order)
                if (const int c = Compare(rows[a].present[field], rows[b].present[field]))
                    return descending ? c > 0 : c < 0;
            return false;
        });
        const auto kept = current ? std::find(view.begin(), view.end(), *current) : view.end();
        cursor = view.empty() ? -1 : kept == view.end() ? 0 : static_cast<int>(kept - view.begin());
    }
    void RemoveFromView(int index)
    {
        view.erase(view.begin() + index);
        if (cursor > index || cursor == static_cast<int>(view.size()))
            --cursor;
    }
    void Undo(size_t row)
    {
        rows[row].gone = rows[row].gone || rows[row].inserted;
        rows[row].inserted = rows[row].deleted = false;
        rows[row].present = rows[row].original;
    }
};

class DataSetModelTest : public testing::TestWithParam<unsigned> {
protected:
    static std::vector<wire::ColumnInfo> Infos()
    {
        return {Column(u"SITE", wire::ColumnType::Text), Column(u"N", wire::ColumnType::Integer),
            Column(u"AMOUNT", wire::ColumnType::Number)};
    }
    int Random(int below) { return std::uniform_int_distribution<int>(0, below - 1)(engine); }
    wire::Value RandomValue(size_t field)
    {
        static const QStringList sites{u"上海"_s, u"北京"_s, u"B"_s, u"a"_s, u"D1"_s, QString()};
        switch (field) {
        case 0:
            return wire::TextValue(sites[Random(6)]);
        case 1:
            return Random(4) == 0 ? Null : I(Random(5));
        default:
            return Random(4) == 0 ? Null : N(Random(9) / 4.0);
        }
    }
    Row RandomRow() { return {RandomValue(0), RandomValue(1), RandomValue(2)}; }

    void Start()
    {
        std::vector<Row> rows;
        for (int i = Random(40); i >= 0; --i)
            rows.push_back(RandomRow());
        set.OpenRows(MakeRows(Infos(), rows));
        for (const Row& row : rows)
            model.rows.push_back({row, row});
        model.Rebuild();
        model.cursor = 0;
    }
    void Step();
    void Compare(int step);

    std::mt19937 engine{GetParam()};
    TClientDataSetEx set;
    Model model;
};

void DataSetModelTest::Step()
{
    const bool empty = model.view.empty();
    const auto current = [&] { return model.view[static_cast<size_t>(model.cursor)]; };
    const auto write = [&](Model::ModelRow& row) {
        for (size_t field = 0; field < 3; ++field) {
            if (Random(2) == 0)
                continue;
            const wire::Value value = Random(4) == 0 ? row.original[field] : RandomValue(field);
            set.Field(static_cast<int>(field)).SetValue(value);
            row.present[field] = value;
        }
    };
    switch (Random(13)) {
    case 0:
    case 1:
    case 2: { // edit, post or cancel
        if (empty)
            return;
        set.Edit();
        Model::ModelRow edited = model.rows[current()];
        write(edited);
        if (Random(4) == 0) {
            set.Cancel();
            return;
        }
        set.Post();
        model.rows[current()] = edited;
        if (!model.Passes(current()))
            model.RemoveFromView(model.cursor);
        return;
    }
    case 3: { // append or insert
        const bool append = Random(2) == 0;
        append ? set.Append() : set.Insert();
        Model::ModelRow row{{Null, Null, Null}, {Null, Null, Null}, true};
        write(row);
        if (Random(4) == 0) {
            row.gone = true;
            model.rows.push_back(row);
            set.Cancel();
            return;
        }
        set.Post();
        model.cursor = append ? static_cast<int>(model.view.size()) : std::max(model.cursor, 0);
        model.view.insert(model.view.begin() + model.cursor, model.rows.size());
        model.rows.push_back(row);
        if (!model.Passes(current()))
            model.RemoveFromView(model.cursor);
        return;
    }
    case 4: {
        if (empty)
            return;
        set.Delete();
        Model::ModelRow& row = model.rows[current()];
        row.gone = row.inserted;
        row.deleted = !row.inserted;
        row.inserted = false;
        model.RemoveFromView(model.cursor);
        return;
    }
    case 5: {
        if (empty)
            return;
        const size_t row = current();
        const bool changed = model.Status(row) != TRowStatus::Unmodified;
        ASSERT_EQ(set.UndoCurrentRow(), changed);
        if (!changed)
            return;
        model.Undo(row);
        if (!model.Live(row) || !model.Passes(row))
            model.RemoveFromView(model.cursor);
        return;
    }
    case 6: {
        if (Random(4) != 0)
            return;
        const bool changed = model.ChangeCount() > 0;
        set.CancelUpdates();
        for (size_t row = 0; row < model.rows.size(); ++row)
            if (model.Status(row) != TRowStatus::Unmodified)
                model.Undo(row);
        if (changed)
            model.Rebuild();
        return;
    }
    case 7: {
        if (Random(4) != 0)
            return;
        set.MergeChangeLog();
        for (Model::ModelRow& row : model.rows) {
            row.gone = row.gone || row.deleted;
            row.inserted = row.deleted = false;
            row.original = row.present;
        }
        return;
    }
    case 8: {
        static const QStringList fields{u"SITE"_s, u"N"_s, u"AMOUNT"_s};
        QStringList names;
        QStringList descending;
        model.order.clear();
        for (int count = Random(4); count > 0; --count) {
            const int field = Random(3);
            if (names.contains(fields[field]))
                continue;
            names.append(fields[field]);
            model.order.emplace_back(field, Random(2) == 0);
            if (model.order.back().second)
                descending.append(fields[field]);
        }
        if (names.isEmpty()) {
            set.SetIndexName({});
        } else {
            set.AddIndex(u"i"_s, names.join(u';'), descending.join(u';'));
            set.SetIndexName(u"i"_s);
        }
        model.Rebuild();
        return;
    }
    case 9:
        set.SetFilter(u"N is not null"_s);
        set.SetFiltered(!model.filtered);
        model.filtered = !model.filtered;
        model.Rebuild();
        return;
    case 10: {
        const int distance = Random(7) - 3;
        set.MoveBy(distance);
        if (!empty)
            model.cursor = std::clamp(model.cursor + distance, 0, static_cast<int>(model.view.size()) - 1);
        return;
    }
    case 11: {
        const size_t row = static_cast<size_t>(Random(static_cast<int>(model.rows.size()) + 3));
        const auto found = std::find(model.view.begin(), model.view.end(), row);
        ASSERT_EQ(set.GotoBookmark(static_cast<TBookmark>(row) + 1), found != model.view.end());
        if (found != model.view.end())
            model.cursor = static_cast<int>(found - model.view.begin());
        return;
    }
    default: {
        const wire::Value site = RandomValue(0);
        const wire::Value number = RandomValue(1);
        const auto found = std::find_if(model.view.begin(), model.view.end(), [&](size_t row) {
            return model.rows[row].present[0] == site && model.rows[row].present[1] == number;
        });
        ASSERT_EQ(set.Locate(u"SITE;N", {site, number}), found != model.view.end());
        if (found != model.view.end())
            model.cursor = static_cast<int>(found - model.view.begin());
        return;
    }
    }
}

void DataSetModelTest::Compare(int step)
{
    ASSERT_EQ(set.RecordCount(), static_cast<int>(model.view.size())) << step;
    ASSERT_EQ(set.RecNo(), model.cursor + 1) << step;
    ASSERT_EQ(set.ChangeCount(), model.ChangeCount()) << step;
    for (int i = 0; i < set.RecordCount(); ++i) {
        const size_t row = model.view[static_cast<size_t>(i)];
        ASSERT_EQ(set.ViewBookmark(i), row + 1) << step;
        ASSERT_EQ(set.ViewRowOf(static_cast<TBookmark>(row + 1)), i) << step;
        ASSERT_EQ(set.ViewStatus(i), model.Status(row)) << step;
        for (int field = 0; field < 3; ++field)
            ASSERT_EQ(set.ViewValue(i, field), model.rows[row].present[static_cast<size_t>(field)]) << step;
    }
    if (!model.view.empty())
        for (int field = 0; field < 3; ++field) {
            const Model::ModelRow& row = model.rows[model.view[static_cast<size_t>(model.cursor)]];
            ASSERT_EQ(
                set.Field(field).OldValue(), row.inserted ? Null : row.original[static_cast<size_t>(field)])
                << step;
        }
}

TEST_P(DataSetModelTest, StaysEqualToTheModel)
{
    Start();
    for (int step = 0; step < 1000; ++step) {
        Step();
        if (HasFatalFailure())
            FAIL() << "step " << step;
        Compare(step);
        if (HasFatalFailure())
            return;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, DataSetModelTest, testing::Range(1U, 9U));

} // namespace
