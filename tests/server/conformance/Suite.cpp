#include "tests/server/conformance/Suite.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <algorithm>
#include <iterator>

using namespace Qt::Literals::StringLiterals;

namespace conformance {
namespace {

QString Folder()
{
    return QStringLiteral(ZELMOR_CONFORMANCE_DIR);
}

struct Lines {
    QString file;
    QStringList lines;
    qsizetype at = 0;

    explicit Lines(const QString& name)
        : file(name)
    {
        QFile source(Folder() + u'/' + name);
        if (!source.open(QIODevice::ReadOnly))
            throw wire::Error(wire::ErrorKind::Usage, name + u": cannot be opened"_s);
        lines = QString::fromUtf8(source.readAll()).split(u'\n');
    }
    bool AtEnd() const { return at >= lines.size(); }
    const QString& Next() const { return lines[at]; }
    bool NextIsText() const { return !AtEnd() && !Next().isEmpty(); }
    [[noreturn]] void Fail(const QString& why) const
    {
        throw wire::Error(wire::ErrorKind::Usage, u"%1:%2: %3"_s.arg(file).arg(at + 1).arg(why));
    }
};

ExpectedError ReadError(const QString& text, const Lines& lines)
{
    static const QRegularExpression form(u"^(syntax|policy|data)( (\\d+):(\\d+))?$"_s);
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch())
        lines.Fail(u"unknown error"_s);
    const QString kind = match.captured(1);
    return {kind == u"syntax"   ? wire::ErrorKind::Syntax
            : kind == u"policy" ? wire::ErrorKind::Policy
                                : wire::ErrorKind::Data,
        match.captured(3).toInt(), match.captured(4).toInt()};
}

Case ReadCase(Lines& lines)
{
    Case result;
    result.file = lines.file;
    result.line = static_cast<int>(lines.at) + 1;
    for (; lines.NextIsText(); ++lines.at) {
        const QString& line = lines.Next();
        if (line.startsWith(u'#'))
            continue;
        const qsizetype colon = line.indexOf(u": "_s);
        const QString key = line.first(std::max<qsizetype>(colon, 0));
        const QString value = line.mid(colon + 2);
        if (key == u"case") {
            result.name = value;
        } else if (key == u"sql" || key == u"statement") {
            result.sql = value;
            result.executed = key == u"statement";
        } else if (key == u"columns") {
            result.columns = value;
        } else if (key == u"changed") {
            result.changed = value.toLongLong();
            result.executed = true;
        } else if (key == u"then") {
            result.then = value;
        } else if (key == u"error") {
            result.error = ReadError(value, lines);
        } else if (key == u"rows" || key == u"rows in any order") {
            result.ordered = key == u"rows";
            result.compared = value.split(u'|');
            for (++lines.at; lines.NextIsText(); ++lines.at)
                result.rows.push_back(lines.Next());
            break;
        } else {
            lines.Fail(u"unknown line"_s);
        }
    }
    if (result.name.isEmpty() || result.sql.isEmpty() || (result.compared.isEmpty() && !result.error))
        lines.Fail(u"incomplete case"_s);
    return result;
}

std::vector<size_t> ReadColumns(const company::Table& table, const Lines& lines)
{
    std::vector<size_t> columns;
    for (const QString& name : lines.Next().split(u'|')) {
        const auto found = std::ranges::find(table.columns, name, &company::Column::name);
        if (found == table.columns.end())
            lines.Fail(u"unknown column "_s + name);
        columns.push_back(static_cast<size_t>(found - table.columns.begin()));
    }
    return columns;
}

QString TypeName(wire::ColumnType type)
{
    switch (type) {
    case wire::ColumnType::Integer:
        return u"integer"_s;
    case wire::ColumnType::Number:
        return u"number"_s;
    case wire::ColumnType::DateTime:
        return u"date"_s;
    case wire::ColumnType::Text:
        break;
    }
    return u"text"_s;
}

QString CheckRows(const Case& which, const wire::RowSet& result)
{
    QStringList columns;
    for (const wire::ColumnInfo& info : result.infos)
        columns.push_back(info.name + u' ' + TypeName(info.type));
    if (!which.columns.isEmpty() && columns.join(u", "_s) != which.columns)
        return u"columns are "_s + columns.join(u", "_s);
    QStringList rows;
    for (qsizetype row = 0; row < result.RowCount(); ++row) {
        QStringList cells;
        for (const QString& name : which.compared) {
            const int column = result.IndexOf(name);
            if (column < 0)
                return u"no column "_s + name;
            cells.push_back(wire::ToText(result.columns[static_cast<size_t>(column)].ValueAt(row)));
        }
        rows.push_back(cells == QStringList(QString()) ? u"NULL"_s : cells.join(u'|'));
    }
    QStringList expected = which.rows;
    if (!which.ordered) {
        rows.sort();
        expected.sort();
    }
    return rows == expected
        ? QString()
        : u"rows are\n"_s + rows.join(u'\n') + u"\nand should be\n"_s + expected.join(u'\n');
}

QString CheckError(const ExpectedError& expected, const wire::Error& error)
{
    if (error.Kind() != expected.kind)
        return u"another kind of error: "_s + error.Message();
    if (expected.line == 0)
        return {};
    static const QRegularExpression place(u"第(\\d+)行第(\\d+)列"_s);
    const QRegularExpressionMatch match = place.match(error.Message());
    const bool same =
        match.captured(1).toInt() == expected.line && match.captured(2).toInt() == expected.column;
    return same ? QString() : u"another place: "_s + error.Message();
}

} // namespace

