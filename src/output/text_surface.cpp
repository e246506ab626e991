// The page as a grid of characters. The rows of one page are held until it ends, because a text printed
// later may stand above one printed earlier.
#include "output/cells.h"
#include "output/grid_surface.h"
#include "output/surfaces.h"
#include "platform/text.h"

#include <cmath>
#include <cstddef>
#include <map>
#include <utility>

namespace corvalissement {

namespace {

constexpr double COLUMN_UNITS = 120.0; // a character of the body type, 10 points
constexpr double SAME_ROW_UNITS = 0.5;

class TextSurface final : public GridSurface {
public:
    using GridSurface::GridSurface;

private:
    void draw_text(std::string_view text) override {
        std::u32string& cells = row_at(CurrentY());
        const std::size_t end = text.find_last_not_of(' ') + 1; // 0 when there is none but blanks
        long column = std::lround(CurrentX() / COLUMN_UNITS);
        for (std::size_t at = 0; at < end; ++column) {
            const char32_t cell = cell_of(next_char(text, at));
            if (cell == U' ' || column < 0) continue;
            const auto index = static_cast<std::size_t>(column);
            if (index >= cells.size()) cells.resize(index + 1, U' ');
            cells[index] = cell;
        }
    }

    void draw_line(double /*x1*/, double /*y1*/, double /*x2*/, double /*y2*/) override {}

    void end_page() override {
        page_.clear();
        if (!first_page_) page_ += '\f';
        first_page_ = false;
        for (const auto& [y, cells] : rows_) {
            for (const char32_t cell : cells)
                append_char(page_, cell);
            page_ += '\n';
        }
        rows_.clear();
        file().write(page_);
    }

    void end_document() override {}

    std::u32string& row_at(double y) {
        const auto row = rows_.lower_bound(y - SAME_ROW_UNITS);
        if (row != rows_.end() && row->first <= y + SAME_ROW_UNITS) return row->second;
        return rows_.emplace_hint(row, y, std::u32string())->second;
    }

    std::map<double, std::u32string> rows_; // by y; a row ends with the last cell that is no blank
    std::string page_;
    bool first_page_ = true;
};

} // namespace

std::unique_ptr<PrintSurface> make_text_surface(std::string path, std::string device_name, std::string port) {
    if (device_name.empty()) device_name = "Texte";
    return std::make_unique<TextSurface>(std::move(path), std::move(device_name), std::move(port));
}

} // namespace corvalissement
