#pragma once

// What lies behind TClientDataSetEx; included by its own sources alone.

#include "runtime/data/FieldNames.h"
#include "runtime/data/RowFilter.h"
#include "runtime/data/RowOrder.h"
#include "runtime/data/RowView.h"
#include "runtime/data/TextLookup.h"
#include "runtime/data/UndoLog.h"
#include "runtime/data/ValueFilter.h"

#include <QHash>

#include <map>
#include <optional>

[[noreturn]] void RaiseUsage(const QString& message);
// "A;B ; C" as its trimmed, non-empty parts.
QList<QStringView> SplitFieldNames(QStringView fieldNames);
QString CellText(const wire::Value* edited, const wire::Column& column, RowNumber row);
qint64 CellInteger(const wire::Value* edited, const wire::Column& column, RowNumber row);

class TClientDataSetEx::Private {
public:
    explicit Private(TClientDataSetEx* dataSet)
        : q(dataSet)
    {
    }

    struct Index {
        QString fields;
        QString descendingFields;
    };
    struct SendResult {
        QHash<RowNumber, wire::RowChange> refused; // as they were sent
        bool rolledBack = false;
        QStringList reasons;
    };
    // What `Locate` looks for in one field.
    struct WantedCell {
        int field = 0;
        wire::Value value;
        QString text;
        QByteArray utf8;
        bool caseInsensitive = false;
        bool partial = false;
    };
    class OpeningSink;

    bool IsEditing() const noexcept { return state == TDataSetState::Edit || state == TDataSetState::Insert; }
    void RequireActive() const;
    void RequireRow() const;
    void RequireConnection() const;
    // The row that fields speak of.
    RowNumber CurrentRow() const noexcept
    {
        if (filterRow != kNoRow)
            return filterRow;
        return cursor >= 0 ? view.RowAt(cursor) : kNoRow;
    }
    // The cell's value where its column does not hold it: typed but not posted, or edited before.
    const wire::Value* Edited(RowNumber row, int field) const noexcept
    {
        if (row == editRow && filterRow == kNoRow)
            if (const wire::Value* value = pending.Find(field))
                return value;
        return rows.Edited(row, field);
    }
    void SetPending(int field, wire::Value value);
    bool PendingDiffers() const;

    // Opening and closing.
    RowStore Fetched(const QString& sqlText);
    void OpenOn(RowStore fetched);
    void Abandon() noexcept;

    // Posts, or drops where nothing was typed, what is being edited; before the cursor may leave the row.
    void Settle();
    void StartInsert(int viewIndex);
    void EndEdit(TDataSetState next);
    void RemoveFromView(int viewIndex);
    void DropInsertedRow();

    void MoveTo(int index, bool atBof, bool atEof);
    // Filter and index applied anew; the cursor stays on its row where that is still in view.
    void RebuildView(RowNumber current);
    bool PassesFilter(RowNumber row);
    void BindValueFilters(int without = -1);
    void PutGatheredFirst(std::vector<RowNumber>& order) const;
    // Of the active index, none without one; fields that the dataset lacks come out as -1.
    std::vector<SortKey> ActiveKeys() const;
    bool Matches(RowNumber row, const WantedCell& wanted) const;

    // Steps to take back.
    void Record(RowNumber row, RowState before);
    void PutBack(const UndoLog::Step& step, bool before);

    // The change log.
    SendResult SendUnresolved();
    SendResult SendLog(int maxErrors, const SendResult& before);
    static QString RefusalMessage(const SendResult& result);
    wire::RowSet Gather(const std::vector<RowNumber>& wanted) const;

    // Notices to views, held back while controls are disabled.
    void SetState(TDataSetState next);
    void NotifyReset();
    void NotifyMoved();
    void NotifyRow(int viewIndex);
    template <typename Emit> void Notify(Emit&& emitNow)
    {
        if (disableCount > 0)
            resetHeldBack = true;
        else
            emitNow();
    }

    TClientDataSetEx* q;
    QPointer<TSocketConnectionEx> connection;
    QString commandText;

    TDataSetState state = TDataSetState::Inactive;
    RowStore rows;
    FieldNames names;
    std::vector<TField> fields;
    quint64 generation = 0; // counts opens and closes, for handlers that do either

    RowView view;
    int cursor = -1;
    bool bof = true;
    bool eof = true;

    RowNumber editRow = kNoRow;
    Cells pending;
    bool modified = false;
    bool posting = false;
    RowNumber rowBeforeInsert = kNoRow;

    RowFilter filter;
    bool filtered = false;
    ValueFilters valueFilters;
    std::vector<TBookmark> gathered; // before the others
    RowNumber filterRow = kNoRow; // the row that a filter handler looks at
    std::map<QString, Index> indexes;
    QString indexName;
    RankCache ranks;
    TextLookup lookup;
    UndoLog undo;

    // An apply-updates on its way, or one whose outcome is not known.
    std::optional<wire::Request> unresolved;
    bool mayBeStored = false; // a sending of it got on its way

    int disableCount = 0;
    bool resetHeldBack = false;
    TDataSetState notifiedState = TDataSetState::Inactive;
};

inline void Run(const std::function<void()>& handler)
{
    if (handler)
        handler();
}

// For requests that no rows answer.
class NoRows final : public wire::ReplySink {
public:
    void Columns(const wire::ColumnInfos&) override { }
    void Rows(std::vector<wire::Column>) override { }
};

// Marks the time of a call, whatever its outcome.
class ScopedFlag {
public:
    explicit ScopedFlag(bool& flag)
        : flag_(flag)
    {
        flag_ = true;
    }
    ~ScopedFlag() { flag_ = false; }
    Q_DISABLE_COPY_MOVE(ScopedFlag)

private:
    bool& flag_;
};
