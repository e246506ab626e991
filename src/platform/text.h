// Text as the system sees it: UTF-8, counted in characters. A character is one Unicode code point and a
// blank is U+0020 alone. A byte that belongs to no valid sequence counts as one character, so that every
// function here is total; `sanitize` is what keeps such bytes out of a base.
//
// Positions are counted from 1, as in keys and printed lines. All functions are pure and thread-safe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace corvalissement {

// Number of characters of `text`.
[[nodiscard]] std::size_t char_count(std::string_view text) noexcept;

// The characters from `position` (1 or more) on, at most `count` of them; shorter or "" beyond the end.
[[nodiscard]] std::string_view chars(std::string_view text, std::size_t position, std::size_t count) noexcept;
[[nodiscard]] std::string_view chars_from(std::string_view text, std::size_t position) noexcept;
[[nodiscard]] std::string_view last_chars(std::string_view text, std::size_t count) noexcept;

// `text` without the blanks at both ends.
[[nodiscard]] std::string_view trim_blanks(std::string_view text) noexcept;

// `text` completed with blanks to `width` characters; unchanged when it is as long already.
[[nodiscard]] std::string pad_right(std::string_view text, std::size_t width);

// Exactly `width` characters: cut at its first characters, or completed with blanks on the right.
[[nodiscard]] std::string fit_right(std::string_view text, std::size_t width);

// Capitals of every letter that has a capital of one character.
[[nodiscard]] std::string capitals(std::string_view text);

// The form under which texts that differ only by case and accents are equal; combining marks vanish.
[[nodiscard]] std::string fold(std::string_view text);

// True when `text` is valid UTF-8 (no overlong form, no surrogate, nothing above U+10FFFF).
[[nodiscard]] bool is_utf8(std::string_view text) noexcept;

// `text` with each byte that is no part of valid UTF-8 replaced by U+FFFD.
[[nodiscard]] std::string sanitize(std::string_view text);

// Decodes the character at byte `at` and moves `at` behind it. An invalid byte gives U+FFFD.
// REQUIRES at < text.size().
[[nodiscard]] char32_t next_char(std::string_view text, std::size_t& at) noexcept;

// Appends one character.
void append_char(std::string& text, char32_t character);

// A whole number written in decimal, blanks around it and a sign before it allowed. False when `text` is
// anything else or does not fit.
[[nodiscard]] bool parse_whole(std::string_view text, std::int64_t& value) noexcept;

} // namespace corvalissement
