#pragma once

#include <QString>

namespace server {

// Argon2id, with its salt and cost inside. Takes some tens of milliseconds; raises wire::Error (Limit) where
// memory is short.
QString HashPassword(const QString& password);
// Whether somebody asks who has logged in before: such do not queue behind strangers.
enum class PasswordQueue { Known, Strangers };
// Takes the same time whether the password is right or wrong.
bool PasswordMatches(
    const QString& hash, const QString& password, PasswordQueue queue = PasswordQueue::Strangers);

} // namespace server
