#pragma once

#include "framework/export/ListBlocks.h"

class TCsvTexts;

// Rows as lines of a CSV file: what a spreadsheet would take for a formula has an apostrophe before it.
class TCsvFormat final : public TLineFormat {
public:
    // With `recode` lines are in code page 936.
    TCsvFormat(const std::vector<TExportColumn>& columns, bool recode);
    ~TCsvFormat() override;
    TCsvFormat(const TCsvFormat&) = delete;
    TCsvFormat& operator=(const TCsvFormat&) = delete;

    void BeginRound() override;
    void AddCell(wire::TextBuffer& to, size_t column, const TExportCell& cell) override;
    std::unique_ptr<TLineMaker> NewMaker() const override;

    static void AddText(wire::TextBuffer& to, QByteArrayView text);
    static void Recode(wire::TextBuffer& lines);

private:
    const std::vector<TExportColumn>& columns_;
    const bool recode_;
    std::vector<std::unique_ptr<const TCsvTexts>> texts_; // by column; of texts only
    wire::MomentTexts moments_;
};
