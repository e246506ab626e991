#include "output/pdf_page.h"

#include "output/cells.h"
#include "platform/print_surface.h"
#include "platform/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>

namespace corvalissement {

namespace {

constexpr double UNITS_PER_POINT = 20.0;

std::int64_t hundredths(double units) { return std::llround(units * HUNDREDTHS_PER_UNIT); }
std::int64_t from_left(double x) { return hundredths(SHEET_LEFT + x); }
std::int64_t from_bottom(const PaperSize& paper, double y) {
    return paper.height - hundredths(SHEET_TOP + y);
}

void append_pair(std::string& out, std::int64_t x, std::int64_t y) {
    append_hundredths(out, x);
    out += ' ';
    append_hundredths(out, y);
}

bool is_plain(char byte) noexcept { return byte >= ' ' && byte <= '~'; }

// Most bytes that one of a literal string takes in the content.
constexpr std::size_t LONGEST_BYTE = 2;
constexpr std::size_t BYTES_A_CODE = 2;

// The bytes that a literal string cannot hold as they are.
constexpr std::array<bool, 256> ESCAPED = [] {
    std::array<bool, 256> escaped{};
    escaped['('] = escaped[')'] = escaped['\\'] = escaped['\r'] = true;
    return escaped;
}();

// One byte of a literal string. A carriage return would be read as a line feed.
char* put_literal(char* out, unsigned char byte) noexcept {
    if (ESCAPED[byte]) {
        *out++ = '\\';
        if (byte == '\r') byte = 'r';
    }
    *out++ = static_cast<char>(byte);
    return out;
}

} // namespace

void append_hundredths(std::string& out, std::int64_t hundredths) {
    char digits[24];
    if (hundredths < 0) {
        out += '-';
        hundredths = -hundredths;
    }
    out.append(digits, std::to_chars(digits, digits + sizeof digits, hundredths / 100).ptr);
    const std::int64_t fraction = hundredths % 100;
    if (fraction == 0) return;
    out += '.';
    out += static_cast<char>('0' + fraction / 10);
    if (fraction % 10 != 0) out += static_cast<char>('0' + fraction % 10);
}

void PdfPage::text(const PaperSize& paper, double x, double y, std::string_view text, const Style& style) {
    PdfFont& face = *faces_[style.bold ? 1 : 0];
    const double cell = CHAR_UNITS_PER_POINT * style.points;
    const double base_line = y + BASE_LINE_UNITS_PER_POINT * style.points;
    if (style.underline) {
        const double em = style.points * UNITS_PER_POINT;
        const double middle = base_line - face.underline_middle() * em;
        const double end = x + cell * static_cast<double>(char_count(text));
        rule(paper, x, middle, end, middle, face.underline_width() * em);
    }
    const std::size_t leading = text.find_first_not_of(' ');
    if (leading == std::string_view::npos) return;
    select(style);
    move_to(from_left(x + cell * static_cast<double>(leading)), from_bottom(paper, base_line));
    show(face, text.substr(leading, text.find_last_not_of(' ') + 1 - leading));
}

void PdfPage::select(const Style& style) {
    if (style.bold == bold_ && style.points == points_) return;
    bold_ = style.bold;
    points_ = style.points;
    texts_ += bold_ ? "/B " : "/R ";
    append_hundredths(texts_, std::llround(points_ * 100.0));
    texts_ += " Tf\n";
}

// Positions are relative to the text before, which keeps them short; rounded before they are subtracted,
// so that no error adds up.
void PdfPage::move_to(std::int64_t x, std::int64_t y) {
    append_pair(texts_, x - text_x_, y - text_y_);
    texts_ += " Td";
    text_x_ = x;
    text_y_ = y;
}

// Nine tenths of a document pass through this loop, so it writes into room reserved for the longest form
// and gives back what is left over.
void PdfPage::show(PdfFont& face, std::string_view text) {
    const std::size_t before = texts_.size();
    texts_.resize(before + text.size() * BYTES_A_CODE * LONGEST_BYTE + 5);
    char* out = texts_.data() + before;
    *out++ = '(';
    face.use_ascii();
    for (std::size_t at = 0; at < text.size();) {
        if (is_plain(text[at])) {
            *out++ = '\0';
            out = put_literal(out, static_cast<unsigned char>(text[at++]));
            continue;
        }
        const std::uint16_t code = face.use(cell_of(next_char(text, at)));
        out = put_literal(out, static_cast<unsigned char>(code >> 8U));
        out = put_literal(out, static_cast<unsigned char>(code & 0xFFU));
    }
    for (const char byte : std::string_view(")Tj\n"))
        *out++ = byte;
    texts_.resize(static_cast<std::size_t>(out - texts_.data()));
}

void PdfPage::rule(const PaperSize& paper, double x1, double y1, double x2, double y2, double width_units) {
    const std::int64_t pen = std::max<std::int64_t>(1, hundredths(width_units));
    if (pen != pen_) {
        stroke();
        pen_ = pen;
        append_hundredths(rules_, pen);
        rules_ += " w\n";
    }
    append_pair(rules_, from_left(x1), from_bottom(paper, y1));
    rules_ += " m ";
    append_pair(rules_, from_left(x2), from_bottom(paper, y2));
    rules_ += " l\n";
    open_path_ = true;
}

void PdfPage::stroke() {
    if (open_path_) rules_ += "S\n";
    open_path_ = false;
}

const std::string& PdfPage::take() {
    stroke();
    content_.clear();
    // Square ends, so that the rules of a frame meet in a closed corner.
    if (!rules_.empty()) content_.append("2 J\n").append(rules_);
    if (!texts_.empty()) content_.append("BT\n").append(texts_).append("ET\n");
    rules_.clear();
    texts_.clear();
    text_x_ = text_y_ = pen_ = 0;
    points_ = 0.0;
    bold_ = false;
    return content_;
}

} // namespace corvalissement
