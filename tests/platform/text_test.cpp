// Characters are not bytes: positions, cutting, capitals, folding, and bytes that are no text.
#include "platform/text.h"

#include <gtest/gtest.h>
#include <random>

namespace corvalissement {
namespace {

TEST(Text, positions_count_characters) {
    const std::string text = "Élan 株式 fin";
    EXPECT_EQ(char_count(text), 11U);
    EXPECT_EQ(chars(text, 1, 4), "Élan");
    EXPECT_EQ(chars(text, 6, 2), "株式");
    EXPECT_EQ(chars(text, 12, 3), "");
    EXPECT_EQ(chars_from(text, 9), "fin");
    EXPECT_EQ(last_chars(text, 6), "株式 fin");
    EXPECT_EQ(fit_right(text, 7), "Élan 株式");
    EXPECT_EQ(fit_right("é", 3), "é  ");
    EXPECT_EQ(pad_right("éàç", 2), "éàç");
    EXPECT_EQ(trim_blanks("  a\t \u00A0 "), "a\t \u00A0") << "a blank is U+0020 alone";
}

TEST(Text, capitals_and_folding) {
    EXPECT_EQ(capitals("éœç ß ÿ zž"), "ÉŒÇ ß Ÿ ZŽ");
    EXPECT_EQ(fold("ÉLÈVE Çà Ñ"), fold("eleve ca n"));
    EXPECT_EQ(fold("e\u0301"), "e") << "a combining mark vanishes";
    EXPECT_NE(fold("Œuf"), fold("Œil"));
}

// Over random bytes: the pieces make the whole again, and what is sanitised is text of as many characters.
TEST(Text, any_bytes_are_cut_and_joined_without_loss) {
    std::mt19937 random(7);
    constexpr unsigned char BYTES[] = {'a',  ' ',  0xC3, 0xA9, 0xE6, 0xA0, 0xAA, 0xED,
                                       0xF0, 0x9F, 0x98, 0x80, 0xFE, 0xFD, 0xC0, 0xF5};
    for (int trial = 0; trial < 3000; ++trial) {
        std::string text;
        for (auto length = random() % 12; length > 0; --length)
            text += static_cast<char>(BYTES[random() % std::size(BYTES)]);
        const std::size_t count = char_count(text);
        const std::size_t cut = random() % 14;
        ASSERT_EQ(std::string(chars(text, 1, cut)) + std::string(chars_from(text, cut + 1)), text);
        ASSERT_EQ(char_count(chars(text, 1, cut)), std::min(cut, count));
        ASSERT_EQ(char_count(fit_right(text, 9)), 9U);
        const std::string clean = sanitize(text);
        ASSERT_TRUE(is_utf8(clean));
        ASSERT_EQ(char_count(clean), count);
        if (is_utf8(text)) {
            ASSERT_EQ(clean, text);
        }
    }
}

TEST(Text, whole_numbers) {
    std::int64_t value = 0;
    for (const char* text : {"", " ", "-", "+", "1 2", "1.", "0x1", "99999999999999999999"})
        EXPECT_FALSE(parse_whole(text, value)) << text;
    EXPECT_TRUE(parse_whole(" -0045 ", value) && value == -45);
    EXPECT_TRUE(parse_whole("+7", value) && value == 7);
}

} // namespace
} // namespace corvalissement
