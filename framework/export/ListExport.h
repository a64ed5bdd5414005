#pragma once

#include "wire/DateTime.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <span>
#include <vector>

namespace wire {
class Column;
}

// A list on its way to a file, for people to work on elsewhere.

enum class TExportKind { Text, Number, Moment };

struct TExportColumn {
    QString title{}; // levels separated by "|"
    int width = 80; // pixels at 96 dpi
    TExportKind kind = TExportKind::Text;
    QString format{}; // numbers: decimals as "0.00"; moments: "yyyy-mm-dd hh:nn:ss"
    const wire::Column* stored = nullptr; // where its cells may be read as well, of the rows that are there
};

// What stands in a cell, by the kind of its column. The text is UTF-8, without a zero at its end.
struct TExportCell {
    bool empty = true;
    QByteArrayView text{};
    double number = 0;
    wire::DateTime moment{};
};

// The rows, read one after the other.
class TExportRows {
public:
    virtual ~TExportRows();
    virtual const std::vector<TExportColumn>& Columns() const = 0;
    virtual int FrozenColumns() const = 0;
    virtual int RowCount() const = 0;
    // Valid until the next cell is read. Raises wire::Error where the rows are no longer those of the start.
    virtual TExportCell Cell(int row, int column) = 0;
    // The places of rows from `first` on in the stored columns, -1 for a row whose cells differ from what
    // stands there. Valid until the window has its turn. Raises as Cell() does.
    virtual void StoredRows(int first, std::span<qint64> places);
    // Below the rows, line by line; texts that are numbers are totals.
    virtual int FooterRows() const = 0;
    virtual QString Footer(int row, int column) const = 0;
};

// Called from time to time with the rows done, and once they all are until the file is closed; false gives
// the file up.
using TExportProgress = std::function<bool(int rows)>;

enum class TCsvEncoding { Utf8, CodePage936 };

// The most rows of a sheet, titles and footers counted. A longer list goes on in a further one, under its
// titles.
inline constexpr int kSheetRows = 1'048'576;
int SheetsFor(const TExportRows& rows, int sheetRows = kSheetRows);

// Write the file whole or not at all: what stood under its name stays until the new one is complete. False
// when it was given up. Raise wire::Error (Storage) where it cannot be written.
bool WriteXlsx(
    TExportRows& rows, const QString& path, const TExportProgress& progress, int sheetRows = kSheetRows);
// Cells that a spreadsheet would take for formulas get an apostrophe before them.
bool WriteCsv(TExportRows& rows, const QString& path, TCsvEncoding encoding, const TExportProgress& progress);

// How many levels the titles have.
int TitleLevels(const std::vector<TExportColumn>& columns);
