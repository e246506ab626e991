// The character that stands in one cell of a printed page. A page is a grid on which each character of a
// text takes one cell; characters that have no width, that move the print position or that turn the
// direction of writing would break it. The page surfaces show them all in the same way.
#pragma once

namespace corvalissement {

// What is shown for a character that has no form of its own on paper.
inline constexpr char32_t SUBSTITUTE = U'\uFFFD';

// `character` itself; U+0020 for the blanks of another width (no-break, thin, ideographic...); SUBSTITUTE
// for controls, line and paragraph separators, marks of direction and everything else without a width.
[[nodiscard]] char32_t cell_of(char32_t character) noexcept;

} // namespace corvalissement
