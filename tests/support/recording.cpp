#include "support/recording.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <ostream>

namespace corvalissement::testing_support {

std::vector<std::string> characters(const std::string& text) {
    std::vector<std::string> result;
    for (const char c : text) {
        // A damaged text may begin in the middle of a character.
        if (result.empty() || (static_cast<unsigned char>(c) & 0xC0U) != 0x80U) result.emplace_back();
        result.back() += c;
    }
    return result;
}

bool PaperRow::operator==(const PaperRow& other) const {
    return page == other.page && text == other.text && bold == other.bold;
}

std::ostream& operator<<(std::ostream& out, const Skipped& skipped) {
    return out << skipped.routine << " " << skipped.number << " " << skipped.record;
}

std::ostream& operator<<(std::ostream& out, const PaperRow& row) {
    return out << "p" << row.page << " y" << row.y << " [" << row.bold << "] |" << row.text << "|";
}

void RecordingSurface::set_Copies(int value) {
    if (refuses_copies) throw StepFailure(ERR_PROPERTY, "copies");
    copies = value;
}

void RecordingSurface::Print(std::string_view text, LineEnd line_end) {
    if (++prints_ == fail_at_print) throw StepFailure(ERR_OUTPUT, "disque plein", "papier");
    texts.push_back({page_, x_, y_, points_, bold_, underline_, std::string(text), line_end});
    if (line_end == LineEnd::keep) {
        x_ += static_cast<double>(characters(texts.back().text).size()) * CHAR_UNITS_PER_POINT * points_;
    } else {
        x_ = 0;
        y_ += LINE_UNITS_PER_POINT * points_;
    }
}

void RecordingSurface::Line(double x1, double y1, double x2, double y2) {
    rules.push_back({page_, x1, y1, x2, y2});
    x_ = x2;
    y_ = y2;
}

void RecordingSurface::NewPage() {
    ++page_;
    x_ = 0;
    y_ = 0;
}

std::vector<PaperRow> RecordingSurface::rows() const {
    struct Cell {
        std::string ink = " ";
        bool bold = false;
    };
    std::map<std::pair<long, long>, std::vector<Cell>> grid; // by page and thousandth of a unit
    for (const Text& text : texts) {
        auto& row = grid[{text.page, std::lround(text.y * 1000)}];
        auto column = static_cast<std::size_t>(std::lround(text.x / 120));
        for (const std::string& character : characters(text.text)) {
            if (row.size() <= column) row.resize(column + 1);
            if (character != " ") row[column] = {character, text.bold};
            ++column;
        }
    }
    std::vector<PaperRow> result;
    for (const auto& [place, cells] : grid) {
        PaperRow row{place.first, static_cast<double>(place.second) / 1000, "", ""};
        std::size_t first = 0;
        std::size_t last = 0;
        for (std::size_t i = 0; i < cells.size(); ++i) {
            row.text += cells[i].ink;
            if (!cells[i].bold) continue;
            if (first == 0) first = i + 1;
            last = i + 1;
        }
        row.text.erase(row.text.find_last_not_of(' ') + 1);
        if (first > 0) row.bold = std::to_string(first) + "-" + std::to_string(last);
        if (!row.text.empty()) result.push_back(std::move(row));
    }
    return result;
}

} // namespace corvalissement::testing_support
