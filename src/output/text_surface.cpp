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

// The cells of one row. Most rows are one text printed from the left edge, and stay as that text; the others
// are cells.
class Row {
public:
    void draw(std::string_view text, long column) {
        const std::size_t end = text.find_last_not_of(' ') + 1; // 0 when there is none but blanks
        if (end == 0) return;
        if (column == 0 && whole_.empty() && cells_.empty() && shown_as_it_is(text.substr(0, end))) {
            whole_.assign(text.substr(0, end));
            return;
        }
        spread();
        for (std::size_t at = 0; at < end; ++column) {
            const char32_t cell = cell_of(next_char(text, at));
            if (cell == U' ' || column < 0) continue;
            const auto index = static_cast<std::size_t>(column);
            if (index >= cells_.size()) cells_.resize(index + 1, U' ');
            cells_[index] = cell;
        }
    }

    void append_to(std::string& page) const {
        page += whole_;
        for (const char32_t cell : cells_)
            append_char(page, cell);
    }

private:
    static bool shown_as_it_is(std::string_view text) {
        for (std::size_t at = 0; at < text.size();) {
            if (const char c = text[at]; c >= ' ' && c <= '~') {
                ++at;
                continue;
            }
            const std::size_t start = at;
            const char32_t character = next_char(text, at);
            if (at - start < 2 || cell_of(character) != character) return false;
        }
        return true;
    }

    void spread() {
        for (std::size_t at = 0; at < whole_.size();)
            cells_ += next_char(whole_, at);
        whole_.clear();
    }

    std::string whole_;
    std::u32string cells_; // ends with the last cell that is no blank
};

class TextSurface final : public GridSurface {
public:
    using GridSurface::GridSurface;

private:
    void draw_text(std::string_view text) override {
        row_at(CurrentY()).draw(text, std::lround(CurrentX() / COLUMN_UNITS));
    }

    void draw_line(double /*x1*/, double /*y1*/, double /*x2*/, double /*y2*/) override {}

    void end_page() override {
        page_.clear();
        if (!first_page_) page_ += '\f';
        first_page_ = false;
        for (const auto& [y, row] : rows_) {
            row.append_to(page_);
            page_ += '\n';
        }
        rows_.clear();
        file().write(page_);
    }

    void end_document() override {}

    Row& row_at(double y) {
        const auto row = rows_.lower_bound(y - SAME_ROW_UNITS);
        if (row != rows_.end() && row->first <= y + SAME_ROW_UNITS) return row->second;
        return rows_.emplace_hint(row, y, Row())->second;
    }

    std::map<double, Row> rows_; // by y
    std::string page_;
    bool first_page_ = true;
};

} // namespace

std::unique_ptr<PrintSurface> make_text_surface(std::string path, std::string device_name, std::string port) {
    if (device_name.empty()) device_name = "Texte";
    return std::make_unique<TextSurface>(std::move(path), std::move(device_name), std::move(port));
}

} // namespace corvalissement
