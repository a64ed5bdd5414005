#pragma once

#include "runtime/Export.h"
#include "wire/Messages.h"

#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>
#include <vector>

class TClientDataSetEx;
class TSocketConnectionEx;

// Raised by a handler that refuses what is about to happen, after it has told the user why: caught where the
// user's action began, shown by nobody.
class RUNTIME_EXPORT EAbort {
public:
    virtual ~EAbort();
};

[[noreturn]] RUNTIME_EXPORT void Abort();

enum class TDataSetState { Inactive, Browse, Edit, Insert };

// One column of a dataset, seen at the dataset's current row. Obtained from its dataset, which owns it; valid
// until the dataset is closed or opened on another text. Writing needs edit or insert state (raises
// wire::Error, Usage) and raises wire::Error (Data) where the value does not fit the column's type.
class RUNTIME_EXPORT TField {
public:
    const QString& FieldName() const noexcept;
    wire::ColumnType DataType() const noexcept;
    int Index() const noexcept;
    // Text: most characters; 0 unlimited.
    int Size() const noexcept;

    bool IsNull() const;
    QString AsString() const; // null: empty; date-times "yyyy-mm-dd hh:mm:ss"
    qint64 AsInteger() const; // null: 0; text that is no number raises wire::Error (Data)
    double AsFloat() const; // null: 0
    wire::DateTime AsDateTime() const; // null: 1899-12-30 00:00:00
    wire::Value Value() const;
    // As the row was before this edit began being posted: as read from the server, or last merged.
    wire::Value OldValue() const;

    void SetAsString(const QString& text); // empty: null; read by the column's type
    void SetAsInteger(qint64 value);
    void SetAsFloat(double value);
    void SetAsDateTime(wire::DateTime value);
    void SetValue(const wire::Value& value);
    void Clear(); // null

private:
    friend class TClientDataSetEx;
    TField(TClientDataSetEx* dataSet, int index);
    TClientDataSetEx* dataSet_;
    int index_;
};

// Names one row of an open dataset until it is closed; sorting and filtering do not change it. 0 is none.
using TBookmark = quint32;

enum class TRowStatus : quint8 { Unmodified, Modified, Inserted, Deleted };

// Rows in memory with a change log. See docs/runtime.md for the model.
//
// Rows read from the server stay in their columns; edits lie beside them. "View rows" count from 0 through
// the rows that the filter passes, in the order of the active index; `RecNo` counts the same rows from 1.
class RUNTIME_EXPORT TClientDataSetEx : public QObject {
    Q_OBJECT
public:
    explicit TClientDataSetEx(QObject* owner = nullptr, const QString& name = {});
    ~TClientDataSetEx() override;

    // The connection that queries and saves go through; not owned. Changing it closes nothing.
    void SetRemoteServer(TSocketConnectionEx* connection);
    TSocketConnectionEx* RemoteServer() const noexcept;

    // The complete SQL text. Setting another text needs a closed dataset (raises wire::Error, Usage).
    void SetCommandText(const QString& sqlText);
    const QString& CommandText() const noexcept;

    // Runs the command text; the rows replace the contents. The cursor stands on the first row. An open
    // dataset stays as it is. Raises wire::Error; the dataset is then closed.
    void Open();
    void Close() noexcept;
    bool Active() const noexcept;
    // Runs the command text as a statement that returns no rows; gives the number of rows changed.
    qint64 Execute();
    // Closes, sets the text and opens, as one step: rows, edits and text of before stay until the new rows
    // are there, so that a query which fails or is given up (EAbort) has changed nothing.
    void OpenQuery(const QString& sqlText);
    // The same with the present text.
    void Refresh();

    // Columns without rows, for datasets that hold what the client makes itself.
    void CreateDataSet(std::vector<wire::ColumnInfo> columns);
    // Opens on rows at hand, for tests and copies.
    void OpenRows(wire::RowSet rows);
    // Opens as a copy of the other's rows, in their present values and order; the copy has no change log.
    void CopyFrom(const TClientDataSetEx& other);
    // Opens as the rows of the other's change log, in their present values: with `rejectedOnly` those that
    // the last apply-updates refused, each row's reason in an added text column "ERROR_MESSAGE".
    void CopyDelta(const TClientDataSetEx& other, bool rejectedOnly = false);

