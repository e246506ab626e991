// The trace: what was put on paper, in order, one JSON object a line. It is written by hand because its
// keys have a fixed order and its numbers a fixed form, so that two traces can be compared as text.
#include "output/grid_surface.h"
#include "output/surfaces.h"
#include "platform/text.h"

#include <cmath>
#include <cstddef>
#include <utility>

namespace corvalissement {

namespace {

// Rounded to thousandths, no trailing zeros, never an exponent or "-0".
void append_number(std::string& out, double value) {
    const long long thousandths = std::llround(value * 1000.0);
    const long long size = std::llabs(thousandths);
    if (thousandths < 0) out += '-';
    out += std::to_string(size / 1000);
    if (size % 1000 == 0) return;
    const std::string digits = std::to_string(1000 + size % 1000);
    out += '.';
    out.append(digits, 1, digits.find_last_not_of('0'));
}

void append_control(std::string& out, char32_t character) {
    constexpr std::string_view DIGITS = "0123456789abcdef";
    out += "\\u00";
    out += DIGITS[character >> 4U];
    out += DIGITS[character & 15U];
}

void append_string(std::string& out, std::string_view text) {
    out += '"';
    for (std::size_t at = 0; at < text.size();) {
        const char32_t character = next_char(text, at);
        if (character < U' ') {
            append_control(out, character);
            continue;
        }
        if (character == U'"' || character == U'\\') out += '\\';
        append_char(out, character);
    }
    out += '"';
}

class TraceSurface final : public GridSurface {
public:
    using GridSurface::GridSurface;

private:
    void draw_text(std::string_view text) override {
        begin("texte");
        number(",\"x\":", CurrentX());
        number(",\"y\":", CurrentY());
        number(",\"taille\":", type().points);
        object_ += type().bold ? ",\"gras\":true" : ",\"gras\":false";
        object_ += type().underline ? ",\"souligne\":true" : ",\"souligne\":false";
        object_ += ",\"texte\":";
        append_string(object_, text);
        end();
    }

    void draw_line(double x1, double y1, double x2, double y2) override {
        begin("trait");
        number(",\"x1\":", x1);
        number(",\"y1\":", y1);
        number(",\"x2\":", x2);
        number(",\"y2\":", y2);
        number(",\"epaisseur\":", pen_width());
        end();
    }

    void end_page() override {}

    void end_document() override {
        object_ = "{\"op\":\"fin\"";
        object_ += ",\"pages\":" + std::to_string(page_count());
        object_ += ",\"copies\":" + std::to_string(copies());
        object_ += ",\"orientation\":" + std::to_string(orientation());
        end();
    }

    void begin(std::string_view operation) {
        object_ = "{\"op\":\"";
        object_ += operation;
        object_ += "\",\"page\":";
        object_ += std::to_string(page_count());
    }

    void number(std::string_view key, double value) {
        object_ += key;
        append_number(object_, value);
    }

    void end() {
        object_ += "}\n";
        file().write(object_);
    }

    std::string object_; // the line being made
};

} // namespace

std::unique_ptr<PrintSurface> make_trace_surface(std::string path, std::string device_name,
                                                 std::string port) {
    if (device_name.empty()) device_name = "Trace";
    return std::make_unique<TraceSurface>(std::move(path), std::move(device_name), std::move(port));
}

} // namespace corvalissement
