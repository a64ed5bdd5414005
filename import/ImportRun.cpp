#include "import/ImportRun.h"

#include "runtime/controls/DateTimeText.h"
#include "runtime/data/ClientDataSet.h"
#include "runtime/ui/Application.h"
#include "wire/Error.h"

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kNumberTries = 5;

// Message boxes in its scope are not shown; the text of the last one is kept.
class THeldBoxes {
public:
    THeldBoxes()
        : unattended_(Application->Unattended)
    {
        Application->Unattended = true;
        shown_ = QObject::connect(Application, &TApplication::MessageShown, Application,
            [this](const QString& text) { last_ = text; });
    }
    ~THeldBoxes()
    {
        QObject::disconnect(shown_);
        Application->Unattended = unattended_;
    }
    THeldBoxes(const THeldBoxes&) = delete;
    THeldBoxes& operator=(const THeldBoxes&) = delete;

    QString TakeText()
    {
        QString text = std::exchange(last_, {});
        return text.startsWith(u"详细："_s) ? text.sliced(3) : text;
    }

private:
    bool unattended_;
    QMetaObject::Connection shown_;
    QString last_;
};

[[noreturn]] void RaiseCell(const TColumnEh& column, const QString& text, const QString& what)
{
    QString title = column.title;
    throw wire::Error(
        wire::ErrorKind::Data, u"%1“%2”%3"_s.arg(title.replace(u'|', u' '), text.left(60), what));
}

QString CheckValue(const TColumnEh& column, const QString& text)
{
    static const std::array<QStringList, 2> kWords{
        QStringList{u"1"_s, u"是"_s, u"y"_s, u"yes"_s, u"true"_s, u"√"_s, u"v"_s},
        QStringList{u"0"_s, u"否"_s, u"n"_s, u"no"_s, u"false"_s, u"×"_s, u"x"_s}};
    for (size_t i = 0; i < kWords.size(); ++i) {
        if (kWords[i].contains(text.toLower()))
            return column.keyList.value(static_cast<qsizetype>(i));
    }
    RaiseCell(column, text, u"不是“是”或者“否”"_s);
}

void SetCell(TField& field, const TColumnEh& column, const QString& text)
{
    if (column.style == TColumnStyle::CheckBox) {
        field.SetAsString(CheckValue(column, text));
    } else if (column.style == TColumnStyle::KeyPickList && column.pickList.contains(text)) {
        field.SetAsString(column.keyList.value(column.pickList.indexOf(text)));
    } else if (field.DataType() == wire::ColumnType::DateTime) {
        const auto moment = ReadDateTime(TDateTimeKind::DateTime, text);
        if (!moment)
            RaiseCell(column, text, u"不是日期时间"_s);
        field.SetAsDateTime(*moment);
    } else if (field.Size() > 0 && text.size() > field.Size()) {
        RaiseCell(column, text, u"超过%1个字"_s.arg(field.Size()));
    } else {
        try {
            field.SetAsString(text);
        } catch (const wire::Error&) {
            RaiseCell(column, text, u"不是数字"_s);
        }
    }
}

class TRun {
public:
    TRun(const TSheet& sheet, const TImportPlan& plan, TImportGrid& grid, QAbstractButton* save)
        : sheet_(sheet)
        , grid_(grid)
        , rows_(grid.rows)
        , save_(save)
        , shown_(!grid.rows.ControlsDisabled())
    {
        for (const TImportColumn& column : plan.columns) {
            if (column.target < 0 || grid.targets[static_cast<size_t>(column.target)].given)
                continue;
            const TColumnEh& shown = grid.columns[static_cast<size_t>(column.target)];
            cells_.push_back({column.sheetColumn, rows_.FieldByName(shown.fieldName).Index(), &shown});
        }
    }

    ~TRun()
    {
        if (shown_ && rows_.ControlsDisabled())
            rows_.EnableControls();
    }
    TRun(const TRun&) = delete;
    TRun& operator=(const TRun&) = delete;

    // Why the order was not entered, if it was not. `lost`: it is entered, but nothing more can be saved.
    QString Enter(int row, bool& lost)
    {
        // A view switches on again what it finds switched off between two rows.
        if (!rows_.ControlsDisabled())
            rows_.DisableControls();
        const QString reason = Post(row);
        if (!reason.isEmpty()) {
            rows_.Cancel();
            return reason;
        }
        return save_ ? Save(lost) : QString();
    }

private:
    struct TCell {
        int sheetColumn;
        int field;
        const TColumnEh* column;
    };

    QString Post(int row)
    {
        try {
            rows_.Append();
            for (const TCell& cell : cells_) {
                const QString text = sheet_.Text(row, cell.sheetColumn).trimmed();
                if (!text.isEmpty())
                    SetCell(rows_.Field(cell.field), *cell.column, text);
            }
            rows_.Post();
            return {};
        } catch (const EAbort&) {
            const QString reason = boxes_.TakeText();
            return reason.isEmpty() ? u"没有被接受"_s : reason;
        } catch (const wire::Error& error) {
            return error.Message();
        }
    }

    QString Save(bool& lost)
    {
        for (int tries = 0; tries < kNumberTries; ++tries) {
            save_->click();
            if (rows_.ChangeCount() == 0 && !rows_.IsEditing())
                return {};
            // A row of that number stands there: the next one is found at the next save.
            if (!rows_.WasRejected() || !rows_.ServerHasRow())
                break;
        }
        const bool refused = rows_.WasRejected() || rows_.IsEditing();
        const QString told = boxes_.TakeText();
        const QString reason = rows_.WasRejected() ? rows_.RejectReason() : told;
        lost = !refused;
        if (refused)
            rows_.UndoCurrentRow();
        return reason.isEmpty() ? u"没有保存"_s : reason;
    }

    const TSheet& sheet_;
    TImportGrid& grid_;
    TClientDataSetEx& rows_;
    QAbstractButton* save_;
    bool shown_; // its controls were on
    std::vector<TCell> cells_;
    THeldBoxes boxes_;
};

} // namespace

TImportGrid::TImportGrid(TDBGridEh& grid)
    : rows(*grid.DataSet())
{
    for (int i = 0; i < grid.ColumnCount(); ++i) {
        const TColumnEh& column = grid.Column(i);
        const int field = rows.FieldIndex(column.fieldName);
        if (field < 0)
            continue;
        columns.push_back(column);
        targets.push_back({column.title, rows.FieldInfo(field).key});
    }
}

TImportOutcome ImportOrders(const TSheet& sheet, const TImportPlan& plan, TImportGrid& grid,
    QAbstractButton* save, const std::function<bool(int done)>& step)
{
    TRun run(sheet, plan, grid, save);
    TImportOutcome outcome;
    for (size_t i = 0; i < plan.orders.size(); ++i) {
        const int row = plan.orders[i];
        if (!outcome.stopped.isEmpty()) {
            outcome.refused.push_back({row, u"还没有导入"_s});
            continue;
        }
        bool lost = false;
        const QString reason = run.Enter(row, lost);
        if (lost)
            outcome.stopped =
                u"第%1行的订单没有保存成功，还在窗口里，请再保存一次：%2"_s.arg(row + 1).arg(reason);
        else if (!reason.isEmpty())
            outcome.refused.push_back({row, reason});
        else
            ++outcome.saved;
        if (!step(static_cast<int>(i) + 1) && outcome.stopped.isEmpty())
            outcome.stopped = u"已停止导入。"_s;
    }
    return outcome;
}
