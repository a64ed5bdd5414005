#include "server/accounts/PasswordHash.h"

#include "server/refusal/UserTexts.h"
#include "wire/Error.h"

#include <sodium.h>

#include <array>
#include <semaphore>

namespace server {
namespace {

// Two passes over 19 MiB: beyond what guessing machines like, yet bearable when a whole company logs in at
// eight o'clock. No more than three at a time, so that logins never take the memory of the queries; one of
// the three is kept free of strangers.
constexpr unsigned long long kPasses = 2;
constexpr size_t kMemory = 19 * 1024 * 1024;
std::counting_semaphore<3> slots{3};
std::counting_semaphore<2> strangers{2};

class Slot {
public:
    explicit Slot(PasswordQueue queue)
        : queue_(queue)
    {
        if (queue_ == PasswordQueue::Strangers)
            strangers.acquire();
        slots.acquire();
    }
    ~Slot()
    {
        slots.release();
        if (queue_ == PasswordQueue::Strangers)
            strangers.release();
    }
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;

private:
    const PasswordQueue queue_;
};

void StartLibrary()
{
    static const int started = sodium_init();
    if (started < 0)
        throw wire::Error(wire::ErrorKind::Limit, texts::OutOfMemory());
}

} // namespace

QString HashPassword(const QString& password)
{
    StartLibrary();
    const Slot slot(PasswordQueue::Known);
    const QByteArray utf8 = password.toUtf8();
    std::array<char, crypto_pwhash_STRBYTES> hash{};
    if (crypto_pwhash_str_alg(hash.data(), utf8.constData(), static_cast<size_t>(utf8.size()), kPasses,
            kMemory, crypto_pwhash_ALG_ARGON2ID13)
        != 0)
        throw wire::Error(wire::ErrorKind::Limit, texts::OutOfMemory());
    return QString::fromLatin1(hash.data());
}

bool PasswordMatches(const QString& hash, const QString& password, PasswordQueue queue)
{
    StartLibrary();
    const Slot slot(queue);
    const QByteArray utf8 = password.toUtf8();
    return crypto_pwhash_str_verify(
               hash.toLatin1().constData(), utf8.constData(), static_cast<size_t>(utf8.size()))
        == 0;
}

} // namespace server
