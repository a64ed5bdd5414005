#pragma once

// ODBC's C interface. Names without a suffix stay those that take bytes, whatever else in a program asks for
// wide characters.
#include <QtGlobal>

#define SQL_NOUNICODEMAP
#ifdef Q_OS_WIN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#endif
#include <sql.h>
#include <sqlext.h>
