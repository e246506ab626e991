#include "data/util_object.h"

#include "data/amounts.h"
#include "platform/text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace corvalissement {

namespace {

[[noreturn]] void no_date(std::string_view text) {
    throw StepFailure(ERR_TYPE, "« " + std::string(text.substr(0, 40)) + " » n'est pas une date interne");
}

bool is_digit(char c) noexcept { return c >= '0' && c <= '9'; }

int number_of(std::string_view digits) noexcept {
    int value = 0;
    for (const char c : digits)
        value = value * 10 + (c - '0');
    return value;
}

void append_padded(std::string& text, int value, int width) {
    std::string digits = std::to_string(value);
    text.append(static_cast<std::size_t>(std::max(0, width - static_cast<int>(digits.size()))), '0');
    text += digits;
}

// Day, month and year as typed, each a run of digits or "" when it is missing. False when the text has no
// date's form.
bool typed_parts(std::string_view text, std::array<std::string_view, 3>& parts) {
    std::size_t count = 0;
    if (std::all_of(text.begin(), text.end(), is_digit)) {
        const std::size_t size = text.size();
        if (size != 1 && size != 2 && size != 4 && size != 6 && size != 8) return false;
        parts[0] = text.substr(0, 2);
        if (size > 2) parts[1] = text.substr(2, 2);
        if (size > 4) parts[2] = text.substr(4);
        return true;
    }
    for (std::size_t at = 0; at <= text.size(); ++count) {
        const std::size_t end = std::min(text.find_first_of("/-. ", at), text.size());
        const std::string_view part = text.substr(at, end - at);
        if (count == 3 || part.empty() || !std::all_of(part.begin(), part.end(), is_digit)) return false;
        if (count < 2 ? part.size() > 2 : part.size() != 2 && part.size() != 4) return false;
        parts[count] = part;
        at = end + 1;
    }
    return count >= 2;
}

} // namespace

std::string format_date(const CivilDate& date) {
    std::string text;
    append_padded(text, date.day, 2);
    text += '/';
    append_padded(text, date.month, 2);
    text += '/';
    append_padded(text, date.year, 4);
    return text;
}

std::int64_t day_number(std::string_view internal) {
    std::string_view whole = trim_blanks(internal);
    const std::size_t mark = whole.find_first_of(".,");
    bool fraction = false;
    if (mark != std::string_view::npos) {
        const std::string_view time = whole.substr(mark + 1);
        if (!std::all_of(time.begin(), time.end(), is_digit)) no_date(internal);
        fraction = time.find_first_not_of('0') != std::string_view::npos;
        whole = whole.substr(0, mark);
    }
    std::int64_t days = 0;
    if (!parse_whole(whole, days)) no_date(internal);
    // The integer part of a negative number with a fraction is the whole number below it.
    return fraction && !whole.empty() && whole.front() == '-' ? days - 1 : days;
}

CivilDate civil_date(std::string_view internal) {
    CivilDate date;
    if (!civil_from_day(day_number(internal), date)) no_date(internal);
    return date;
}

std::string date_text(std::string_view internal) {
    return internal.empty() ? std::string() : format_date(civil_date(internal));
}

std::string internal_date(std::string_view text) {
    std::array<std::string_view, 3> parts;
    text = trim_blanks(text);
    if (text.find('/') == std::string_view::npos || !typed_parts(text, parts) || parts[2].size() != 4)
        return {};
    std::int64_t days = 0;
    if (!day_from_civil({number_of(parts[2]), number_of(parts[1]), number_of(parts[0])}, days)) return {};
    return std::to_string(days);
}

std::string UtilObject::CompleteDate(std::string_view typed, int) {
    date_refused_ = false;
    std::array<std::string_view, 3> parts;
    if (!typed_parts(trim_blanks(typed), parts)) return std::string(typed);
    CivilDate date = host_.today();
    date.day = number_of(parts[0]);
    if (!parts[1].empty()) date.month = number_of(parts[1]);
    if (parts[2].size() == 2) date.year = number_of(parts[2]) + (number_of(parts[2]) < 70 ? 2000 : 1900);
    if (parts[2].size() == 4) date.year = number_of(parts[2]);
    std::int64_t days = 0;
    if (day_from_civil(date, days)) return format_date(date);
    date_refused_ = true;
    message(host_, "La date saisie n'est pas valide.");
    return std::string(typed);
}

std::string UtilObject::FormatMontant(std::string_view units, int int_positions, int decimals, int) const {
    const std::string_view trimmed = trim_blanks(units);
    std::string_view digits = trimmed;
    const bool negative = !digits.empty() && digits.front() == '-';
    if (!digits.empty() && (digits.front() == '-' || digits.front() == '+')) digits.remove_prefix(1);
    const std::size_t mark = digits.find_first_of(".,");
    std::string whole(digits.substr(0, mark));
    std::string rest(mark == std::string_view::npos ? std::string_view() : digits.substr(mark + 1));
    if ((whole.empty() && rest.empty()) || !std::all_of(whole.begin(), whole.end(), is_digit) ||
        !std::all_of(rest.begin(), rest.end(), is_digit))
        throw StepFailure(ERR_TYPE, "« " + std::string(units.substr(0, 40)) + " » n'est pas un montant");

    // Rounded half up on the digits themselves, so that no amount passes through a fraction.
    const auto kept = static_cast<std::size_t>(decimals);
    const bool up = rest.size() > kept && rest[kept] >= '5';
    rest.resize(kept, '0');
    std::string number = whole + rest;
    for (std::size_t i = number.size(); up && i-- > 0;) {
        if (number[i] != '9') {
            ++number[i];
            break;
        }
        number[i] = '0';
        if (i == 0) number.insert(number.begin(), '1');
    }
    const bool zero = number.find_first_not_of('0') == std::string::npos;
    number.insert(0, number.size() <= kept ? kept + 1 - number.size() : 0, '0');
    std::string text = number.substr(0, number.size() - kept);
    text.erase(0, std::min(text.find_first_not_of('0'), text.size() - 1));
    if (negative && !zero) text.insert(text.begin(), '-');
    if (text.size() > static_cast<std::size_t>(int_positions))
        return std::string(static_cast<std::size_t>(int_positions) + 1 + kept, '*');
    text.insert(0, static_cast<std::size_t>(int_positions) - text.size(), ' ');
    return text + ',' + number.substr(number.size() - kept);
}

std::string UtilObject::ChoixImprimante(std::string_view) {
    const PrinterChoice choice = host_.choose_printer();
    copies_ = static_cast<std::int16_t>(std::clamp(choice.copies, 1, 32767));
    return std::to_string(choice.index);
}

} // namespace corvalissement
