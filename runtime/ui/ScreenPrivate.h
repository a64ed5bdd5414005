#pragma once

#include "runtime/ui/Application.h"

// The screen's list of open forms; forms keep it up to date themselves.
class TScreen::Private {
public:
    int cursor = crDefault;
    std::vector<TForm*> forms;
    TForm* active = nullptr;
};
