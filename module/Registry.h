#pragma once

#include "framework/frm_Basic.h"

#include <span>
#include <string_view>

// One screen that the host may ask for by name.
struct TScreenEntry {
    std::string_view name;
    std::string_view rights{}; // given whatever the caller passed; empty: the caller's code
    Tfrm_Basic* (*create)(QObject* owner) = nullptr; // null: not built, and so not to be found
};

// In the order in which names are tested.
std::span<const TScreenEntry> ScreenTable();
// The entry of that very name that can be created, and the variable of its open instance; null when there is
// none.
const TScreenEntry* FindScreen(std::string_view name);
Tfrm_Basic*& ScreenVariable(const TScreenEntry& entry);
