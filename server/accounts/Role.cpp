#include "server/accounts/Role.h"

#include <algorithm>
#include <array>

namespace server {
namespace {

constexpr std::array<QStringView, 4> kNames{u"reader", u"clerk", u"centre", u"headquarters"};

} // namespace

std::optional<Role> ParseRole(QStringView word) noexcept
{
    const auto found = std::ranges::find(kNames, word);
    return found != kNames.end() ? std::optional(static_cast<Role>(found - kNames.begin())) : std::nullopt;
}

QStringView NameOf(Role role) noexcept
{
    return kNames[static_cast<size_t>(role)];
}

} // namespace server
