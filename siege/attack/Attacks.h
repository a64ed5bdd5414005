#pragma once

#include "siege/attack/Target.h"

#include <vector>

namespace attack {

// What became of an attack.
struct Result {
    bool held = false;
    QString what; // with figures
};

struct Attack {
    const char* name;
    Result (*play)(Target& target, bool brief); // brief: as much as fits into a few seconds
};

// The fifth is by slow readers as well as by heavy statements; the tenth needs no target that runs.
const std::vector<Attack>& Attacks();

Result Crash(Target& target, bool brief);
Result Freeze(Target& target, bool brief);
Result TranslateWithoutEnd(Target& target, bool brief);
Result FillTheMemory(Target& target, bool brief);
Result PrepareWithoutEnd(Target& target, bool brief);
Result StarveByStatements(Target& target, bool brief);
Result StarveBySaving(Target& target, bool brief);
Result StarveByNotReading(Target& target, bool brief);
Result OccupyConnections(Target& target, bool brief);
Result GuessPasswords(Target& target, bool brief);
Result SaveTwice(Target& target, bool brief);
Result LeaveWhileSaving(Target& target, bool brief);
Result WriteWhatIsOthers(Target& target, bool brief);
Result MisplaceFilesAndKeys(Target& target, bool brief);

} // namespace attack
