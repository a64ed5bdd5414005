#include "import/ZipEntry.h"

#include <orcus/zip_archive.hpp>
#include <orcus/zip_archive_stream.hpp>

std::vector<unsigned char> ZipEntry(const QByteArray& archive, const QByteArray& name)
{
    orcus::zip_archive_stream_blob stream(
        reinterpret_cast<const unsigned char*>(archive.constData()), static_cast<size_t>(archive.size()));
    orcus::zip_archive zip(&stream);
    zip.load();
    std::vector<unsigned char> entry;
    if (!zip.read_file_entry(name.toStdString(), entry))
        return {};
    if (!entry.empty() && entry.back() == 0) // one that liborcus adds
        entry.pop_back();
    return entry;
}
