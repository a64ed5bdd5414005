#pragma once

#include "server/accounts/Role.h"
#include "wire/Messages.h"

namespace server {

// An account as an administrator adds it.
struct NewAccount {
    QString account;
    QString password;
    QString employeeCode; // must exist; gives name and site
    QString userType;
    QString rights = QStringLiteral("111");
    std::optional<Role> role = std::nullopt; // none: the account's site tells
};

// An account as it stands.
struct Account : wire::Identity {
    std::optional<Role> role; // as an administrator set it
};

// Offered by the login window of a demo database.
struct DemoAccount {
    QString account;
    QString password;
    QString description; // "安徽合肥一部 · 网点"
};

} // namespace server
