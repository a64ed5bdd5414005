#pragma once

#include "runtime/ui/ActionKeys.h"

#include <vector>

class Tfrm_Basic;

// The keys of a screen: of its buttons, pages and lists, named by one table after what stands on them, so
// that the same words have the same key in every window. A button says its key in its tool tip; the menu of
// the screen's list has all of them.

// Once all controls are there. A button that is hidden or disabled has no key meanwhile.
void GiveActionKeys(Tfrm_Basic& screen);
// The keys of the screen itself; a list tells its own (TDBGridEh::Keys).
std::vector<TActionKey> ActionKeys(const Tfrm_Basic& screen);
