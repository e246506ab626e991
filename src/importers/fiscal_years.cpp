#include "importers/fiscal_years.h"

#include "platform/calendar.h"

#include <algorithm>

namespace corvalissement {

namespace {

CivilDate civil(std::int64_t day) {
    CivilDate date;
    (void)civil_from_day(day, date);
    return date;
}

// The same day of the month so many months later, or the last one of a shorter month.
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

std::optional<std::int64_t> closing_day_in(std::string_view file_name) {
    const std::size_t slash = file_name.rfind('/');
    if (slash != std::string_view::npos) file_name.remove_prefix(slash + 1);
    std::optional<std::int64_t> closing;
    for (std::size_t at = 0; at + 11 <= file_name.size(); ++at) {
        const auto is = [&](std::size_t i, char capital) {
            return file_name[at + i] == capital || file_name[at + i] == capital + ('a' - 'A');
        };
        if (is(0, 'F') && is(1, 'E') && is(2, 'C'))
            if (const auto day = day_of_digits(file_name.substr(at + 3, 8))) closing = day;
    }
    return closing;
}

} // namespace

std::int64_t FiscalYears::first_day_before() const { return add_months(first_of_month(first_day - 1), -11); }

std::int64_t FiscalYears::last_day_after() const {
    return known_end_of_next ? *known_end_of_next : add_months(last_day + 1, 12) - 1;
}

std::optional<BookedPeriod> FiscalYears::period_of(std::int64_t day) const {
    if (day >= first_day && day <= last_day) return BookedPeriod::current;
    if (day > last_day && day <= last_day_after()) return BookedPeriod::next;
    if (day < first_day && day >= first_day_before()) return BookedPeriod::previous;
    return std::nullopt;
}

FiscalYears years_from_bounds(std::optional<std::int64_t> first, std::optional<std::int64_t> last) {
    if (!first) return {add_months(*last + 1, -12), *last};
    return {*first, last ? *last : add_months(*first, 12) - 1};
}

std::optional<FiscalYears> years_from_dates(std::int64_t earliest, std::int64_t latest,
                                            std::string_view file_name) {
    const std::int64_t first = first_of_month(earliest);
    const std::int64_t longest = add_months(first, 24) - 1;
    const auto closing = closing_day_in(file_name);
    if (closing && *closing >= latest && *closing <= longest) return FiscalYears{first, *closing};
    if (latest > longest) return std::nullopt;
    const std::int64_t twelfth = add_months(first, 12) - 1;
    return FiscalYears{first, std::max(twelfth, add_months(first_of_month(latest), 1) - 1)};
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
