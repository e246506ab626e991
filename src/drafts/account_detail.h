// The two details of the merged pass: the entries of one ledger key, and those of one temporary key. They
// are one walk on different files. Either opens the account's block when its account is not the one in
// force, and leaves the block, the accumulators and the current account as they stand, so that a second key
// of the account and its drafts go on in the same block.
#pragma once

#include "ledger/edition.h"
#include "ledger/entry_walk.h"

#include <cstddef>

namespace corvalissement {

class AccountDetail {
public:
    explicit AccountDetail(Edition& edition)
        : edition_(edition), steps_(Steps::On::end, edition.failures, "Impression_Detail_Brouillard"),
          walk_(edition, steps_) {}

    // Prints the entries in the range of the key at `position` (from 1) of W_ListeBalance.
    void Imprime_Detail(std::size_t position) {
        print(ledger_source(edition_), edition_.W_ListeBalance(position, 1));
    }

    // The same for W_ListeBalanceTempo: temporary files, whatever the year, and no filter on lettering.
    void Imprime_Tempo(std::size_t position) {
        print(draft_source(edition_), edition_.W_ListeBalanceTempo(position, 1));
    }

private:
    void print(const WalkSource& source, std::string_view key) {
        edition_.state.W_TotalCompte = false;
        edition_.state.W_MaxLignes = 30;
        walk_.start_blocks();
        walk_.print_key(source, key);
    }

    Edition& edition_;
    Steps steps_;
    EntryWalk walk_;
};

} // namespace corvalissement
