#include "import/SheetStyles.h"

#include <algorithm>

namespace {

// Formats that files use without defining them: dates and times everywhere, and the Chinese ones.
bool IsBuiltInDate(size_t id)
{
    return (id >= 14 && id <= 22) || (id >= 27 && id <= 36) || (id >= 45 && id <= 47)
        || (id >= 50 && id <= 58);
}

} // namespace

bool IsDateCode(std::string_view code)
{
    constexpr std::string_view kParts = "yYmMdDhHsS";
    for (size_t i = 0; i < code.size(); ++i) {
        const char mark = code[i];
        if (mark == '\\' || mark == '_' || mark == '*') {
            ++i; // the next character stands for itself
        } else if (mark == '"' || mark == '[') {
            i = std::min(code.find(mark == '"' ? '"' : ']', i + 1), code.size());
        } else if (kParts.find(mark) != std::string_view::npos) {
            return true;
        }
    }
    return false;
}

TSheetStyles::~TSheetStyles() = default;

bool TSheetStyles::IsDate(size_t cellFormat) const
{
    return cellFormat < cellFormats_.size() && cellFormats_[cellFormat];
}

size_t TSheetStyles::commit_number_format()
{
    dateFormats_[numberFormat_] = IsDateCode(code_);
    code_.clear();
    return numberFormat_;
}

size_t TSheetStyles::commit_cell_xf()
{
    const auto own = dateFormats_.find(cellNumberFormat_);
    cellFormats_.push_back(own != dateFormats_.end() ? own->second : IsBuiltInDate(cellNumberFormat_));
    cellNumberFormat_ = 0;
    return cellFormats_.size() - 1;
}
