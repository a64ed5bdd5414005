#pragma once

#include <orcus/spreadsheet/import_interface.hpp>

#include <map>
#include <string>
#include <vector>

// Of a file's styles only this: which cell formats show a number as a date.
class TSheetStyles : public orcus::spreadsheet::iface::import_styles {
public:
    using TColor = orcus::spreadsheet::color_elem_t;
    using TBorder = orcus::spreadsheet::border_direction_t;

    ~TSheetStyles() override;
    bool IsDate(size_t cellFormat) const;

    void set_number_format_identifier(size_t id) override { numberFormat_ = id; }
    void set_number_format_code(std::string_view code) override { code_ = code; }
    size_t commit_number_format() override;
    void set_xf_number_format(size_t id) override { cellNumberFormat_ = id; }
    size_t commit_cell_xf() override;

    // The rest is looks.
    void set_font_count(size_t) override { }
    void set_font_bold(bool) override { }
    void set_font_italic(bool) override { }
    void set_font_name(std::string_view) override { }
    void set_font_size(double) override { }
    void set_font_underline(orcus::spreadsheet::underline_t) override { }
    void set_font_underline_width(orcus::spreadsheet::underline_width_t) override { }
    void set_font_underline_mode(orcus::spreadsheet::underline_mode_t) override { }
    void set_font_underline_type(orcus::spreadsheet::underline_type_t) override { }
    void set_font_underline_color(TColor, TColor, TColor, TColor) override { }
    void set_font_color(TColor, TColor, TColor, TColor) override { }
    void set_strikethrough_style(orcus::spreadsheet::strikethrough_style_t) override { }
    void set_strikethrough_type(orcus::spreadsheet::strikethrough_type_t) override { }
    void set_strikethrough_width(orcus::spreadsheet::strikethrough_width_t) override { }
    void set_strikethrough_text(orcus::spreadsheet::strikethrough_text_t) override { }
    size_t commit_font() override { return 0; }
    void set_fill_count(size_t) override { }
    void set_fill_pattern_type(orcus::spreadsheet::fill_pattern_t) override { }
    void set_fill_fg_color(TColor, TColor, TColor, TColor) override { }
    void set_fill_bg_color(TColor, TColor, TColor, TColor) override { }
    size_t commit_fill() override { return 0; }
    void set_border_count(size_t) override { }
    void set_border_style(TBorder, orcus::spreadsheet::border_style_t) override { }
    void set_border_color(TBorder, TColor, TColor, TColor, TColor) override { }
    void set_border_width(TBorder, double, orcus::length_unit_t) override { }
    size_t commit_border() override { return 0; }
    void set_cell_hidden(bool) override { }
    void set_cell_locked(bool) override { }
    void set_cell_print_content(bool) override { }
    void set_cell_formula_hidden(bool) override { }
    size_t commit_cell_protection() override { return 0; }
    void set_number_format_count(size_t) override { }
    void set_cell_xf_count(size_t) override { }
    void set_cell_style_xf_count(size_t) override { }
    void set_dxf_count(size_t) override { }
    void set_xf_font(size_t) override { }
    void set_xf_fill(size_t) override { }
    void set_xf_border(size_t) override { }
    void set_xf_protection(size_t) override { }
    void set_xf_style_xf(size_t) override { }
    void set_xf_apply_alignment(bool) override { }
    void set_xf_horizontal_alignment(orcus::spreadsheet::hor_alignment_t) override { }
    void set_xf_vertical_alignment(orcus::spreadsheet::ver_alignment_t) override { }
    size_t commit_cell_style_xf() override { return 0; }
    size_t commit_dxf() override { return 0; }
    void set_cell_style_count(size_t) override { }
    void set_cell_style_name(std::string_view) override { }
    void set_cell_style_xf(size_t) override { }
    void set_cell_style_builtin(size_t) override { }
    void set_cell_style_parent_name(std::string_view) override { }
    size_t commit_cell_style() override { return 0; }

private:
    std::map<size_t, bool> dateFormats_; // by identifier: those that the file defines
    std::vector<bool> cellFormats_; // whether a date
    size_t numberFormat_ = 0;
    std::string code_;
    size_t cellNumberFormat_ = 0;
};

// Whether a number format's code shows a date or time.
bool IsDateCode(std::string_view code);
