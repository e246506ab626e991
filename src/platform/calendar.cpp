#include "platform/calendar.h"

namespace corvalissement {

namespace {

constexpr std::int64_t DAYS_TO_ORIGIN = 693'593; // from 01/01/0001 to 30/12/1899

bool leap(int year) noexcept { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int days_of_month(int year, int month) noexcept {
    constexpr int DAYS[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && leap(year) ? 29 : DAYS[month - 1];
}

// Days from 01/01/0001 to the first day of `year`.
std::int64_t days_before_year(std::int64_t year) noexcept {
    const std::int64_t y = year - 1;
    return y * 365 + y / 4 - y / 100 + y / 400;
}

} // namespace

bool civil_from_day(std::int64_t day_number, CivilDate& date) noexcept {
    if (day_number < -DAYS_TO_ORIGIN || day_number > 2'958'465) return false;
    std::int64_t days = day_number + DAYS_TO_ORIGIN;
    std::int64_t year = days * 400 / 146'097 + 1;
    while (days_before_year(year) > days)
        --year;
    while (days_before_year(year + 1) <= days)
        ++year;
    days -= days_before_year(year);
    const int y = static_cast<int>(year);
    int month = 1;
    while (days >= days_of_month(y, month)) {
        days -= days_of_month(y, month);
        ++month;
    }
    date = {y, month, static_cast<int>(days) + 1};
    return true;
}

bool day_from_civil(const CivilDate& date, std::int64_t& day_number) noexcept {
    if (date.year < 1 || date.year > 9999 || date.month < 1 || date.month > 12) return false;
    if (date.day < 1 || date.day > days_of_month(date.year, date.month)) return false;
    std::int64_t days = days_before_year(date.year) + date.day - 1;
    for (int month = 1; month < date.month; ++month)
        days += days_of_month(date.year, month);
    day_number = days - DAYS_TO_ORIGIN;
    return true;
}

} // namespace corvalissement
