// The bounds of an entity's fiscal years, and to which of them a day belongs. Days are day numbers.
#pragma once

#include "importers/ledger_writer.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace corvalissement {

// Year N in both bounds, and what follows from it. Year N - 1 is derived from the first day of N as the
// control derives it: it ends the day before and starts on the first of a month, twelve months before the
// month that follows its end. Year N + 1 is the twelve months behind N, unless its end is known.
struct FiscalYears {
    std::int64_t first_day = 0;
    std::int64_t last_day = 0;
    std::optional<std::int64_t> known_end_of_next = std::nullopt;

    [[nodiscard]] std::int64_t first_day_before() const;
    [[nodiscard]] std::int64_t last_day_after() const;

    // Nothing for a day in none of the three years.
    [[nodiscard]] std::optional<BookedPeriod> period_of(std::int64_t day) const;
};

// Year N from one bound or both; the missing one makes it twelve months. REQUIRES one of them.
[[nodiscard]] FiscalYears years_from_bounds(std::optional<std::int64_t> first,
                                            std::optional<std::int64_t> last);

// Year N as a file lets guess it. It starts on the first of the month of the earliest date. It ends on the
// closing day that the file's name tells (`...FECaaaammjj`), when that lies behind every date and within 24
// months; else with the twelfth month, or with the month of the latest date when the dates go further, up
// to 24 months. Nothing when they go further still.
[[nodiscard]] std::optional<FiscalYears> years_from_dates(std::int64_t earliest, std::int64_t latest,
                                                          std::string_view file_name);

// dd/mm/yyyy.
[[nodiscard]] std::string date_text(std::int64_t day);

// The years in which an entry can be dated.
inline constexpr int FIRST_YEAR = 1900;
inline constexpr int LAST_YEAR = 2099;

// Eight digits aaaammjj. Nothing when they name no day of the calendar in those years.
[[nodiscard]] std::optional<std::int64_t> day_of_digits(std::string_view digits);

} // namespace corvalissement
