#include "fec/fiscal_years.h"

#include "platform/calendar.h"

namespace corvalissement {

namespace {

CivilDate civil(std::int64_t day) {
    CivilDate date;
    (void)civil_from_day(day, date);
    return date;
}

} // namespace

std::int64_t add_months(std::int64_t day, int months) {
    CivilDate date = civil(day);
    const int month = date.year * 12 + date.month - 1 + months;
    date.year = month / 12;
    date.month = month % 12 + 1;
    std::int64_t result = 0;
    while (!day_from_civil(date, result) && date.day > 28)
        --date.day;
    return result;
}

std::int64_t first_of_month(std::int64_t day) { return day - civil(day).day + 1; }

std::int64_t FiscalYears::first_day_before() const {
    std::int64_t day = 0;
    static_cast<void>(day_from_civil(first_day_of_year_ending(civil(first_day - 1)), day));
    return day;
}

std::int64_t FiscalYears::last_day_after() const {
    return known_end_of_next ? *known_end_of_next : add_months(last_day + 1, 12) - 1;
}

std::optional<Exercice> FiscalYears::period_of(std::int64_t day) const {
    if (day >= first_day && day <= last_day) return Exercice::courant;
    if (day > last_day && day <= last_day_after()) return Exercice::suivant;
    if (day < first_day && day >= first_day_before()) return Exercice::precedent;
    return std::nullopt;
}

std::pair<std::int64_t, std::int64_t> FiscalYears::bounds_of(Exercice period) const {
    switch (period) {
    case Exercice::precedent:
        return {first_day_before(), first_day - 1};
    case Exercice::suivant:
        return {last_day + 1, last_day_after()};
    default:
        return {first_day, last_day};
    }
}

FiscalYears years_from_bounds(std::optional<std::int64_t> first, std::optional<std::int64_t> last) {
    if (!first) return {add_months(*last + 1, -12), *last};
    return {*first, last ? *last : add_months(*first, 12) - 1};
}

std::string date_text(std::int64_t day) {
    const CivilDate date = civil(day);
    std::string text;
    append_padded(text, static_cast<std::uint64_t>(date.day), 2);
    text.push_back('/');
    append_padded(text, static_cast<std::uint64_t>(date.month), 2);
    text.push_back('/');
    append_padded(text, static_cast<std::uint64_t>(date.year), 4);
    return text;
}

std::optional<std::int64_t> day_of_digits(std::string_view digits) {
    if (digits.size() != 8) return std::nullopt;
    int number = 0;
    for (const char c : digits) {
        if (c < '0' || c > '9') return std::nullopt;
        number = number * 10 + (c - '0');
    }
    // As for the tax office's own checking program, other years are slips of the pen.
    const int year = number / 10'000;
    if (year < FIRST_YEAR || year > LAST_YEAR) return std::nullopt;
    std::int64_t day = 0;
    if (!day_from_civil({number / 10'000, number / 100 % 100, number % 100}, day)) return std::nullopt;
    return day;
}

} // namespace corvalissement
