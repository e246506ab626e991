// The walk over the entries of one balance record, which the ledger pass makes over the validated ledger and
// the merged pass over ledger and drafts in turn: the range, the filter, the page check, the account check,
// the line. What sets the two passes apart is told where it counts.
#pragma once

#include "ledger/edition.h"
#include "ledger/entry_line.h"
#include "ledger/pass_steps.h"

#include <cstddef>
#include <string_view>

namespace corvalissement {

// Where the walk reads: a balance file and its entries, each with the slot that takes a record.
struct WalkSource {
    TarvexFile& balances;
    TarvexRecord& balance;
    TarvexFile& entries;
    TarvexRecord& entry;
    bool drafts = false; // temporary files, which know no filter on lettering
};

// The validated ledger of the selection's year.
[[nodiscard]] WalkSource ledger_source(Edition& edition);
[[nodiscard]] WalkSource draft_source(Edition& edition);

class EntryWalk {
public:
    // `steps` tells which pass this is: the ledger pass skips what fails and blanks the label of an account
    // without a chart record; the merged pass ends there, and has blocks that are closed already.
    EntryWalk(Edition& edition, Steps& steps)
        : edition_(edition), state_(edition.state), steps_(steps), period_(edition.selection),
          line_(edition, steps), end_count_(period_, steps) {}

    // Prints the entries of the balance record of `key` that are in the range and pass the filter. The last
    // account's block stays open.
    void print_key(const WalkSource& source, std::string_view key);

    // The walk counts as one that has opened no account yet: the next one does not close what stands.
    void start_blocks() noexcept { opened_ = false; }

private:
    void print_entry(const WalkSource& source, std::size_t index);
    [[nodiscard]] bool page_full() const { return state_.W_NbLignes > state_.W_MaxLignes; }
    void turn_page();
    void check_page();
    void check_account(const WalkSource& source);
    void print_title();
    void print_continuation_title();
    void read_chart();
    void count_title_rows();

    Edition& edition_;
    PrintState& state_;
    Steps& steps_;
    Period period_;
    EntryLine line_;
    EndCount end_count_;
    bool opened_ = false; // an account's title has been printed since start_blocks
    long progress_ = 0;
};

} // namespace corvalissement
