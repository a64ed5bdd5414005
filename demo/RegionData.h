#pragma once

#include <span>

// The regions as they are written down; Regions.h gives them in shape.
namespace demo {

struct ProvinceText {
    const char16_t* code;
    const char16_t* name;
    const char16_t* shortName;
    const char16_t* area;
    int weight; // its share of the orders, against the others
    const char16_t* cities;
};

std::span<const ProvinceText> NorthernProvinces();
std::span<const ProvinceText> EasternProvinces();
std::span<const ProvinceText> SouthernProvinces();
std::span<const ProvinceText> WesternProvinces();

} // namespace demo
