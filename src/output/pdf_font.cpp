#include "output/pdf_font.h"

#include "files/output_file.h"
#include "output/cells.h"
#include "platform/failures.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <hb-ot.h>
#include <hb-subset.h>
#include <hb.h>
#include <iterator>
#include <memory>
#include <utility>

namespace corvalissement {

namespace {

constexpr std::size_t CODES = 0x10000;
constexpr std::size_t FIRST_ASCII = 0x20;
constexpr std::size_t LAST_ASCII = 0x7E;
constexpr std::size_t WHITE_SQUARE = 0x25A1;
constexpr const char* FOLDER_VARIABLE = "CORVALISSEMENT_POLICES";
constexpr std::array USUAL_FOLDERS{
    "/usr/share/fonts/truetype/liberation", "/usr/share/fonts/truetype/liberation2",
    "/usr/share/fonts/liberation-mono",     "/usr/share/fonts/liberation-mono-fonts",
    "/usr/share/fonts/liberation",          "/usr/share/fonts/TTF",
    "/usr/local/share/fonts/liberation",    "/usr/local/share/fonts",
};

// The library counts references in C; a pointer of this kind gives its own back.
template <auto destroy>
struct Destroy {
    template <class Object>
    void operator()(Object* object) const noexcept {
        destroy(object);
    }
};
using Blob = std::unique_ptr<hb_blob_t, Destroy<hb_blob_destroy>>;
using Face = std::unique_ptr<hb_face_t, Destroy<hb_face_destroy>>;
using Font = std::unique_ptr<hb_font_t, Destroy<hb_font_destroy>>;
using Set = std::unique_ptr<hb_set_t, Destroy<hb_set_destroy>>;
using SubsetInput = std::unique_ptr<hb_subset_input_t, Destroy<hb_subset_input_destroy>>;

[[noreturn]] void fail(const std::string& file, const std::string& reason) {
    throw StepFailure(ERR_OUTPUT, file + " : " + reason, file);
}

std::string read_whole(const std::string& file) {
    errno = 0;
    std::ifstream in(file, std::ios::binary);
    if (!in) fail(file, "police illisible, " + system_reason(errno));
    std::string data{std::istreambuf_iterator<char>(in), {}};
    if (in.bad()) fail(file, "police illisible");
    return data;
}

Face face_of(const std::string& data) {
    const Blob blob(hb_blob_create(data.data(), static_cast<unsigned>(data.size()), HB_MEMORY_MODE_READONLY,
                                   nullptr, nullptr));
    return Face(hb_face_create(blob.get(), 0));
}

double measure(hb_font_t* font, hb_ot_metrics_tag_t tag) {
    hb_position_t units = 0;
    hb_ot_metrics_get_position_with_fallback(font, tag, &units);
    return static_cast<double>(units) / hb_face_get_upem(hb_font_get_face(font));
}

// The four corners of the `head` table: xMin, yMin, xMax, yMax, signed 16 bits each, in font units.
std::array<int, 4> box_of(hb_face_t* face) {
    constexpr unsigned BOX_AT = 36;
    std::array<int, 4> box{};
    const Blob head(hb_face_reference_table(face, HB_TAG('h', 'e', 'a', 'd')));
    unsigned length = 0;
    const char* bytes = hb_blob_get_data(head.get(), &length);
    if (length < BOX_AT + 8) return box;
    for (std::size_t i = 0; i < box.size(); ++i) {
        const auto high = static_cast<unsigned char>(bytes[BOX_AT + 2 * i]);
        const auto low = static_cast<unsigned char>(bytes[BOX_AT + 2 * i + 1]);
        const auto units = static_cast<std::int16_t>(high << 8U | low);
        box[i] = units * 1000 / static_cast<int>(hb_face_get_upem(face));
    }
    return box;
}

// Six capitals drawn from the codes used: the same text gives the same tag, and two documents that embed
// different parts are not taken for one another by a program that joins them.
std::string subset_tag(const std::vector<std::uint16_t>& codes) {
    std::uint64_t hash = 14695981039346656037U;
    for (const std::uint16_t code : codes)
        hash = (hash ^ code) * 1099511628211U;
    std::string tag;
    for (int i = 0; i < 6; ++i, hash /= 26)
        tag += static_cast<char>('A' + hash % 26);
    return tag;
}

// Keeps the glyph numbers, so that the codes can be mapped without knowing what the subset renumbers; drops
// what only an editor of text needs.
std::string subset_of(hb_face_t* face, const std::vector<hb_codepoint_t>& glyphs) {
    const SubsetInput input(hb_subset_input_create_or_fail());
    if (!input) return {};
    for (const hb_codepoint_t glyph : glyphs)
        hb_set_add(hb_subset_input_glyph_set(input.get()), glyph);
    hb_set_t* dropped = hb_subset_input_set(input.get(), HB_SUBSET_SETS_DROP_TABLE_TAG);
    for (const hb_tag_t table :
         {HB_TAG('G', 'S', 'U', 'B'), HB_TAG('G', 'P', 'O', 'S'), HB_TAG('G', 'D', 'E', 'F'),
          HB_TAG('n', 'a', 'm', 'e'), HB_TAG('O', 'S', '/', '2')})
        hb_set_add(dropped, table);
    hb_subset_input_set_flags(input.get(), HB_SUBSET_FLAGS_RETAIN_GIDS | HB_SUBSET_FLAGS_NOTDEF_OUTLINE |
                                               HB_SUBSET_FLAGS_NO_HINTING);
    const Face subset(hb_subset_or_fail(face, input.get()));
    if (!subset) return {};
    const Blob blob(hb_face_reference_blob(subset.get()));
    unsigned length = 0;
    const char* bytes = hb_blob_get_data(blob.get(), &length);
    return {bytes, length};
}

} // namespace

PdfFont::PdfFont(std::string file)
    : file_(std::move(file)), name_(std::filesystem::path(file_).stem().string()), data_(read_whole(file_)),
      glyphs_(CODES), used_(CODES) {
    const Face face = face_of(data_);
    if (hb_face_get_glyph_count(face.get()) == 0) fail(file_, "ce n'est pas une police TrueType");
    const Font font(hb_font_create(face.get()));
    read_glyphs(font.get());
    read_measures(font.get());
}

void PdfFont::read_glyphs(hb_font_t* font) {
    hb_face_t* face = hb_font_get_face(font);
    const Set characters(hb_set_create());
    hb_face_collect_unicodes(face, characters.get());
    const double em = hb_face_get_upem(face);
    hb_codepoint_t character = HB_SET_VALUE_INVALID;
    while (hb_set_next(characters.get(), &character) && character < CODES) {
        hb_codepoint_t glyph = 0;
        if (!hb_font_get_nominal_glyph(font, character, &glyph)) continue;
        const double advance = hb_font_get_glyph_h_advance(font, glyph) * 1000.0 / em;
        if (advance > CHAR_THOUSANDTHS - 1 && advance < CHAR_THOUSANDTHS + 1)
            glyphs_[character] = static_cast<std::uint16_t>(glyph);
    }
    if (std::any_of(glyphs_.begin() + FIRST_ASCII, glyphs_.begin() + LAST_ASCII + 1,
                    [](auto glyph) { return glyph == 0; }))
        fail(file_, "cette police n'a pas des caractères de largeur fixe 600/1000");
    // A face that lacks the substitute shows an empty square for it, or a question mark; glyph 0, the box of
    // what a font does not know, has no place in an archive.
    std::uint16_t& substitute = glyphs_[SUBSTITUTE];
    if (substitute == 0) substitute = glyphs_[WHITE_SQUARE];
    if (substitute == 0) substitute = glyphs_['?'];
}

void PdfFont::read_measures(hb_font_t* font) {
    ascent_ = measure(font, HB_OT_METRICS_TAG_HORIZONTAL_ASCENDER);
    descent_ = measure(font, HB_OT_METRICS_TAG_HORIZONTAL_DESCENDER);
    capital_height_ = measure(font, HB_OT_METRICS_TAG_CAP_HEIGHT);
    underline_middle_ = measure(font, HB_OT_METRICS_TAG_UNDERLINE_OFFSET);
    underline_width_ = measure(font, HB_OT_METRICS_TAG_UNDERLINE_SIZE);
    box_ = box_of(hb_font_get_face(font));
}

bool PdfFont::is_used() const noexcept {
    return ascii_used_ || std::find(used_.begin(), used_.end(), std::uint8_t{1}) != used_.end();
}

EmbeddedFont PdfFont::embedded() const {
    EmbeddedFont result;
    std::vector<hb_codepoint_t> glyphs;
    for (std::size_t code = 0; code < CODES; ++code) {
        const bool by_ascii = ascii_used_ && code >= FIRST_ASCII && code <= LAST_ASCII;
        if (used_[code] == 0 && !by_ascii) continue;
        const std::uint16_t glyph = glyphs_[code];
        glyphs.push_back(glyph);
        result.codes.push_back(static_cast<std::uint16_t>(code));
        result.glyph_of_code.resize(2 * code + 2, '\0');
        result.glyph_of_code[2 * code] = static_cast<char>(glyph >> 8U);
        result.glyph_of_code[2 * code + 1] = static_cast<char>(glyph & 0xFFU);
    }
    const Face face = face_of(data_);
    result.program = subset_of(face.get(), glyphs);
    if (result.program.empty()) fail(file_, "la police ne peut pas être incorporée au document");
    result.name = subset_tag(result.codes) + "+" + name_;
    return result;
}

std::string find_font(std::string_view name) {
    namespace fs = std::filesystem;
    const std::string file_name = std::string(name) + ".ttf";
    std::error_code ignored;
    if (const char* chosen = std::getenv(FOLDER_VARIABLE); chosen != nullptr && *chosen != '\0') {
        const std::string file = (fs::path(chosen) / file_name).string();
        if (!fs::exists(file, ignored))
            fail(file, std::string("police introuvable dans le dossier que donne ") + FOLDER_VARIABLE);
        return file;
    }
    for (const char* folder : USUAL_FOLDERS) {
        const std::string file = (fs::path(folder) / file_name).string();
        if (fs::exists(file, ignored)) return file;
    }
    fail(file_name,
         std::string("police introuvable ; installez les polices Liberation ou donnez leur dossier par ") +
             FOLDER_VARIABLE);
}

} // namespace corvalissement
