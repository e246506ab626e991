// The ledger pass against a model of its own, over random ledgers.
#include "launch/ledger_query.h"
#include "support/edition_check.h"

#include <gtest/gtest.h>

namespace corvalissement::testing_support {
namespace {

class Editions : public testing::TestWithParam<bool> {};

TEST_P(Editions, print_what_the_model_says) {
    std::size_t entries = 0;
    long pages = 0;
    for (unsigned seed = 1; seed <= 300; ++seed) {
        Random random(seed);
        const TestLedger ledger = random_ledger(random);
        Selection selection = random_selection(random);
        selection.with_drafts = GetParam();
        EditionResult printed;
        ASSERT_EQ(fault_of_edition(ledger, selection, printed, &entries), "")
            << "seed " << seed << "\n"
            << ledger_query(selection).query;
        pages += printed.surface.page_count();
    }
    EXPECT_GT(entries, 5000U); // the trials were worth the name
    EXPECT_GT(pages, 900);
}

INSTANTIATE_TEST_SUITE_P(Passes, Editions, testing::Values(false, true),
                         [](const auto& drafts) { return drafts.param ? "merged" : "direct"; });

} // namespace
} // namespace corvalissement::testing_support
