#include "module/data/LayoutStorage.h"

TIniPropStorageManEh* LayoutStorage = nullptr;
