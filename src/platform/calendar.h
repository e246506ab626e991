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

// False when the date exists in no calendar.
[[nodiscard]] bool day_from_civil(const CivilDate& date, std::int64_t& day_number) noexcept;

} // namespace corvalissement
