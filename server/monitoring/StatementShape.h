#pragma once

#include <QString>

namespace server::monitoring {

// A statement as it may stand in a log: every literal is "?", lists of them "?, …", comments are gone, white
// space is one blank. Says which statement it was, and nothing of whom it was about.
QString StatementShape(QStringView sql);

} // namespace server::monitoring
