#include "output/cells.h"

#include <algorithm>
#include <array>

namespace corvalissement {

namespace {

enum class Shown : bool { blank, substitute };

struct Range {
    char32_t first;
    char32_t last;
    Shown shown;
};

// In ascending order. Letters, digits and signs stand in no range; neither do combining marks, which keep
// a cell of their own because a character is one code point throughout the system.
constexpr std::array RANGES{
    Range{0x0000, 0x001F, Shown::substitute},   Range{0x007F, 0x009F, Shown::substitute},
    Range{0x00A0, 0x00A0, Shown::blank},        Range{0x00AD, 0x00AD, Shown::substitute},
    Range{0x034F, 0x034F, Shown::substitute},   Range{0x0600, 0x0605, Shown::substitute},
    Range{0x061C, 0x061C, Shown::substitute},   Range{0x06DD, 0x06DD, Shown::substitute},
    Range{0x070F, 0x070F, Shown::substitute},   Range{0x0890, 0x0891, Shown::substitute},
    Range{0x08E2, 0x08E2, Shown::substitute},   Range{0x115F, 0x1160, Shown::substitute},
    Range{0x1680, 0x1680, Shown::blank},        Range{0x17B4, 0x17B5, Shown::substitute},
    Range{0x180B, 0x180F, Shown::substitute},   Range{0x2000, 0x200A, Shown::blank},
    Range{0x200B, 0x200F, Shown::substitute},   Range{0x2028, 0x202E, Shown::substitute},
    Range{0x202F, 0x202F, Shown::blank},        Range{0x205F, 0x205F, Shown::blank},
    Range{0x2060, 0x206F, Shown::substitute},   Range{0x3000, 0x3000, Shown::blank},
    Range{0x3164, 0x3164, Shown::substitute},   Range{0xD800, 0xDFFF, Shown::substitute},
    Range{0xFE00, 0xFE0F, Shown::substitute},   Range{0xFEFF, 0xFEFF, Shown::substitute},
    Range{0xFFA0, 0xFFA0, Shown::substitute},   Range{0xFFF0, 0xFFFB, Shown::substitute},
    Range{0xFFFE, 0xFFFF, Shown::substitute},   Range{0x110BD, 0x110BD, Shown::substitute},
    Range{0x110CD, 0x110CD, Shown::substitute}, Range{0x13430, 0x1343F, Shown::substitute},
    Range{0x1BCA0, 0x1BCA3, Shown::substitute}, Range{0x1D173, 0x1D17A, Shown::substitute},
    Range{0xE0000, 0xE0FFF, Shown::substitute},
};

} // namespace

char32_t cell_of(char32_t character) noexcept {
    if (character >= U' ' && character <= U'~') return character;
    const auto* after = std::upper_bound(RANGES.begin(), RANGES.end(), character,
                                         [](char32_t c, const Range& range) { return c < range.first; });
    if (after == RANGES.begin()) return character;
    const Range& range = *(after - 1);
    if (character > range.last) return character;
    return range.shown == Shown::blank ? U' ' : SUBSTITUTE;
}

} // namespace corvalissement
