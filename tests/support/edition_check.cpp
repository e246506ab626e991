#include "support/edition_check.h"

#include "platform/text.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <sstream>

namespace corvalissement::testing_support {

namespace {

constexpr double CM = 567;
constexpr double TABLE = 5.1 * CM; // where the column titles begin

std::string difference(const std::vector<PaperRow>& expected, const std::vector<PaperRow>& printed) {
    std::ostringstream text;
    const auto [e, p] = std::mismatch(expected.begin(), expected.end(), printed.begin(), printed.end());
    if (e != expected.end() && p != printed.end())
        text << *e << "\n" << *p;
    else if (expected.size() != printed.size())
        text << "rows: " << expected.size() << " and " << printed.size();
    return text.str();
}

// Rules close what they enclose: a rule across ends each rule down, none runs through a row of the table, and
// every such row has one below it.
std::string fault_of_rules(const RecordingSurface& paper) {
    constexpr double ROW = 221.13;
    constexpr double SLACK = 1;
    std::map<long, std::vector<double>> across;
    for (const PaperRule& rule : paper.rules)
        if (rule.y1 == rule.y2) across[rule.page].push_back(rule.y1);
    const auto any = [&](long page, auto&& holds) {
        return std::any_of(across[page].begin(), across[page].end(), holds);
    };
    for (const PaperRule& rule : paper.rules)
        for (const double end : {rule.y1, rule.y2})
            if (!any(rule.page, [&](double y) { return std::fabs(y - end) < SLACK; }))
                return "a rule ends alone";
    for (const PaperRow& row : paper.rows()) {
        if (row.y < TABLE) continue;
        const std::string where = " a rule: " + row.text;
        if (any(row.page, [&](double y) { return y > row.y + SLACK && y < row.y + ROW - SLACK; }))
            return "struck by" + where;
        if (!any(row.page, [&](double y) { return y >= row.y + ROW - SLACK; }))
            return "not closed by" + where;
    }
    return "";
}

// A line number past 32767 ends the merged pass, which has a test of its own.
void lower_lines(TestLedger& ledger) {
    for (auto* file : {&ledger.ledger, &ledger.archive, &ledger.drafts})
        for (TestBalance& balance : *file)
            for (TestEntry& entry : balance.entries)
                if (entry.key.substr(7, 5) > "32767") entry.key.replace(7, 1, "0");
}

bool is_entry_line(const RecordingSurface::Text& text) {
    return text.line_end == LineEnd::end && text.x == 0 && !text.bold && text.text.size() > 100 &&
           text.text.find("DATE") == std::string::npos;
}

} // namespace

std::string fault_of_edition(TestLedger ledger, const Selection& selection, EditionResult& printed,
                             std::size_t* entries) {
    if (selection.with_drafts) lower_lines(ledger);
    const ModelPaper model = model_edition(ledger, selection);
    run_edition(ledger, selection, printed);
    if (entries != nullptr) *entries += model.entries_chosen;
    std::vector<PaperRow> rows = printed.surface.rows();
    std::erase_if(rows,
                  [](const PaperRow& row) { return row.y > TABLE && row.y < TABLE + 0.6 * CM; }); // titles
    if (std::string row = difference(model.rows, rows); !row.empty()) return row;
    if (model.entries_chosen > 0) // the total of nothing stands below its block
        if (std::string rule = fault_of_rules(printed.surface); !rule.empty()) return rule;
    if (printed.surface.draw_width != 3) return "pen";
    // 30 counted lines let a title of 4 and one line more stand, and in the merged pass a blank row.
    if (model.most_counted_lines > (selection.with_drafts ? 36 : 35)) return "lines of a page";
    // The closing page tells the stored entries chosen, each once.
    const auto told = [](double amount) { return static_cast<std::int64_t>(amount); };
    const PrintState& state = printed.state;
    if (told(state.W_TotDebit) != model.chosen.debit || told(state.W_TotCredit) != model.chosen.credit ||
        told(state.W_TotSolde) != model.chosen.debit - model.chosen.credit)
        return "totals";
    for (const auto& text : printed.surface.texts)
        if (is_entry_line(text) && char_count(text.text) != 129) return "width of " + text.text;
    return "";
}

} // namespace corvalissement::testing_support
