#pragma once

#include "runtime/Export.h"

#include <QString>

#include <span>
#include <string_view>

// All that the program knows of a screen before it is made: the host's menus, the module's registry and the
// screen itself read the same row.
struct TScreenInfo {
    const char* className; // "Tfrm_AcceptBill"
    const char16_t* caption;
    const char16_t* menu; // with its access key
    const char16_t* shortcut; // portable text; empty: none
    const char* fixedRights; // given whatever the caller passed; empty: the caller's code
    const char* guide = ""; // its page of the user guide, without ".md"
    bool built = false; // otherwise neither offered nor found
    const char16_t* note = u""; // behind the caption in lists of windows, where another has the same

    // The class's name without its T, as `exec` knows it.
    constexpr std::string_view Name() const { return std::string_view(className).substr(1); }
    QString NameText() const { return QString::fromLatin1(className + 1); }
    QString Caption() const { return QString::fromUtf16(caption); }
    QString Note() const { return QString::fromUtf16(note); }
};

// The menus, in the order of the menu bar.
RUNTIME_EXPORT std::span<const char16_t* const> ScreenMenus();
// In the order in which names are tested.
RUNTIME_EXPORT std::span<const TScreenInfo> ScreenTable();
// The row of that very name, built or not; null when there is none.
RUNTIME_EXPORT const TScreenInfo* FindScreenInfo(std::string_view name);
