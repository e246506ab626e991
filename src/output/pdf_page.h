// The content of one PDF page while it is being printed. Positions come in units of 1/1440 inch from the
// print surface's origin and are written in hundredths of a point from the sheet's bottom left corner.
#pragma once

#include "output/pdf_font.h"
#include "output/sheet.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace corvalissement {

// A number of hundredths as PDF writes it: "12.5", "-0.05", "3".
void append_hundredths(std::string& out, std::int64_t hundredths);

class PdfPage {
public:
    // The faces are not owned; they note the characters that the pages use.
    PdfPage(PdfFont& regular, PdfFont& bold) noexcept : faces_{&regular, &bold} {}

    // Type of the texts that follow, in points.
    struct Style {
        double points;
        bool bold;
        bool underline;
    };

    // A text whose first cell has its top left corner at x, y. The blanks at its ends are room, not ink,
    // but they are underlined.
    void text(const PaperSize& paper, double x, double y, std::string_view text, const Style& style);

    // A rule, `width_units` wide, its middle on the line between the two points.
    void rule(const PaperSize& paper, double x1, double y1, double x2, double y2, double width_units);

    // The complete content, valid until the page is next drawn on. The page is then empty again.
    [[nodiscard]] const std::string& take();

private:
    void move_to(std::int64_t x, std::int64_t y);
    void select(const Style& style);
    void show(PdfFont& face, std::string_view text);
    void stroke();

    PdfFont* faces_[2];
    std::string texts_;   // what stands between BT and ET
    std::string rules_;   // paths, each group of one pen width ended by S
    std::string content_; // of the last page taken
    std::int64_t text_x_ = 0;
    std::int64_t text_y_ = 0;
    std::int64_t pen_ = 0; // 0: none chosen on this page
    double points_ = 0.0;  // 0: no type chosen on this page
    bool bold_ = false;
    bool open_path_ = false;
};

} // namespace corvalissement
