#pragma once

#include "runtime/ui/Application.h"

#include <QString>

#include <cstdint>
#include <string_view>

// Start-up and shut-down of the library, and what its exported entry does. `StartUp` raises nothing: what the
// host did not have ready is asked for again, and reported, by the next call of the entry.
void StartUp() noexcept;
void ShutDown() noexcept;

// Binds the module to the host and opens the screen, or brings it forward. `hostData` holds the host's main
// and second connection; `highIndex` is the index of its last element; `formName` a screen's name and its
// three rights characters. Shows every failure itself; raises nothing.
void OpenScreen(TApplication* application, TScreen* screen, const std::uintptr_t* hostData, int highIndex,
    const char* formName) noexcept;

// "WindowsIni/Zelmor.ini" in the folder of the running program.
QString SettingsFileName(const QString& exeName);
