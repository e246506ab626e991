// What takes an edition, page by page and account by account, in the order in which it is printed. Paper is
// one; a sink of another form passes over what only paper has: pages, heads, bands, frames.
//
// The passes count the rows of a page and decide where it ends; a sink never does. A call that fails throws
// StepFailure, and the pass goes on behind it or ends, as its rule is.
#pragma once

#include "ledger/ledger_line.h"

#include <string_view>

namespace corvalissement {

class LedgerSink {
public:
    virtual ~LedgerSink() = default;

    virtual void new_page() = 0;

    // The head of a page comes in three parts, for the record of the entity is read when the first stands,
    // and a head whose record cannot be read ends there. `page` counts from 1. `totals` is true for the
    // closing page, whose columns are fewer.
    virtual void begin_head(const CivilDate& today, long page) = 0;
    virtual void end_head(const PageHead& head) = 0;
    virtual void column_titles(bool totals) = 0;

    // An account opens: its number of 10 characters, and its label once its chart record has been read. On a
    // page on which it goes on, `continue_account` takes the place of `name_account`; `page` counts within
    // the account.
    virtual void begin_account(std::string_view number) = 0;
    virtual void name_account(std::string_view number, std::string_view label) = 0;
    virtual void continue_account(std::string_view label, long page) = 0;

    // The account's title stands; `rows` is the number of rows since the last frame.
    virtual void close_band(int rows) = 0;

    virtual void line(const LedgerLine& line) = 0;

    // Between the ledger's lines and the drafts of an account that has both.
    virtual void blank_row() = 0;

    // The account ends with its totals, or its block goes on on another page without them; the frame follows
    // in both cases, `rows` as above.
    virtual void account_total(const LedgerTotals& totals) = 0;
    virtual void close_block(int rows) = 0;

    // The totals of the edition, on the closing page.
    virtual void closing_total(const LedgerTotals& totals) = 0;
};

} // namespace corvalissement
