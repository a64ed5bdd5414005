#pragma once

#include <QStringView>

#include <optional>

namespace server {

// What an account may write; docs/server.md tells it in full. Every role reads all company tables.
enum class Role : quint8 {
    Reader, // nothing
    Clerk, // what stands with the account's site or a site under it
    Centre, // that, and it distributes and revokes orders of any site
    Headquarters, // everything that is open to clients at all
};

// "reader", "clerk", "centre", "headquarters"; nothing for any other word.
std::optional<Role> ParseRole(QStringView word) noexcept;
QStringView NameOf(Role role) noexcept;

} // namespace server
