// The query texts and the server edition's line, letter for letter.
#include "launch/ledger_query.h"
#include "launch/server_edition.h"

#include <gtest/gtest.h>

namespace corvalissement {
namespace {

struct QueryCase {
    const char* name;
    void (*choose)(Selection&);
    const char* ledger;    // behind the entity
    const char* temporary; // the same
};

const QueryCase CASES[] = {
    {"year_n", [](Selection&) {}, " AND AVEC ExerBalGene = \"N0\" PAR 0",
     " AND AVEC ExerBalGeneTempo = \"N0\" PAR 0"},
    {"year_before", [](Selection& s) { s.exercice = "N - 1"; }, " AND AVEC ExerBalGene = \"N0\" PAR 0",
     " AND AVEC ExerBalGeneTempo = \"N1\" PAR 0"},
    {"year_after", [](Selection& s) { s.exercice = "N + 1"; }, " AND AVEC ExerBalGene = \"N1\" PAR 0",
     " AND AVEC ExerBalGeneTempo = \"N1\" PAR 0"},
    {"typed_year", [](Selection& s) { s.exercice = "2024"; }, " AND AVEC ExerBalGene = \"N1\" PAR 0",
     " AND AVEC ExerBalGeneTempo = \"N1\" PAR 0"},
    {"earlier", [](Selection& s) { s.exercice = "N + 1", s.with_earlier = true; },
     " PAR CpteBalGene PAR ExerBalGene PAR 0", " PAR ExerBalGeneTempo PAR 0"},
    {"unsettled", [](Selection& s) { s.with_earlier = s.only_unsettled = true; },
     " AND AVEC SoldeBalGene <> \"0\" PAR CpteBalGene PAR ExerBalGene PAR 0",
     " AND AVEC SoldeBalGeneTempo <> \"0\" PAR ExerBalGeneTempo PAR 0"},
    {"suppliers", [](Selection& s) { s.account_class = AccountClass::fournisseurs; },
     " AND AVEC ExerBalGene = \"N0\" AND AVEC 0 >= \"[0014000000000\" AND AVEC 0 <= \"[0014099999999\" PAR 0",
     " AND AVEC ExerBalGeneTempo = \"N0\" AND AVEC 0 >= \"[0014000000000\" AND AVEC 0 <= \"[0014099999999\" "
     "PAR 0"},
    {"two_ranges",
     [](Selection& s) {
         s.ranges = {{"3000000000 É", "5000000000 B"}, {"6060000000 ", "6060000000 "}};
     },
     " AND AVEC ExerBalGene = \"N0\" AND AVEC 0 >= \"[0013000000000\" AND AVEC 0 <= \"[0015000000000\""
     " OR AVEC 0 >= \"[0016060000000\" AND AVEC 0 <= \"[0016060000000\" PAR 0",
     " AND AVEC ExerBalGeneTempo = \"N0\" AND AVEC 0 >= \"[0013000000000\" AND AVEC 0 <= \"[0015000000000\""
     " OR AVEC 0 >= \"[0016060000000\" AND AVEC 0 <= \"[0016060000000\" PAR 0"},
    {"range_cut_to_customers",
     [](Selection& s) {
         s.account_class = AccountClass::clients,
         s.ranges = {{"3000000000 A", "5000000000 B"}, {"4200000000 A", "4300000000 B"}};
     },
     " AND AVEC ExerBalGene = \"N0\" AND AVEC 0 >= \"[0014100000000\" AND AVEC 0 <= \"[0014199999999\""
     " OR AVEC 0 >= \"[0014200000000\" AND AVEC 0 <= \"[0014199999999\" PAR 0",
     " AND AVEC ExerBalGeneTempo = \"N0\" AND AVEC 0 >= \"[0014100000000\" AND AVEC 0 <= \"[0014199999999\""
     " OR AVEC 0 >= \"[0014200000000\" AND AVEC 0 <= \"[0014199999999\" PAR 0"},
};

class Queries : public testing::TestWithParam<QueryCase> {};

TEST_P(Queries, are_built_clause_by_clause) {
    Selection selection;
    selection.entity = "001";
    selection.exercice = "N";
    GetParam().choose(selection);
    const std::string file = selection.exercice == "N - 1" ? "BALANCEGENEARCHIVE" : "BALANCEGENE";
    const QueryText ledger = ledger_query(selection);
    EXPECT_EQ(ledger.file, file);
    EXPECT_EQ(ledger.query, "SSELECT " + file + " AVEC EntiteBalGene = \"001\"" + GetParam().ledger);
    const QueryText temporary = temporary_query(selection);
    EXPECT_EQ(temporary.file, "BALANCEGENETEMPO");
    EXPECT_EQ(temporary.query, std::string("SSELECT BALANCEGENETEMPO AVEC EntiteBalGeneTempo = \"001\"") +
                                   GetParam().temporary);
}

INSTANTIATE_TEST_SUITE_P(Launch, Queries, testing::ValuesIn(CASES),
                         [](const auto& query) { return query.param.name; });

TEST(ServerEdition, joined_keys_have_their_odd_ends) {
    const auto joined = [](std::string text) { return joined_keys(DynArray(std::move(text))); };
    EXPECT_EQ(joined(""), "|");
    EXPECT_EQ(joined("a"), "a|");
    EXPECT_EQ(joined("a\xFE"
                     "b"),
              "a|b");
    EXPECT_EQ(joined("a\xFE"
                     "b\xFE"
                     "c"),
              "a|b|c");
}

TEST(ServerEdition, line_has_eleven_fields) {
    Selection selection;
    selection.entity = "001";
    selection.exercice = "N - 1";
    selection.start_date = "01/01/2023";
    selection.end_date = "31/12/2023";
    selection.as_list = false;
    EXPECT_EQ(edition_command_line(selection, "DUPUIS"),
              "CORVALISSEMENT DUPUIS 0 0 0 001 N- 0 44927 45291 GRAPHIQUE");
    selection.exercice = "N + 1";
    selection.as_list = selection.with_drafts = selection.only_unlettered = selection.page_per_account =
        selection.with_earlier = true;
    EXPECT_EQ(edition_command_line(selection, "DUPUIS"),
              "CORVALISSEMENT DUPUIS 1 1 1 001 N1 1 44927 45291 LISTE");
}

} // namespace
} // namespace corvalissement
