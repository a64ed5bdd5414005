#pragma once

#include <QtGlobal>

#ifdef ZELMOR_WIRE_BUILD
#define WIRE_EXPORT Q_DECL_EXPORT
#else
#define WIRE_EXPORT Q_DECL_IMPORT
#endif
