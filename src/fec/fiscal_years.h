// The bounds of an entity's fiscal years, and to which of them a day belongs. Days are day numbers.
#pragma once

#include "records/ledger_writer.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace corvalissement {

// Lines, and what they add up to in whole hundredths.
struct LineSums {
    std::uint64_t lines = 0;
    std::int64_t debit = 0;
    std::int64_t credit = 0;
};

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
    [[nodiscard]] std::optional<Exercice> period_of(std::int64_t day) const;
    // From the first day to the last of one of the three.
    [[nodiscard]] std::pair<std::int64_t, std::int64_t> bounds_of(Exercice period) const;

    friend bool operator==(const FiscalYears&, const FiscalYears&) = default;
};

// Year N from one bound or both; the missing one makes it twelve months. REQUIRES one of them.
[[nodiscard]] FiscalYears years_from_bounds(std::optional<std::int64_t> first,
                                            std::optional<std::int64_t> last);

// The same day of the month so many months later, or earlier, or the last one of a shorter month.
[[nodiscard]] std::int64_t add_months(std::int64_t day, int months);
[[nodiscard]] std::int64_t first_of_month(std::int64_t day);

// dd/mm/yyyy.
[[nodiscard]] std::string date_text(std::int64_t day);

// The years in which an entry can be dated.
inline constexpr int FIRST_YEAR = 1900;
inline constexpr int LAST_YEAR = 2099;

// Eight digits aaaammjj. Nothing when they name no day of the calendar in those years.
[[nodiscard]] std::optional<std::int64_t> day_of_digits(std::string_view digits);

} // namespace corvalissement
