#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

// Texts that an XLSX file writes into their cells instead of among the shared ones, as programs do that write
// row by row; liborcus leaves those cells empty. The place counts from 0.
using TInlineText = std::function<void(const QString& table, int row, int column, const QString& text)>;

void ReadInlineTexts(const QByteArray& xlsxFile, const TInlineText& take);