    TDataSetState State() const noexcept;
    bool IsEditing() const noexcept; // edit or insert
    // Whether closing would lose something: a change log, a row in edit with cells that differ from what it
    // was read with, or a bound control holding text that is not yet written.
    bool HasUnsavedEdits() const;
    bool IsEmpty() const noexcept; // no view rows
    int RecordCount() const noexcept; // view rows
    int RecNo() const noexcept; // 1…; 0 when empty
    void SetRecNo(int recNo);
    bool Bof() const noexcept;
    bool Eof() const noexcept;

    int FieldCount() const noexcept;
    TField& Field(int index);
    const wire::ColumnInfo& FieldInfo(int index) const;
    TField* FindField(QStringView name) const noexcept; // case-insensitive; nullptr when absent
    TField& FieldByName(QStringView name) const; // raises wire::Error (Usage) naming the field
    int FieldIndex(QStringView name) const noexcept; // -1 when absent

    void First();
    void Prior();
    void Next();
    void Last();
    void MoveBy(int distance);
    TBookmark Bookmark() const noexcept;
    // Moves there; false (and no move) when the row is gone or filtered out.
    bool GotoBookmark(TBookmark bookmark);
    bool BookmarkValid(TBookmark bookmark) const noexcept;

    // Moves to the first row whose fields (separated by ";") equal the values; false and no move when none.
    bool Locate(QStringView fieldNames, const std::vector<wire::Value>& values, bool caseInsensitive = false,
        bool partialKey = false);

    void Append();
    void Insert();
    void Edit(); // nothing when already editing
    void Post(); // nothing in browse state
    void Cancel();
    void Delete();
    // Edit, set, post in one step for callers that change one field.
    void SetFieldAndPost(QStringView fieldName, const wire::Value& value);

    // A condition over one row in the style of SQL: comparisons (=, <>, <, <=, >, >=, like) of fields with
    // literals, "is null", "is not null", and/or/not, parentheses. Raises wire::Error (Usage) with the
    // position of what cannot be read.
    void SetFilter(const QString& condition);
    const QString& Filter() const noexcept;
    void SetFiltered(bool on);
    bool Filtered() const noexcept;
    // Called with the row as the current one; has its say beside the filter text.
    std::function<bool(const TClientDataSetEx&)> OnFilterRecord;

    // Narrows the rows by one field's values, beside filter, handler and other fields' conditions; an empty
    // condition ends it. It is asked once a value, not once a row. Rows with unsaved edits stay in view.
    // Stays set when the dataset is opened again; a result that lacks the field is not narrowed by it.
    void FilterValues(const QString& field, std::function<bool(const wire::Value&)> passes);
    void ClearValueFilters();
    // The field's values, with their rows among those that everything but its own condition leaves; in no
    // particular order, null among them where it occurs.
    struct ValueCount {
        wire::Value value;
        int rows = 0;
    };
    std::vector<ValueCount> CountValues(int field) const;
    // These rows first, in this order, the others after them in theirs; none ends it, and so does opening the
    // dataset anew. The cursor stays on its row.
    void GatherRows(std::vector<TBookmark> rows);
    int GatheredCount() const noexcept;
    // Whether the row is there, in view or not.
    bool HasRow(TBookmark bookmark) const noexcept;
    // The rows in view without conditions on values.
    int UnnarrowedCount() const;

    // Order by fields separated by ";"; those also named in `descendingFields` descend. Text is in Chinese
    // collation order, nulls first ascending. Adding an index under a name in use replaces it.
    void AddIndex(const QString& name, QStringView fields, QStringView descendingFields = {});
    void DeleteIndex(const QString& name);
    void SetIndexName(const QString& name); // empty: the order in which rows came
    const QString& IndexName() const noexcept;
    QString IndexFields(const QString& name) const;
    QString IndexDescendingFields(const QString& name) const;

