#include "data/amounts.h"

#include "platform/failures.h"
#include "platform/text.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace corvalissement {

namespace {

constexpr double EXACT_LIMIT = 9.0e15; // whole numbers beyond are no longer exact in a double

// Digits that `value` takes before the decimal mark, its sign included.
int positions_taken(std::uint64_t units, bool negative) noexcept {
    int taken = 1;
    while (units >= 10) {
        units /= 10;
        ++taken;
    }
    return negative ? taken + 1 : taken;
}

struct Parts {
    bool representable;
    bool negative;
    std::uint64_t units;
    unsigned cents;
};

Parts split(double hundredths) noexcept {
    if (!(std::fabs(hundredths) < EXACT_LIMIT)) return {false, false, 0, 0};
    const std::int64_t whole = std::llround(hundredths);
    const std::uint64_t magnitude =
        whole < 0 ? static_cast<std::uint64_t>(-whole) : static_cast<std::uint64_t>(whole);
    return {true, whole < 0, magnitude / 100, static_cast<unsigned>(magnitude % 100)};
}

} // namespace

bool amount_fits(double hundredths, int int_positions) noexcept {
    const Parts parts = split(hundredths);
    return parts.representable && positions_taken(parts.units, parts.negative) <= int_positions;
}

void write_amount(char* target, double hundredths, int int_positions) {
    const auto width = static_cast<std::size_t>(int_positions + 3);
    const Parts parts = split(hundredths);
    if (!parts.representable || positions_taken(parts.units, parts.negative) > int_positions) {
        std::memset(target, '*', width);
        return;
    }
    char* at = target + width;
    *--at = static_cast<char>('0' + parts.cents % 10);
    *--at = static_cast<char>('0' + parts.cents / 10);
    *--at = ',';
    std::uint64_t units = parts.units;
    do {
        *--at = static_cast<char>('0' + units % 10);
        units /= 10;
    } while (units > 0);
    if (parts.negative) *--at = '-';
    std::memset(target, ' ', static_cast<std::size_t>(at - target));
}

std::string amount_text(double hundredths, int int_positions) {
    std::string text(static_cast<std::size_t>(int_positions + 3), ' ');
    write_amount(text.data(), hundredths, int_positions);
    return text;
}

double hundredths_of(std::string_view attribute) {
    std::int64_t value = 0;
    if (!parse_whole(attribute, value))
        throw StepFailure(ERR_TYPE, "« " + std::string(attribute.substr(0, 40)) + " » n'est pas un montant");
    return static_cast<double>(value);
}

} // namespace corvalissement
