#pragma once

#include "runtime/data/Cells.h"
#include "runtime/data/ClientDataSet.h"

#include <deque>

// A row of a store: rows read from the server first, in the order in which they came, then inserted ones.
// A number is never used again while the store is open.
using RowNumber = quint32;
constexpr RowNumber kNoRow = ~RowNumber{0};

// What the server said about a row that it refused.
struct Rejection {
    QString reason;
    bool present = false; // the server still has the row
    std::vector<wire::Value> values; // by field; null for fields that were not sent
};

// A row's part in the change log, to be put back later.
struct RowState {
    TRowStatus status = TRowStatus::Unmodified;
    bool gone = false; // no longer anywhere
    Cells changed;

    bool operator==(const RowState&) const = default;
};

// The rows of a dataset and its change log.
//
// A cell is looked for in three layers: the present value where it differs from the original, the original
// where it differs from what was read (merged or accepted by the server since), and the column as read, which
// never changes. A row without edits costs nothing beyond its columns.
class RowStore {
public:
    // Gives a new store its columns.
    void Begin(std::vector<wire::ColumnInfo> infos);
    // Adopts rows; raises wire::Error (Protocol) when they do not fit the columns.
    void Adopt(std::vector<wire::Column> block);
    // No rows; the columns stay known.
    void Clear() noexcept;

    const std::vector<wire::ColumnInfo>& Infos() const noexcept { return infos_; }
    int FieldCount() const noexcept { return static_cast<int>(infos_.size()); }
    const wire::Column& Column(int field) const noexcept { return columns_[static_cast<size_t>(field)]; }
    // Rows in the columns; and all ever made, live or not.
    RowNumber BaseCount() const noexcept { return baseCount_; }
    RowNumber RowCount() const noexcept { return rowCount_; }
    bool HasEdits() const noexcept { return !edits_.empty(); }
    // Neither deleted nor gone.
    bool IsLive(RowNumber row) const noexcept;
    // Some row is not live.
    bool HasHidden() const noexcept { return hidden_ > 0; }

    // The cell's value where it is not the column's; nullptr where the column holds it.
    const wire::Value* Edited(RowNumber row, int field) const noexcept
    {
        return edits_.empty() ? nullptr : EditedCell(row, field);
    }
    // None of its cells was edited since it was read.
    bool IsAsRead(RowNumber row) const noexcept
    {
        return row < baseCount_ && (edits_.empty() || FindEdit(row) == nullptr);
    }
    wire::Value Present(RowNumber row, int field) const;
    // As read, or last merged or accepted; null for a row that the server does not have.
    wire::Value Original(RowNumber row, int field) const;

    TRowStatus Status(RowNumber row) const noexcept;
    const Rejection* Refusal(RowNumber row) const noexcept;

    // A row that is not yet in the change log, all null.
    RowNumber AddRow();
    // Takes back `AddRow`.
    void DropRow(RowNumber row);
    // Puts the values (of their columns' types) into the row and the row into the log; a row put back to its
    // originals leaves it.
    void Post(RowNumber row, const Cells& values, bool inserted);
    void Delete(RowNumber row);
    // Back to the original; false when the row is not in the log.
    bool Undo(RowNumber row);
    // The row as it stands, and back to that: while no original has changed since.
    RowState StateOf(RowNumber row) const;
    void PutBack(RowNumber row, const RowState& state);
    void Merge();

    int ChangeCount() const noexcept { return changeCount_; }
    // The rows in the log, in the order in which they entered it.
    std::vector<RowNumber> ChangedRows() const;
    // The log as it is sent: stored columns only. Rows changed in other columns alone are left out.
    wire::ChangeLog BuildLog(const QString& commandText) const;
    // Takes in what the server stored for a row of a log sent earlier. Where the row was changed again since,
    // the difference is its new entry in the log.
    void Accept(const wire::RowChange& sent);
    void Refuse(const wire::RowVerdict& verdict);
    // Rows of the log that have nothing to store leave it.
    void AcceptUnsendable();
    void ForgetRefusal(RowNumber row) noexcept;

    size_t MemoryUse() const noexcept;

private:
    struct RowEdit {
        TRowStatus status = TRowStatus::Unmodified;
        bool gone = false; // no longer anywhere
        quint64 sequence = 0; // its place in the log
        Cells original; // where originals differ from the column
        Cells changed; // where present values differ from originals
        std::unique_ptr<Rejection> refusal;
    };

    struct SentField {
        int field;
        bool always; // with every change: the server finds and checks the row by it
    };

    const wire::Value* EditedCell(RowNumber row, int field) const noexcept;
    const RowEdit* FindEdit(RowNumber row) const noexcept;
    RowEdit& EditOf(RowNumber row);
    // The value under the present one.
    wire::Value Below(const RowEdit& edit, RowNumber row, int field) const;
    bool SameBelow(const RowEdit& edit, RowNumber row, int field, const wire::Value& value) const;
    void SetChanged(RowEdit& edit, RowNumber row, int field, const wire::Value& value);
    // The server stores this value now; what is shown stays.
    void SetOriginal(RowEdit& edit, RowNumber row, int field, const wire::Value& value);
    void SetStatus(RowEdit& edit, TRowStatus status, bool gone = false);
    static bool IsHidden(const RowEdit& edit) { return edit.gone || edit.status == TRowStatus::Deleted; }
    wire::RowChange BuildChange(RowNumber row, const RowEdit& edit) const;

    std::vector<wire::ColumnInfo> infos_;
    std::vector<wire::Column> columns_;
    std::vector<SentField> sentFields_; // fields of the log's columns
    int alwaysSent_ = 0; // of them
    RowNumber baseCount_ = 0;
    RowNumber rowCount_ = 0;
    std::vector<quint32> slots_; // by row: place in edits_ plus one, 0 none; empty while nothing is edited
    std::deque<RowEdit> edits_;
    std::vector<RowNumber> editRows_; // parallel to edits_
    int changeCount_ = 0;
    int hidden_ = 0;
    quint64 nextSequence_ = 1;
};
