// One face of the fixed-pitch type of a PDF document: which characters it has, its measures, and at the end
// the part of it that the document embeds.
//
// Characters are coded in the document by their code point in two bytes, so that page contents do not
// depend on the font file and each character extracts as itself, also when two share a glyph. Characters
// beyond U+FFFF are taken as missing.
//
// Measures are in em (1.0 is the type size), upwards from the base line.
#pragma once

#include "output/cells.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct hb_font_t;

namespace corvalissement {

inline constexpr int CHAR_THOUSANDTHS = 600; // the advance of every character, in 1/1000 em

// What goes into the document of one face. `program` is a TrueType font; `glyph_of_code` two bytes a code,
// high byte first; `codes` every code used, ascending.
struct EmbeddedFont {
    std::string name; // with the tag of six letters of a font that is embedded in part
    std::string program;
    std::string glyph_of_code;
    std::vector<std::uint16_t> codes;
};

class PdfFont {
public:
    // Reads a font file. Throws StepFailure (ERR_OUTPUT, the file) when it is no TrueType font, or one
    // without printable ASCII in characters 600/1000 wide.
    explicit PdfFont(std::string file);

    // The code that shows `character`, noted as used: its own, or that of SUBSTITUTE when the face lacks it.
    // REQUIRES the result of cell_of.
    std::uint16_t use(char32_t character) noexcept {
        const bool has = character <= 0xFFFFU && glyphs_[character] != 0;
        const auto code = static_cast<std::uint16_t>(has ? character : SUBSTITUTE);
        used_[code] = 1;
        return code;
    }

    // Notes all of printable ASCII as used. Every face has it, and its codes are the characters: a caller
    // with long texts need not ask for each.
    void use_ascii() noexcept { ascii_used_ = true; }

    [[nodiscard]] bool is_used() const noexcept;

    // The part of the face that shows every code used so far. Throws StepFailure (ERR_OUTPUT, the file).
    [[nodiscard]] EmbeddedFont embedded() const;

    [[nodiscard]] double ascent() const noexcept { return ascent_; }
    [[nodiscard]] double descent() const noexcept { return descent_; } // negative
    [[nodiscard]] double underline_middle() const noexcept { return underline_middle_; }
    [[nodiscard]] double underline_width() const noexcept { return underline_width_; }
    [[nodiscard]] double capital_height() const noexcept { return capital_height_; }
    [[nodiscard]] const std::array<int, 4>& box() const noexcept { return box_; } // in 1/1000 em

private:
    void read_measures(hb_font_t* font);
    void read_glyphs(hb_font_t* font);

    std::string file_;
    std::string name_;
    std::string data_;                  // the whole font file
    std::vector<std::uint16_t> glyphs_; // by code; 0 when the face lacks the character
    std::vector<std::uint8_t> used_;    // by code
    bool ascii_used_ = false;
    double ascent_ = 0.0;
    double descent_ = 0.0;
    double underline_middle_ = 0.0;
    double underline_width_ = 0.0;
    double capital_height_ = 0.0;
    std::array<int, 4> box_{};
};

// The file of the face `name` ("LiberationMono-Regular"): in the folder that CORVALISSEMENT_POLICES names
// when it is set, else in the first usual folder that has it. Throws StepFailure (ERR_OUTPUT).
[[nodiscard]] std::string find_font(std::string_view name);

} // namespace corvalissement
