#pragma once

#include "import/SheetReader.h"

#include <orcus/spreadsheet/import_interface.hpp>

#include <memory>

// The place that "AB12" names, from 0. Letters and digits of a damaged file may be anything.
orcus::spreadsheet::address_t CellAddress(std::string_view text);

// Takes the cells of all tables from liborcus, as it parses the file, and hands out the first table that
// holds anything.
class TSheetCells : public orcus::spreadsheet::iface::import_factory {
public:
    explicit TSheetCells(const TSheetBudget& budget);
    ~TSheetCells() override;

    TSheet FirstTable() const;
    // Sets a cell that liborcus left out.
    void SetText(const QString& table, int row, int column, const QString& text);
    // Copies a row of the table into those below it, until there are `count` of them.
    void RepeatRow(size_t table, int row, int count);

    orcus::spreadsheet::iface::import_global_settings* get_global_settings() override;
    orcus::spreadsheet::iface::import_shared_strings* get_shared_strings() override;
    orcus::spreadsheet::iface::import_styles* get_styles() override;
    orcus::spreadsheet::iface::import_reference_resolver* get_reference_resolver(
        orcus::spreadsheet::formula_ref_context_t context) override;
    orcus::spreadsheet::iface::import_sheet* append_sheet(
        orcus::spreadsheet::sheet_t index, std::string_view name) override;
    orcus::spreadsheet::iface::import_sheet* get_sheet(std::string_view name) override;
    orcus::spreadsheet::iface::import_sheet* get_sheet(orcus::spreadsheet::sheet_t index) override;
    void finalize() override { }

private:
    class Private;
    std::unique_ptr<Private> d_;
};
