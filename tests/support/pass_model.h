// The general ledger on paper, worked out a second time and in another way: from plain values, by a naive
// choice of accounts and entries, with its own dates, amounts and texts. What the passes print must be the
// same, row by row. Where rows and rules stand is shown by the stored pages.
#pragma once

#include "support/small_base.h"

#include <cstdint>
#include <string>
#include <vector>

namespace corvalissement::testing_support {

// dd/mm/yyyy of a day number, by the standard library's calendar.
[[nodiscard]] std::string model_date(std::int64_t day);
// An amount in `width` characters, asterisks when it does not fit.
[[nodiscard]] std::string model_amount(std::int64_t hundredths, int width = 11);

struct ModelTotals {
    std::int64_t quantity = 0, debit = 0, credit = 0;
};

struct ModelPaper {
    std::vector<PaperRow> rows;
    ModelTotals totals; // of the closing page
    ModelTotals chosen; // over the stored entries chosen, whatever was printed of them
    std::size_t entries_chosen = 0;
    int most_counted_lines = 0; // on one page
};

[[nodiscard]] ModelPaper model_edition(const TestLedger& ledger, const Selection& selection);

} // namespace corvalissement::testing_support
