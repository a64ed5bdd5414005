#pragma once

#include "framework/ListBlocks.h"

#include <string>

// Rows of a worksheet in the form in which they lie in a workbook's file. The library that makes the rest of
// the workbook would write each cell by itself, in half a dozen calls and one thread.
class TSheetFormat final : public TLineFormat {
public:
    // `styles` are the numbers of the columns' formats.
    TSheetFormat(const std::vector<TExportColumn>& columns, const std::vector<int>& styles);
    // The list's row 0 is that of the sheet, counted from 1; negative in the sheets that continue.
    void PlaceFirstRow(int sheetRow) { offset_ = sheetRow; }

    void AddCell(wire::TextBuffer& to, int row, size_t column, const TExportCell& cell) override;
    // Raises wire::Error (Data) where a text is longer than a cell may be.
    void AddRows(TRowBlock& block) const override;

private:
    struct TColumn {
        TExportKind kind;
        const wire::Column* stored;
        std::string begin; // of a cell, as far as its row's number
        std::string value; // from there to a value
        std::string text;
        std::string spacedText; // blanks at one of its ends count
    };
    struct TRowNumber;
    static char* PutText(wire::TextBuffer& lines, char* to, const TColumn& column, const TRowNumber& number,
        QByteArrayView text, const char* readable);
    static char* PutStored(
        wire::TextBuffer& lines, char* to, const TColumn& column, const TRowNumber& number, qint64 row);

    std::vector<TColumn> columns_;
    int offset_ = 1;
};
