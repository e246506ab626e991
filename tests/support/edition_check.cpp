#include "support/edition_check.h"

#include "platform/text.h"

#include <algorithm>
#include <sstream>

namespace corvalissement::testing_support {

namespace {

template <class Item>
std::string difference(const char* what, const std::vector<Item>& expected,
                       const std::vector<Item>& printed) {
    std::ostringstream text;
    const auto [e, p] = std::mismatch(expected.begin(), expected.end(), printed.begin(), printed.end());
    if (e != expected.end() && p != printed.end())
        text << what << " " << e - expected.begin() << "\n" << *e << "\n" << *p;
    else if (expected.size() != printed.size())
        text << what << "s: " << expected.size() << " and " << printed.size();
    return text.str();
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
    if (std::string row = difference("row", model.rows, printed.surface.rows()); !row.empty()) return row;
    if (std::string rule = difference("rule", model.rules, printed.surface.rules); !rule.empty()) return rule;
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
