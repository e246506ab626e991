// Days as whole numbers: day 0 is 30/12/1899, so 01/01/2024 is 45292.
#pragma once

#include <cstdint>

namespace corvalissement {

struct CivilDate {
    int year = 1899;
    int month = 12;
    int day = 30;
    friend bool operator==(const CivilDate&, const CivilDate&) = default;
};

// Years 1 to 9999; a number outside them gives false.
[[nodiscard]] bool civil_from_day(std::int64_t day_number, CivilDate& date) noexcept;

// First day of the year that ends on `last_day`, when only its end is known: the first of a month, twelve
// months before the month that follows.
[[nodiscard]] constexpr CivilDate first_day_of_year_ending(const CivilDate& last_day) noexcept {
    return last_day.month == 12 ? CivilDate{last_day.year, 1, 1}
                                : CivilDate{last_day.year - 1, last_day.month + 1, 1};
}

// False when the date exists in no calendar.
[[nodiscard]] bool day_from_civil(const CivilDate& date, std::int64_t& day_number) noexcept;

} // namespace corvalissement
