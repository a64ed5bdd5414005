#pragma once

#include <QtGlobal>

#ifdef ZELMOR_RUNTIME_BUILD
#define RUNTIME_EXPORT Q_DECL_EXPORT
#else
#define RUNTIME_EXPORT Q_DECL_IMPORT
#endif
