#pragma once

#include <QStringConverter>

#include <string>

namespace wire {

// Appends the text as UTF-8, in the memory that `to` has where it suffices.
inline void AppendUtf8(std::string& to, QStringView text)
{
    QStringEncoder encode(QStringEncoder::Utf8);
    const size_t begin = to.size();
    to.resize(begin + static_cast<size_t>(encode.requiredSpace(text.size())));
    const char* const end = encode.appendToBuffer(to.data() + begin, text);
    to.resize(static_cast<size_t>(end - to.data()));
}

} // namespace wire
