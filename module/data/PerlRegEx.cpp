#include "module/data/PerlRegEx.h"

#include "wire/Error.h"

#include <pcre.h>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

struct FreeTables {
    void operator()(const unsigned char* tables) const noexcept
    {
        pcre_free(const_cast<unsigned char*>(tables));
    }
};

// A pattern comes from the host's settings and a subject from a keyboard or a clipboard: neither may hang the
// screen or run through the stack (a level of recursion takes about 500 bytes of it).
constexpr unsigned long kMatchLimit = 1'000'000;
constexpr unsigned long kRecursionLimit = 1'500;

const unsigned char* CharacterTables()
{
    static const std::unique_ptr<const unsigned char, FreeTables> tables(pcre_maketables());
    return tables.get();
}

} // namespace

TPerlRegEx::TPerlRegEx() = default;
TPerlRegEx::~TPerlRegEx() = default;

void TPerlRegEx::Release::operator()(void* compiled) const noexcept
{
    pcre_free(compiled);
}

void TPerlRegEx::SetRegEx(const QString& pattern)
{
    if (pattern == regEx_)
        return;
    regEx_ = pattern;
    compiled_.reset();
}

void TPerlRegEx::Compile()
{
    if (regEx_.isEmpty())
        throw wire::Error(wire::ErrorKind::Usage,
            u"TPerlRegEx.Compile() - Please specify a regular expression in RegEx first"_s);
    const QByteArray pattern = regEx_.toUtf8();
    const char* reason = nullptr;
    int offset = 0;
    compiled_.reset(pcre_compile(pattern.constData(), PCRE_UTF8, &reason, &offset, CharacterTables()));
    if (!compiled_)
        throw wire::Error(wire::ErrorKind::Data,
            u"TPerlRegEx.Compile() - Error in regex at offset %1: %2"_s.arg(offset).arg(
                QString::fromUtf8(reason)));
}

bool TPerlRegEx::Match()
{
    if (!compiled_)
        Compile();
    const QByteArray subject = subject_.toUtf8();
    pcre_extra limits{};
    limits.flags = PCRE_EXTRA_MATCH_LIMIT | PCRE_EXTRA_MATCH_LIMIT_RECURSION;
    limits.match_limit = kMatchLimit;
    limits.match_limit_recursion = kRecursionLimit;
    const int result = pcre_exec(static_cast<const pcre*>(compiled_.get()), &limits, subject.constData(),
        static_cast<int>(subject.size()), 0, 0, nullptr, 0);
    if (result < 0 && result != PCRE_ERROR_NOMATCH)
        throw wire::Error(
            wire::ErrorKind::Limit, u"TPerlRegEx.Match() - Error %1 while matching"_s.arg(result));
    return result >= 0;
}

namespace {

// Freed by the module's shut-down, which runs after this file's own objects are gone: so none that destroys
// itself.
TPerlRegEx* sharedRegEx = nullptr;

} // namespace

TPerlRegEx& SharedRegEx()
{
    if (!sharedRegEx)
        sharedRegEx = new TPerlRegEx;
    return *sharedRegEx;
}

void ReleaseSharedRegEx() noexcept
{
    delete std::exchange(sharedRegEx, nullptr);
}
