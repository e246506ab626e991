// What a balance record says, in one place for all that write one: importers, made-up bases, the assignment
// of drafts.
#pragma once

#include "data/dyn_array.h"
#include "data/keys.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace corvalissement {

// Whole hundredths; the balance is debit minus credit.
struct BalanceTotals {
    std::int64_t debit = 0;
    std::int64_t credit = 0;
    std::int64_t solde = 0;
};

// `dates` and `entries` are values in step, dates ascending. Other attributes of the record stay.
inline void set_balance(DynArray& record, const BalanceTotals& totals, std::string_view dates,
                        std::string_view entries) {
    record.set(balance::TOTAL_DEBIT, std::to_string(totals.debit));
    record.set(balance::TOTAL_CREDIT, std::to_string(totals.credit));
    record.set(balance::SOLDE, std::to_string(totals.solde));
    record.set(balance::DATES, dates);
    record.set(balance::ENTRIES, entries);
}

} // namespace corvalissement
