#pragma once

#include "import/SheetReader.h"

#include <QByteArray>

// A file as it lies on the disk, before anything parses it.

enum class TSheetKind { Xlsx, Ods, Csv };

struct TSheetFile {
    TSheetKind kind = TSheetKind::Csv;
    QByteArray bytes{}; // CSV: UTF-8, without a mark
};

// Reads the file and looks at what it is. Raises wire::Error as ReadSheet does: an archive is measured by its
// own directory before anything is unpacked.
TSheetFile LoadSheetFile(const QString& path, const TSheetBudget& budget);