    // Nested; views stand still while disabled and catch up once when enabled again.
    void DisableControls();
    void EnableControls();
    bool ControlsDisabled() const noexcept;

    // The change log.
    int ChangeCount() const noexcept;
    TRowStatus UpdateStatus() const; // of the current row
    // Sends the log; accepted rows leave it, refused ones stay with reason and present values. Raises one
    // wire::Error (Conflict) after that when any row was refused, and the transport's error when the outcome
    // is unknown: the log is then kept whole, and the next call sends it under the same name, so that nothing
    // is applied twice. maxErrors: -1 every row on its own; N >= 0: more than N refusals undo all.
    // Posts a pending edit first. Does nothing on an empty log.
    void ApplyUpdates(int maxErrors = -1);
    void MergeChangeLog(); // present values become the originals; the log is empty
    void CancelUpdates(); // back to the originals
    bool UndoCurrentRow(); // the current row back to its original; false when it was not changed
    // The last unsaved step (a posted row, a deletion, all that was posted while controls were disabled)
    // taken back, or done again; the cursor goes there. An edit under way is the last step: it is cancelled.
    // False where there is none.
    bool UndoStep();
    bool RedoStep();
    bool CanUndo() const noexcept;
    bool CanRedo() const noexcept;
    // Of the current row after a refused save: why, and what the server holds now.
    QString RejectReason() const;
    bool WasRejected() const;
    bool ServerHasRow() const;
    wire::Value ServerValue(int field) const;

    // Reading beside the cursor, for views: any view row, no cursor movement.
    bool ViewIsNull(int viewRow, int field) const;
    QString ViewText(int viewRow, int field) const;
    wire::Value ViewValue(int viewRow, int field) const;
    qint64 ViewInteger(int viewRow, int field) const;
    // The columns as they were read and a cell's row in them, -1 where the cell was edited since (of field
    // -1: any cell of the row): for those that read very many cells. Both stand until the rows change.
    const wire::Column& StoredColumn(int field) const;
    qint64 StoredRow(int viewRow, int field) const;
    TBookmark ViewBookmark(int viewRow) const;
    int ViewRowOf(TBookmark bookmark) const; // -1 when not in view
    TRowStatus ViewStatus(int viewRow) const;
    // Whether the cell, typed text included, differs from what was read or last saved; not in a row that the
    // server does not have. And what that was.
    bool ViewCellChanged(int viewRow, int field) const;
    wire::Value ViewOldValue(int viewRow, int field) const;
    // Exact sum over every view row, as a decimal text without trailing zeros; nulls count nothing.
    QString Sum(int field) const;

    size_t MemoryUse() const noexcept; // bytes held for rows, edits and orders

    // Handlers. "Before" handlers refuse by Abort(); the row then stays as it was (in edit, for BeforePost).
    std::function<void()> BeforeOpen, AfterOpen, BeforeClose, AfterClose;
    std::function<void()> BeforeEdit, AfterEdit, BeforeInsert, AfterInsert;
    std::function<void()> BeforePost, AfterPost, BeforeCancel, AfterCancel, BeforeDelete, AfterDelete;
    std::function<void()> AfterScroll;

    // Called before anything that needs the pending text of bound editors (post, apply-updates): controls
    // connect to it and write what was typed into their fields.
    void UpdateRecord();

Q_SIGNALS:
    void StateChanged(TDataSetState state);
    void DataReset(); // everything may differ: opened, closed, sorted, filtered, merged
    void CursorMoved(); // the current row is another one
    void RowChanged(int viewRow); // some fields of the row changed
    void FieldChanged(int field); // of the current row, while editing
    void RowInserted(int viewRow);
    void RowRemoved(int viewRow);
    void UpdateRecordRequested();
    void UnwrittenTextAsked(bool& held) const; // a control that holds such text says so

private:
    friend class TField;
    class Private;
    std::unique_ptr<Private> d_;
};
