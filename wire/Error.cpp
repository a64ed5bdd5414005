#include "wire/Error.h"

namespace wire {

Error::Error(ErrorKind kind, const QString& message, const QString& sqlText)
    : kind_(kind)
    , message_(message)
    , sqlText_(sqlText)
    , utf8_(message.toUtf8())
{
}

Error::~Error() = default;

const char* Error::what() const noexcept
{
    return utf8_.constData();
}

} // namespace wire
