// How long Tabulon waits for another program's change to the shared file
// before giving up, as the family's settings file says ("Tabulon",
// "LockWaitMilliseconds"); the database layer's own wait when it says
// nothing usable.
#pragma once

class CRegistry;

namespace app {

// The recorded wait in milliseconds; the default for an absent value, one
// that is not a whole number, or a negative one.
int ReadLockWait(const CRegistry& registry);

// Reads the wait and hands it to the database layer, for every database
// opened after this.
void ApplyLockWaitSetting(const CRegistry& registry);

}  // namespace app
