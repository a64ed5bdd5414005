#pragma once

#include <QtGlobal>

namespace storage::sqlite {

// Registers, once, a layer over the system's files that counts what statements put into temporary ones (what
// they sort, group and walk) and refuses more than there may be; its name, for who opens a database.
const char* CountedFiles();

// Bytes of one temporary file, and of all that there are at a time.
void LimitTemporaryFiles(qint64 ofOne, qint64 ofAll) noexcept;

// Whether that is why this thread was last told that the disk is full. Asked once.
bool TookTooMuch() noexcept;

} // namespace storage::sqlite
