#pragma once

#include <QString>

namespace server {

// Asks for a new password: twice and unseen at a terminal, otherwise the first line of standard input. Raises
// UsageError where there is none or the two differ.
QString AskNewPassword();

} // namespace server
