#pragma once

#include "framework/export/ListExport.h"
#include "runtime/grid/DBGrid.h"

// The rows of a grid as they are exported: the columns shown, in their order, all rows or the selected ones.
// Amounts are numbers and times moments; whatever else is shown, numbers of orders and telephones above all,
// is text.
class TGridRows final : public TExportRows {
public:
    // The grid's dataset is open.
    TGridRows(const TDBGridEh& grid, bool selectedOnly);
    ~TGridRows() override;
    TGridRows(const TGridRows&) = delete;
    TGridRows& operator=(const TGridRows&) = delete;

    const std::vector<TExportColumn>& Columns() const override { return columns_; }
    int FrozenColumns() const override { return frozen_; }
    int RowCount() const override { return static_cast<int>(rows_.size()); }
    TExportCell Cell(int row, int column) override;
    void StoredRows(int first, std::span<qint64> places) override;
    int FooterRows() const override { return footerRows_; }
    QString Footer(int row, int column) const override;
    // For the eye: as the list shows it. Raises wire::Error as Cell() does.
    QString Text(int row, int column);
    TAlignment Alignment(int column) const;
    TAlignment FooterAlignment(int row, int column) const;

private:
    struct TSource {
        int column; // of the grid
        int field; // -1: its row number
        bool plain; // the text as stored
        bool tick;
        const wire::Column* stored; // nullptr: a row number
    };

    void RequireUnchanged() const;
    void AddColumn(int index);
    int ViewRow(int row);
    TExportCell StoredCell(const TSource& source, TExportKind kind, qint64 row) const;
    TExportCell EditedCell(const TSource& source, TExportKind kind, int viewRow);

    const TDBGridEh& grid_;
    const TClientDataSetEx& dataSet_;
    const std::vector<QMetaObject::Connection> watches_;
    std::vector<TSource> sources_; // parallel to columns_
    std::vector<TExportColumn> columns_;
    std::vector<TBookmark> rows_;
    int frozen_ = 0;
    int footerRows_ = 0;
    int row_ = -1; // the one read last, and its place in view
    int viewRow_ = -1;
    QByteArray text_;
    bool changed_ = false; // read anew, sorted otherwise, closed or gone since
};
