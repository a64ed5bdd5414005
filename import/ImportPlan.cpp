#include "import/ImportPlan.h"

#include <QHash>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kHeadingRows = 10; // within which headings are looked for

// As headings are compared: wide signs are the narrow ones.
QString Plain(const QString& title)
{
    QString plain;
    for (const QChar c : title.normalized(QString::NormalizationForm_KC).toLower()) {
        if (!c.isSpace() && c != u'|')
            plain += c;
    }
    return plain;
}

struct THeadings {
    int row = -1; // the last of them
    QStringList texts{};
    int known = 0;
};

// One row, or a row of groups over one of names.
QStringList HeadingsAt(const TSheet& sheet, int row, bool grouped)
{
    QStringList headings;
    QString group;
    for (int column = 0; column < sheet.ColumnCount(); ++column) {
        const QString text = sheet.Text(row, column);
        if (!grouped) {
            headings.append(text);
            continue;
        }
        const QString name = sheet.Text(row + 1, column);
        if (!text.isEmpty())
            group = text;
        const bool whole = name.isEmpty() || name == text; // a title over both rows
        headings.append(whole ? text : group.isEmpty() ? name : group + u'|' + name);
    }
    return headings;
}

THeadings FindHeadings(const TSheet& sheet, const QHash<QString, int>& targets)
{
    THeadings best;
    const int rows = std::min(kHeadingRows, static_cast<int>(sheet.rows.size()));
    for (int row = 0; row < rows; ++row) {
        for (const bool grouped : {false, true}) {
            THeadings found{row + (grouped ? 1 : 0), HeadingsAt(sheet, row, grouped)};
            found.known = static_cast<int>(std::ranges::count_if(
                found.texts, [&](const QString& text) { return targets.contains(Plain(text)); }));
            if (found.known > best.known)
                best = std::move(found);
        }
    }
    return best;
}

QString TwiceMessage(const QString& heading, int first, int second)
{
    return u"标题“%1”出现了两次：%2列和%3列。请删去一列再导入。"_s.arg(
        heading, ColumnName(first), ColumnName(second));
}

void PlanByHeadings(TImportPlan& plan, const THeadings& headings, const QHash<QString, int>& targets)
{
    plan.byHeadings = true;
    QHash<int, int> taken; // sheet column by target
    for (int column = 0; column < headings.texts.size(); ++column) {
        const QString& text = headings.texts[column];
        const int target = targets.value(Plain(text), -1);
        if (target >= 0 && taken.contains(target) && plan.problem.isEmpty())
            plan.problem = TwiceMessage(text, taken.value(target), column);
        if (target >= 0)
            taken.insert(target, column);
        plan.columns.push_back({column, text, target});
    }
}

} // namespace

QString ColumnName(int column)
{
    QString name;
    for (int rest = column + 1; rest > 0; rest = (rest - 1) / 26)
        name.prepend(QChar(u'A' + (rest - 1) % 26));
    return name;
}

TImportPlan PlanImport(
    const TSheet& sheet, const std::vector<TImportTarget>& targets, int firstRow, int firstColumn)
{
    QHash<QString, int> byTitle;
    for (size_t i = 0; i < targets.size(); ++i)
        byTitle.insert(Plain(targets[i].title), static_cast<int>(i));
    TImportPlan plan;
    const THeadings headings = FindHeadings(sheet, byTitle);
    int row = firstRow - 1;
    if (headings.known > 0) {
        PlanByHeadings(plan, headings, byTitle);
        row = headings.row + 1;
    } else {
        for (int column = firstColumn - 1; column < sheet.ColumnCount(); ++column) {
            const int target = column - (firstColumn - 1);
            plan.columns.push_back({column, {}, target < static_cast<int>(targets.size()) ? target : -1});
        }
    }
    const auto isImported = [&](const TImportColumn& column) {
        return column.target >= 0 && !targets[static_cast<size_t>(column.target)].given;
    };
    for (; row < static_cast<int>(sheet.rows.size()); ++row) {
        if (std::ranges::any_of(plan.columns, [&](const TImportColumn& column) {
                return isImported(column) && !sheet.Text(row, column.sheetColumn).trimmed().isEmpty();
            }))
            plan.orders.push_back(row);
    }
    if (plan.problem.isEmpty() && plan.orders.empty())
        plan.problem = u"文件里没有订单：标题下面没有内容，或者标题和列表的都不一样。"_s;
    return plan;
}
