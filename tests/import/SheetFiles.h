#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <vector>

// Spreadsheet files as programs write them, made for tests.

struct TZipEntry {
    QByteArray name;
    QByteArray bytes;
    quint32 claimed = 0; // unpacked size that the directory claims; 0: the true one
    quint16 flags = 0;
};

// An archive whose entries are stored as they are.
QByteArray ZipOf(const QList<TZipEntry>& entries);

// Cells beginning with "=" are written as numbers, with "@" as dates (serial numbers), with "<" as they
// stand, others as shared strings. `more`: elements after the rows.
QByteArray XlsxOf(const std::vector<QStringList>& rows, const QByteArray& more = {});
// Of a body of table rows.
QByteArray OdsOf(const QByteArray& rows, const QByteArray& manifest = "<m/>");
