#pragma once

#include "framework/frm_Basic.h"
#include "runtime/ScreenTable.h"

#include <span>

// How the module makes one screen, and the one instance of it that may be open.
struct TScreenSlot {
    const TScreenInfo* info;
    Tfrm_Basic* (*make)(QObject* owner);
    Tfrm_Basic* open = nullptr;
};

// The screens that the module can make.
std::span<TScreenSlot> ScreenSlots();
// The slot of the screen of that very name; null when there is none.
TScreenSlot* FindScreenSlot(std::string_view name);
