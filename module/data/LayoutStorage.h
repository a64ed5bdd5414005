#pragma once

#include "runtime/ui/PropStorage.h"

// The module's settings file; made at start-up, freed at shut-down. Null outside of that.
extern TIniPropStorageManEh* LayoutStorage;
