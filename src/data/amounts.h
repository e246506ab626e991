// Amounts: whole hundredths in records and accumulators, decimal text on paper.
//
// An amount text is right-aligned in a fixed width: integer positions, "," and two decimals; "-" stands
// directly before the first digit and takes one of the integer positions. What does not fit shows
// asterisks over the whole width, never a wrong number. All functions are pure.
#pragma once

#include <string>
#include <string_view>

namespace corvalissement {

inline constexpr int LINE_AMOUNT_POSITIONS = 8;  // 11 characters: entry lines and account totals
inline constexpr int TOTAL_AMOUNT_POSITIONS = 9; // 12 characters: totals of the edition

// Amount text of `hundredths`, `int_positions` + 3 characters.
[[nodiscard]] std::string amount_text(double hundredths, int int_positions = LINE_AMOUNT_POSITIONS);
// The same, written over `int_positions` + 3 characters at `target`.
void write_amount(char* target, double hundredths, int int_positions = LINE_AMOUNT_POSITIONS);
[[nodiscard]] bool amount_fits(double hundredths, int int_positions = LINE_AMOUNT_POSITIONS) noexcept;

// An amount of a record. Throws StepFailure (ERR_TYPE) when the text is no whole number.
[[nodiscard]] double hundredths_of(std::string_view attribute);

} // namespace corvalissement
