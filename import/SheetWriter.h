#pragma once

#include <QStringList>

#include <vector>

// Writes a CSV file that spreadsheets open with its Chinese intact. Raises wire::Error (Usage) where it
// cannot.
void WriteSheet(const QString& path, const std::vector<QStringList>& rows);
