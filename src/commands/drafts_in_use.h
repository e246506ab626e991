// Who has the temporary ledger files. They are common to all users of a base, so a session keeps them to
// itself from the assignment that fills them to the emptying that follows the edition.
#pragma once

#include "commands/held_locks.h"

namespace corvalissement {

// Keeps the files for the session of `locks`. One that another session only empties or looks at is waited
// for, for half a second; StepFailure (ERR_STORE) when its edition is on the way.
void keep_drafts(HeldLocks& locks);
void free_drafts(HeldLocks& locks);

// Throws ERR_STORE when another session keeps the files: what stands in them is not for this one.
void require_drafts_free(HeldLocks& locks);

// Holds the files for a while. A session that held none before gives them free at the end.
class DraftsInUse {
public:
    explicit DraftsInUse(HeldLocks& locks);
    ~DraftsInUse();
    DraftsInUse(const DraftsInUse&) = delete;
    DraftsInUse& operator=(const DraftsInUse&) = delete;

private:
    HeldLocks& locks_;
    bool held_before_;
};

} // namespace corvalissement
