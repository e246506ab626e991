#include "output/cells.h"

#include <gtest/gtest.h>
#include <string>

namespace corvalissement {
namespace {

TEST(Cells, what_has_a_form_keeps_it_and_what_would_break_a_row_does_not) {
    const std::u32string kept =
        U" A~\u00A1\u00ACé\u0301\u1FFF\u2010\u2027\u2030\u2070€\u3001\uFFFD\U0001F600\U0010FFFF";
    const std::u32string blank = U"\u00A0\u1680\u2000\u200A\u202F\u205F\u3000";
    std::u32string substituted =
        U"\u00AD\u061C\u200B\u200F\u2028\u2029\u202E\u2060\u2069\uFE0F\uFEFF\U000E0001";
    substituted +=
        {U'\0', U'\t', char32_t{0x1F}, char32_t{0x7F}, char32_t{0x80}, char32_t{0x85}, char32_t{0x9F}};
    for (const char32_t character : kept)
        EXPECT_EQ(cell_of(character), character);
    for (const char32_t character : blank)
        EXPECT_EQ(cell_of(character), U' ') << std::uint32_t{character};
    for (const char32_t character : substituted)
        EXPECT_EQ(cell_of(character), SUBSTITUTE) << std::uint32_t{character};
}

} // namespace
} // namespace corvalissement
