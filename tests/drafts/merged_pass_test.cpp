// What ends the merged pass, and rows of the assignment dialog.
#include "drafts/frm_affect_compta.h"
#include "platform/text.h"
#include "support/small_base.h"

#include <gtest/gtest.h>

namespace corvalissement::testing_support {
namespace {

TestEntry entry(const std::string& number, const std::string& account) {
    return {45292, "001VEN0" + number, "001" + account, "Loyer", "F", "100", "", "", "", ""};
}

TestLedger two_accounts() {
    TestLedger ledger;
    ledger.chart = {{"0014010000000", "Un"}, {"0016010000000", "Deux"}};
    ledger.ledger = {{"N00014010000000", "1", {entry("00001", "4010000000")}},
                     {"N00016010000000", "1", {entry("00002", "6010000000"), entry("00005", "6010000000")}}};
    return ledger;
}

Selection with_drafts() {
    Selection selection;
    selection.entity = "001";
    selection.exercice = "N";
    selection.start_date = "01/01/2024";
    selection.end_date = "31/12/2024";
    selection.with_drafts = true;
    return selection;
}

struct EndCase {
    const char* name;
    void (*damage)(TestLedger&);
    int number;
    const char* record;
    double total; // debit of the closing page: only accounts that were closed
};

const EndCase ENDS[] = {
    {"nothing", [](TestLedger&) {}, 0, "", 300},
    {"chart_record_missing", [](TestLedger& l) { l.chart.erase("0016010000000"); }, ERR_NOT_FOUND,
     "PLANCOMPTABLE 0016010000000", 100},
    {"line_number_too_high", [](TestLedger& l) { l.ledger[1].entries[1].key = "001VEN032768"; }, ERR_OVERFLOW,
     "001VEN032768", 100},
    {"amount_is_none", [](TestLedger& l) { l.ledger[0].entries[0].debit = "?"; }, ERR_TYPE, "001VEN000001",
     0},
    {"bar_refuses_zero",
     [](TestLedger& l) {
         for (auto& b : l.ledger)
             b.entries.clear();
     },
     ERR_PROPERTY, "", 0},
};

class MergedPassEnd : public testing::TestWithParam<EndCase> {};

TEST_P(MergedPassEnd, loses_the_open_block_and_tells_the_record) {
    TestLedger ledger = two_accounts();
    GetParam().damage(ledger);
    EditionResult result;
    run_edition(ledger, with_drafts(), result);
    EXPECT_EQ(result.state.W_TotDebit, GetParam().total);
    EXPECT_NE(result.surface.rows().back().text.find("TOTAL DES MOUVEMENTS"), std::string::npos)
        << "still the closing page";
    ASSERT_EQ(result.failures.list.size(), GetParam().number == 0 ? 0U : 1U);
    if (GetParam().number == 0) return;
    EXPECT_EQ(result.failures.list[0], (Skipped{"Imprime", GetParam().number, GetParam().record}));
}

INSTANTIATE_TEST_SUITE_P(Drafts, MergedPassEnd, testing::ValuesIn(ENDS),
                         [](const auto& end) { return end.param.name; });

TEST(SequenceRow, keeps_its_columns_whatever_the_label) {
    for (const std::string& label : {std::string("ACHATS"), std::string(32, 'J'), std::string(40, 'K'),
                                     std::string("Écritures d'à-nouveaux")})
        for (const char* key : {"001ACN01", "001ACN1Z"}) {
            const std::string row = sequence_row(key, label, "", "123456");
            EXPECT_EQ(char_count(row), 71U) << row;
            EXPECT_EQ(chars(row, 38, 12), std::string(12, ' '));
            EXPECT_EQ(chars(row, 50, 11), "    1234,56");
            EXPECT_EQ(chars(row, 63, 5), key[6] == '0' ? "N    " : "N + 1");
            EXPECT_EQ(sequence_key("001 SOCIETE", row), key);
        }
}

} // namespace
} // namespace corvalissement::testing_support