wire::DateTime Now()
{
    return wire::DateTime::FromParts(2024, 3, 5, 12);
}

std::vector<TableRows> ReadTables()
{
    std::vector<TableRows> tables;
    Lines lines(u"data.tables"_s);
    TableRows* into = nullptr;
    bool more = false;
    std::vector<size_t> columns;
    for (; !lines.AtEnd(); ++lines.at) {
        const QString& line = lines.Next();
        if (line.isEmpty() || line.startsWith(u'#'))
            continue;
        more = line.startsWith(u"more "_s) || (more && !line.startsWith(u"table "_s));
        if (line.startsWith(u"table "_s) || line.startsWith(u"more "_s)) {
            const company::Table* table = company::FindTable(line.section(u' ', 1));
            if (!table)
                lines.Fail(u"unknown table"_s);
            if (!more)
                tables.push_back({table, {}});
            into = &*std::ranges::find(tables, table, &TableRows::table);
            ++lines.at;
            columns = ReadColumns(*table, lines);
            continue;
        }
        const QStringList cells = line.split(u'|');
        if (!into || cells.size() != static_cast<qsizetype>(columns.size()))
            lines.Fail(u"wrong number of cells"_s);
        const auto value = [&](size_t i) {
            return wire::FromText(into->table->columns[columns[i]].type, cells[static_cast<qsizetype>(i)]);
        };
        if (!more)
            into->rows.emplace_back(into->table->columns.size());
        const auto row = more
            ? std::ranges::find_if(into->rows, [&](const auto& each) { return each[columns[0]] == value(0); })
            : std::prev(into->rows.end());
        if (row == into->rows.end())
            lines.Fail(u"no such row"_s);
        for (size_t i = 0; i < columns.size(); ++i)
            (*row)[columns[i]] = value(i);
    }
    return tables;
}

std::vector<Case> ReadCases()
{
    std::vector<Case> cases;
    for (const QString& file : QDir(Folder()).entryList({u"*.case"_s}, QDir::Files, QDir::Name)) {
        Lines lines(file);
        while (!lines.AtEnd()) {
            if (lines.Next().isEmpty() || lines.Next().startsWith(u'#'))
                ++lines.at;
            else
                cases.push_back(ReadCase(lines));
        }
    }
    return cases;
}

QString TextOf(const QString& name)
{
    const std::vector<Case> cases = ReadCases();
    const auto found = std::ranges::find(cases, name, &Case::name);
    return found == cases.end() ? QString() : found->sql;
}

QString Check(const Case& which, Backend& backend)
{
    try {
        wire::RowSet result;
        if (which.executed) {
            const qint64 changed = backend.Execute(which.sql);
            if (changed != which.changed.value_or(changed))
                return u"rows changed: %1"_s.arg(changed);
            if (!which.then.isEmpty())
                result = backend.Query(which.then);
        } else {
            result = backend.Query(which.sql);
        }
        if (which.error)
            return u"no error"_s;
        return CheckRows(which, result);
    } catch (const wire::Error& error) {
        return which.error ? CheckError(*which.error, error) : error.Message();
    }
}

} // namespace conformance
