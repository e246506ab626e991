// The sheet, and where the print surface lies on it: one place for all that draw pages, so that the PDF, the
// preview and the printers of the system show the same page. The trace and the text grid know no sheet.
#pragma once

#include "platform/print_surface.h"

#include <cstdint>

namespace corvalissement {

inline constexpr double HUNDREDTHS_PER_UNIT = 5.0; // of a point: a unit is a twentieth of one

// From the sheet's left and top edges to the surface's origin, in units. No printer reaches
// the very edge of its paper; the widest line of a page head still ends 0.9 cm before the right one.
inline constexpr double SHEET_LEFT = 0.9 * UNITS_PER_CM;
inline constexpr double SHEET_TOP = 0.6 * UNITS_PER_CM;

// From the top of a row of text down to its base line, in units a point of type size: 0.22 cm at 10 points.
// Descenders then keep clear of a rule at the row's foot, capitals of one at its head, and in a page head
// with four lines of address the last row keeps clear of the title box, which begins 0.14 cm above that
// row's foot.
inline constexpr double BASE_LINE_UNITS_PER_POINT = 0.022 * UNITS_PER_CM;

// A sheet, in hundredths of a point.
struct PaperSize {
    std::int64_t width;
    std::int64_t height;
};

// REQUIRES 1 (portrait) or LANDSCAPE.
[[nodiscard]] constexpr PaperSize a4(int orientation) noexcept {
    constexpr std::int64_t SHORT_SIDE = 59528;
    constexpr std::int64_t LONG_SIDE = 84189;
    return orientation == LANDSCAPE ? PaperSize{LONG_SIDE, SHORT_SIDE} : PaperSize{SHORT_SIDE, LONG_SIDE};
}

} // namespace corvalissement
