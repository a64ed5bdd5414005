#pragma once

#include <QByteArray>

#include <vector>

// The entry of an archive, unpacked: empty where there is none of the name. Raises what liborcus raises where
// it is damaged; it gives no more bytes than the archive's directory promises.
std::vector<unsigned char> ZipEntry(const QByteArray& archive, const QByteArray& name);

inline QByteArray BytesOf(const std::vector<unsigned char>& entry)
{
    return QByteArray::fromRawData(
        reinterpret_cast<const char*>(entry.data()), static_cast<qsizetype>(entry.size()));
}
