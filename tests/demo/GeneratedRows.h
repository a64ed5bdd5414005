#pragma once

#include "demo/Generator.h"

#include <QStringList>

#include <algorithm>
#include <map>
#include <set>

// Generated rows held for the tests.
struct Table {
    const company::Table* def = nullptr;
    std::vector<std::vector<wire::Value>> rows;

    std::size_t Position(QStringView column) const
    {
        const auto found = std::find_if(def->columns.begin(), def->columns.end(),
            [&](const company::Column& candidate) { return column == candidate.name; });
        if (found == def->columns.end())
            throw std::out_of_range(column.toUtf8().constData());
        return static_cast<std::size_t>(found - def->columns.begin());
    }
};

// One row with its columns by name.
class Row {
public:
    Row(const Table& table, const std::vector<wire::Value>& values)
        : table_(table)
        , values_(values)
    {
    }
    const wire::Value& operator[](QStringView column) const { return values_[table_.Position(column)]; }
    QString Text(QStringView column) const { return wire::ToText((*this)[column]); }
    bool Has(QStringView column) const { return !wire::IsNull((*this)[column]); }
    // -100 where null, which no status is.
    qint64 Integer(QStringView column) const
    {
        return Has(column) ? std::get<qint64>((*this)[column]) : -100;
    }
    // 0 where null.
    qint64 Moment(QStringView column) const
    {
        return Has(column) ? std::get<wire::DateTime>((*this)[column]).seconds : 0;
    }

private:
    const Table& table_;
    const std::vector<wire::Value>& values_;
};

class TableSink : public company::RowSink {
public:
    void BeginTable(const company::Table& table) override
    {
        current_ = &tables[table.name];
        current_->def = &table;
    }
    void Row(std::span<const wire::Value> values) override
    {
        current_->rows.emplace_back(values.begin(), values.end());
    }
    void EndTable() override { current_ = nullptr; }

    std::map<QString, Table> tables;

private:
    Table* current_ = nullptr;
};

inline wire::DateTime TestNow()
{
    return wire::DateTime::FromParts(2024, 1, 31, 15, 30, 0);
}

inline std::map<QString, Table> GenerateTables(qint64 orders, const wire::DateTime& now, quint64 seed)
{
    TableSink sink;
    demo::Generate({orders, now, seed, {}}, sink);
    return std::move(sink.tables);
}

// The small set, generated once.
inline const Table& SmallTable(const QString& name)
{
    static const std::map<QString, Table> tables = GenerateTables(5'000, TestNow(), 1);
    return tables.at(name);
}

template <typename Visit> void ForEach(const Table& table, const Visit& visit)
{
    for (const std::vector<wire::Value>& values : table.rows)
        visit(Row(table, values));
}

inline std::set<QString> Texts(const Table& table, QStringView column)
{
    std::set<QString> texts;
    const std::size_t position = table.Position(column);
    for (const std::vector<wire::Value>& row : table.rows)
        texts.insert(wire::ToText(row[position]));
    return texts;
}
