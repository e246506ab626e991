#include "commands/drafts_in_use.h"

#include "data/keys.h"
#include "platform/failures.h"

#include <chrono>
#include <thread>

namespace corvalissement {

namespace {

// The name under which a session keeps the files. No record has such a key.
constexpr std::string_view EDITION = "*edition*";

} // namespace

void keep_drafts(HeldLocks& locks) {
    constexpr int TRIES = 25;
    constexpr std::chrono::milliseconds PAUSE{20};
    bool kept = locks.lock(files::BALANCEGENETEMPO, EDITION);
    for (int i = 0; i < TRIES && !kept; ++i) {
        std::this_thread::sleep_for(PAUSE);
        kept = locks.lock(files::BALANCEGENETEMPO, EDITION);
    }
    if (!kept)
        throw StepFailure(ERR_STORE, "les fichiers temporaires sont tenus par une autre édition",
                          std::string(files::BALANCEGENETEMPO));
}

void free_drafts(HeldLocks& locks) { locks.unlock(files::BALANCEGENETEMPO, EDITION); }

void require_drafts_free(HeldLocks& locks) { const DraftsInUse held(locks); }

DraftsInUse::DraftsInUse(HeldLocks& locks)
    : locks_(locks), held_before_(locks.holds(files::BALANCEGENETEMPO, EDITION)) {
    keep_drafts(locks);
}

DraftsInUse::~DraftsInUse() {
    if (!held_before_) free_drafts(locks_);
}

} // namespace corvalissement
