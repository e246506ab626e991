// The two details of the merged pass: the entries of one ledger key, and those of one temporary key. They
// are one walk on different files. Either opens the account's block when its account is not the one in
// force, and leaves the block, the accumulators and the current account as they stand, so that a second key
// of the account and its drafts go on in the same block.
#pragma once

#include "ledger/edition.h"
#include "ledger/entry_line.h"
#include "ledger/pass_steps.h"

#include <cstddef>

namespace corvalissement {

class AccountDetail {
public:
    explicit AccountDetail(Edition& edition);

    // Prints the entries in the range of the key at `position` (from 1) of W_ListeBalance.
    void Imprime_Detail(std::size_t position);

    // The same for W_ListeBalanceTempo: temporary files, whatever the year, and no filter on lettering.
    void Imprime_Tempo(std::size_t position);

private:
    struct Source {
        const DynArray& keys;
        TarvexFile& balances;
        TarvexRecord& balance;
        TarvexFile& entries;
        TarvexRecord& entry;
        bool drafts;
    };

    void print_key(const Source& source, std::size_t position);
    void print_entry(const Source& source, std::size_t index);
    void check_page();
    void check_account(const Source& source);
    void turn_page();
    [[nodiscard]] bool page_full() const { return state_.W_NbLignes > state_.W_MaxLignes; }

    Edition& edition_;
    PrintState& state_;
    Steps steps_;
    Period period_;
    EntryLine line_;
    EndCount end_count_;
    bool opened_in_call_ = false; // the call at work has printed an account title
    long progress_ = 0;
};

} // namespace corvalissement
