// The merge rule of classes 6 and 7, one row each: two entries that agree in everything, then one difference.
#include "platform/text.h"
#include "support/small_base.h"

#include <gtest/gtest.h>

namespace corvalissement::testing_support {
namespace {

struct Pair {
    TestEntry first, second;
};

struct MergeCase {
    const char* name;
    void (*change)(Pair&);
    int lines;
};

const MergeCase CASES[] = {
    {"continues", [](Pair&) {}, 1},
    {"class_7", [](Pair& p) { p.first.account[3] = p.second.account[3] = '7'; }, 1},
    {"class_4", [](Pair& p) { p.first.account[3] = p.second.account[3] = '4'; }, 2},
    {"credits", [](Pair& p) { p.first.credit.swap(p.first.debit), p.second.credit.swap(p.second.debit); }, 1},
    {"debit_then_credit", [](Pair& p) { p.second.credit.swap(p.second.debit); }, 2},
    {"credit_then_debit", [](Pair& p) { p.first.credit.swap(p.first.debit); }, 2},
    {"line_skipped", [](Pair& p) { p.second.key.replace(7, 5, "00014"); }, 2},
    {"same_line", [](Pair& p) { p.second.key.replace(7, 5, "00012"); }, 2},
    {"journal", [](Pair& p) { p.second.key.replace(3, 2, "AC"); }, 2},
    {"mark_plays_no_part", [](Pair& p) { p.second.key[5] = 'X'; }, 1},
    {"piece", [](Pair& p) { p.second.piece = "f-1"; }, 2},
    {"piece_blank", [](Pair& p) { p.second.piece += " "; }, 2},
    {"label_blank", [](Pair& p) { p.second.label += " "; }, 2},
    {"label_behind_30",
     [](Pair& p) { p.first.label = std::string(30, 'x') + "1", p.second.label = std::string(30, 'x') + "2"; },
     2},
    {"date", [](Pair& p) { ++p.second.day; }, 2},
    {"due_date_plays_no_part", [](Pair& p) { p.second.due = "45400"; }, 1},
    {"lettering_plays_no_part", [](Pair& p) { p.second.lettering = "A1"; }, 1},
    {"quantity_plays_no_part", [](Pair& p) { p.second.quantity = "500"; }, 1},
    {"line_32767", [](Pair& p) { p.first.key.replace(7, 5, "32766"), p.second.key.replace(7, 5, "32767"); },
     1},
    {"line_after_32767",
     [](Pair& p) { p.first.key.replace(7, 5, "32767"), p.second.key.replace(7, 5, "32768"); }, 2},
    {"lines_above_32767",
     [](Pair& p) { p.first.key.replace(7, 5, "40000"), p.second.key.replace(7, 5, "40001"); }, 2},
    {"first_has_both_sides", [](Pair& p) { p.first.credit = "5"; }, 2},
    {"second_has_both_sides", [](Pair& p) { p.second.credit = "5"; }, 2},
    {"no_amount_first", [](Pair& p) { p.first.debit.clear(); },
     1}, // the side in force is none: a debit agrees
    {"no_amount_second", [](Pair& p) { p.second.debit.clear(); }, 2},
    {"zero_is_an_amount", [](Pair& p) { p.first.debit = "0"; }, 1},
    {"sum_that_fits", [](Pair& p) { p.first.debit = "9999999998", p.second.debit = "1"; }, 1},
    {"sum_too_wide", [](Pair& p) { p.first.debit = "9999999999", p.second.debit = "1"; }, 2},
    {"negative_sum_too_wide", [](Pair& p) { p.first.debit = "-999999999", p.second.debit = "-1"; }, 2},
    {"column_too_wide", [](Pair& p) { p.first.debit = "10000000000", p.second.debit = "-1"; }, 2},
    {"no_number", [](Pair& p) { p.second.debit = "12,5"; }, 2},
};

std::vector<std::string> lines_of(const EditionResult& result) {
    std::vector<std::string> lines;
    for (const auto& text : result.surface.texts)
        if (char_count(text.text) == 129 && text.text.find("DATE") == std::string::npos)
            lines.push_back(text.text);
    return lines;
}

TestLedger ledger_of(const std::vector<TestEntry>& entries) {
    TestLedger ledger;
    ledger.chart[entries.front().account] = "Compte";
    ledger.ledger = {{"N0" + entries.front().account, "1", entries}};
    return ledger;
}

Selection whole_year() {
    Selection selection;
    selection.entity = "001";
    selection.exercice = "N";
    selection.start_date = "01/01/2024";
    selection.end_date = "31/12/2024";
    return selection;
}

class Merge : public testing::TestWithParam<MergeCase> {};

TEST_P(Merge, gives_the_lines_told) {
    Pair pair;
    pair.first = {45292, "001VEN000012-a", "0016010000000", "Loyer", "F-1", "1000", "", "", "", ""};
    pair.second = pair.first;
    pair.second.key = "001VEN000013-b";
    pair.second.debit = "234";
    GetParam().change(pair);
    EditionResult result;
    run_edition(ledger_of({pair.first, pair.second}), whole_year(), result);
    const auto lines = lines_of(result);
    ASSERT_EQ(static_cast<int>(lines.size()), GetParam().lines);
    EXPECT_EQ(chars(lines[0], 16, 5), std::string_view(pair.first.key).substr(7, 5));
}

INSTANTIATE_TEST_SUITE_P(EntryLine, Merge, testing::ValuesIn(CASES),
                         [](const auto& merge) { return merge.param.name; });

// A line number that the member cannot hold leaves the one before in force, and the host is told of it.
TEST(EntryLine, earlier_line_number_stays_in_force_behind_one_too_high) {
    const TestEntry entry{45292, "001VEN000012", "0016010000000", "Loyer", "F-1", "100", "", "", "", ""};
    std::vector<TestEntry> entries(3, entry);
    entries[1].key = "001VEN040000";
    entries[2].key = "001VEN000013";
    EditionResult result;
    run_edition(ledger_of(entries), whole_year(), result);
    const auto lines = lines_of(result);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(chars(lines[1], 16, 5), "40000");
    EXPECT_EQ(chars(lines[1], 87, 11), "       2,00");
    EXPECT_EQ(result.failures.list,
              (std::vector<Skipped>{{"Impression_Detail", ERR_OVERFLOW, "001VEN040000"}}));
}

// A direct pass goes on behind what it cannot read, and each failure names its record.
TEST(LedgerPass, damaged_records_are_left_out_and_told) {
    TestEntry good{45292, "001VEN000001", "0014010000000", "Bon", "", "100", "", "", "", ""};
    TestEntry bad = good;
    bad.key = "001VEN000002";
    bad.debit = "abc";
    TestLedger ledger = ledger_of({good, bad});
    ledger.chart.clear();
    EditionResult result;
    run_edition(ledger, whole_year(), result);
    EXPECT_EQ(lines_of(result).size(), 2U);
    EXPECT_EQ(result.state.W_TotDebit, 100);
    const std::vector<Skipped> expected = {
        {"Impression_Detail", ERR_NOT_FOUND, "PLANCOMPTABLE 0014010000000"},
        {"Impression_Detail", ERR_TYPE, "001VEN000002"}};
    EXPECT_EQ(result.failures.list, expected);
}

} // namespace
} // namespace corvalissement::testing_support
