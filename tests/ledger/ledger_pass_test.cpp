// The ledger pass against a model of its own, over random ledgers.
#include "launch/ledger_query.h"
#include "platform/text.h"
#include "support/pass_model.h"
#include "support/random_ledger.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace corvalissement::testing_support {
namespace {

template <class Item>
void expect_same(const std::vector<Item>& expected, const std::vector<Item>& printed) {
    const auto [e, p] = std::mismatch(expected.begin(), expected.end(), printed.begin(), printed.end());
    if (e != expected.end() && p != printed.end()) {
        EXPECT_EQ(*e, *p) << "item " << e - expected.begin();
    }
    EXPECT_EQ(expected.size(), printed.size());
}

class Editions : public testing::TestWithParam<bool> {};

TEST_P(Editions, print_what_the_model_says) {
    std::size_t entries = 0;
    long pages = 0;
    for (unsigned seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        TestLedger ledger = random_ledger(random);
        Selection selection = random_selection(random);
        selection.with_drafts = GetParam();
        SCOPED_TRACE(ledger_query(selection).query);
        // A line number past 32767 ends the merged pass, which has a test of its own.
        if (selection.with_drafts)
            for (auto* file : {&ledger.ledger, &ledger.archive, &ledger.drafts})
                for (TestBalance& balance : *file)
                    for (TestEntry& entry : balance.entries)
                        if (entry.key.substr(7, 5) > "32767") entry.key.replace(7, 1, "0");
        const ModelPaper model = model_edition(ledger, selection);
        EditionResult printed;
        run_edition(ledger, selection, printed);

        expect_same(model.rows, printed.surface.rows());
        expect_same(model.rules, printed.surface.rules);
        EXPECT_EQ(printed.surface.draw_width, 3);
        // 30 counted lines let a title of 4 and one line more stand, and in the merged pass a blank row.
        EXPECT_LE(model.most_counted_lines, GetParam() ? 36 : 35);
        // The closing page tells the stored entries chosen, each once.
        EXPECT_EQ(model.chosen.debit, static_cast<std::int64_t>(printed.state.W_TotDebit));
        EXPECT_EQ(model.chosen.credit, static_cast<std::int64_t>(printed.state.W_TotCredit));
        EXPECT_EQ(model.chosen.debit - model.chosen.credit,
                  static_cast<std::int64_t>(printed.state.W_TotSolde));
        for (const auto& text : printed.surface.texts)
            if (text.line_end == LineEnd::end && text.x == 0 && !text.bold && text.text.size() > 100 &&
                text.text.find("DATE") == std::string::npos) {
                EXPECT_EQ(char_count(text.text), 129U) << text.text;
            }
        entries += model.entries_chosen;
        pages += printed.surface.page_count();
        if (HasFailure()) return;
    }
    EXPECT_GT(entries, 5000U); // the trials were worth the name
    EXPECT_GT(pages, 900);
}

INSTANTIATE_TEST_SUITE_P(Passes, Editions, testing::Values(false, true),
                         [](const auto& drafts) { return drafts.param ? "merged" : "direct"; });

} // namespace
} // namespace corvalissement::testing_support
