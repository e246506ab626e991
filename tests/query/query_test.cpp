// The query language: the system's own queries, what is refused and where, and how much of a base is touched.
// That a query selects what a plain filter selects is the fuzz target's business (tests/fuzz/query_fuzz.cpp).
#include "data/keys.h"
#include "data/tarvex.h"
#include "query/query_lexer.h"
#include "query/query_run.h"
#include "support/store_trial.h"

namespace corvalissement {
namespace {

using Model = std::map<std::string, Records>;

std::string request(const std::string& query, const std::string& fields = "0") {
    const std::vector<Token> words = split_query(query);
    return query_request(query, words.at(1).text, fields);
}

std::string selected(Store& store, const std::string& query, const std::string& fields = "0",
                     QueryCounts* counts = nullptr) {
    std::string shown;
    const DynArray result = run_request(store, request(query, fields), counts);
    for (const char c : result.text())
        shown += c == ATTRIBUTE_MARK ? "^" : c == VALUE_MARK ? "]" : std::string(1, c);
    return shown;
}

void fill(Store& store, const Model& model) {
    for (const auto& [file, records] : model)
        for (const auto& [key, record] : records)
            store.write(store.file(file), key, record);
}

std::string attributes(std::initializer_list<std::string_view> texts) {
    std::string record;
    for (const std::string_view text : texts)
        record.append(text).push_back(ATTRIBUTE_MARK);
    record.pop_back();
    return record;
}

// --- the system's queries, on a base small enough to read ---

Model small_base() {
    return {
        {"ASSOCIATION",
         {{"001", "Éts Abel"},
          {"002", "ets abel fils"},
          {"003", "Zoé\xFD"
                  "autre"}}},
        {"PLANCOMPTABLE",
         {{"0014010000000", "Durand"},
          {"0014010000001", "ABCdur"},
          {"0016010000000", "Àbc achats"},
          {"0026010000000", "abc"}}},
        {"BALANCEGENE",
         {{"N00014010000000", attributes({"5", "5", "0"})},
          {"N00014010000001", attributes({"5", "2", "3"})},
          {"N00016010000000", attributes({"", "", "0"})},
          {"N00026010000000", attributes({"", "", "7"})},
          {"N10014010000000", attributes({"", "", "1"})}}},
        {"BROUILLARDTETE",
         {{"001ACN01", attributes({"", "100", "100"})},
          {"001VEN01", attributes({"", "100", "99"})},
          {"001VEN02", attributes({"x", "", ""})},
          {"001VEN03", attributes({"x", "abc", "abc"})},
          {"002VEN01", attributes({"", "0", ""})}}},
    };
}

TEST(Query, the_systems_own_queries) {
    const auto store = make_memory_store();
    fill(*store, small_base());
    const std::string entity = "AVEC EntiteBalGene = \"001\"";
    const struct {
        std::string query;
        std::string fields;
        std::string expected;
    } cases[] = {
        {"SSELECT ASSOCIATION PAR 0", "0 1", "001]Éts Abel^002]ets abel fils^003]Zoé"},
        {"SSELECT ASSOCIATION AVEC 1 = \"ETS A]\" PAR 0", "0 1", "001]Éts Abel^002]ets abel fils"},
        {"SSELECT ASSOCIATION AVEC 1 = \"]\" PAR 0", "0", "001^002^003"},
        {"SSELECT ASSOCIATION AVEC 1 = \"ETS ABEL\" PAR 0", "0", ""},
        {"SSELECT BALANCEGENE AVEC 0 = \"N0001401]\"", "0", "N00014010000000^N00014010000001"},
        {"SSELECT BALANCEGENE AVEC 0 = \"N1001]\" PAR 0", "0", "N10014010000000"},
        {"SSELECT BALANCEGENEARCHIVE AVEC 0 = \"N0001]\"", "0", ""},
        {"SSELECT BALANCEGENE AVEC 0 = \"N0001]\" AND AVEC LibCpteBalanceGene = \"ABC]\" PAR "
         "LibCpteBalanceGene",
         "0", "N00016010000000^N00014010000001^"},
        {"SSELECT BALANCEGENE AVEC 0 = \"N0001]\" AND AVEC LibCpteBalanceGene = \"X]\" PAR "
         "LibCpteBalanceGene",
         "0", ""},
        {"SSELECT BALANCEGENE " + entity + " AND AVEC ExerBalGene = \"N0\" PAR 0", "0",
         "N00014010000000^N00014010000001^N00016010000000"},
        {"SSELECT BALANCEGENE " + entity +
             " AND AVEC ExerBalGene = \"N0\" AND AVEC SoldeBalGene <> \"0\" PAR 0",
         "0", "N00014010000001"},
        {"SSELECT BALANCEGENE " + entity +
             " AND AVEC 0 >= \"[0014010000001\" AND AVEC 0 <= \"[0014999999999\" OR AVEC 0 >= "
             "\"[0016000000000\""
             " AND AVEC 0 <= \"[0029999999999\" PAR 0",
         "0", "N00014010000001^N00016010000000"},
        {"SSELECT BALANCEGENE " + entity +
             " AND AVEC 0 >= \"[0014000000000\" AND AVEC 0 <= \"[0014099999999\" PAR CpteBalGene PAR "
             "ExerBalGene PAR 0",
         "0", "N00014010000000^N10014010000000^N00014010000001"},
        {"SSELECT BALANCEGENETEMPO AVEC EntiteBalGeneTempo = \"001\" AND AVEC ExerBalGeneTempo = \"N0\""
         " AND AVEC SoldeBalGeneTempo <> \"0\" PAR ExerBalGeneTempo PAR 0",
         "0", ""},
        {"SSELECT BROUILLARDTETE AVEC SoldeBrouillardTete = \"0\" AND AVEC 0 = \"001]\" PAR 0", "0",
         "001ACN01^001VEN02"},
        {"SSELECT BROUILLARDTETE AVEC 0 = \"001V]\"", "SoldeBrouillardTete 1", "1]^0]x^]x"},
    };
    for (const auto& one : cases)
        EXPECT_EQ(selected(*store, one.query, one.fields), one.expected) << one.query;
}

TEST(Query, what_cannot_be_understood_is_refused_at_its_place) {
    const auto store = make_memory_store();
    fill(*store, small_base());
    const struct {
        const char* query;
        std::size_t position;
    } cases[] = {
        {"", 1},
        {"SELECT BALANCEGENE", 1},
        {"SSELECT", 8},
        {"SSELECT BALANCEGENE AVEC", 25},
        {"SSELECT BALANCEGENE AVEC 0 = \"N0", 30},
        {"SSELECT BALANCEGENE AVEC 0 = \"éé\"N\"", 34},
        {"SSELECT BALANCEGENE AVEC 0 = \"é\" \"N\"", 34},
        {"SSELECT BALANCEGENE AVEC 0=\"N\"", 28},
        {"SSELECT BALANCEGENE AVEC 0 == \"N\"", 28},
        {"SSELECT BALANCEGENE AVEC 0 = N0", 30},
        {"SSELECT BALANCEGENE AVEC 0 = \"[N0]\"", 30},
        {"SSELECT BALANCEGENE AVEC 0 >= \"N0]\"", 31},
        {"SSELECT BALANCEGENE AVEC Lib = \"N0\"", 26},
        {"SSELECT ASSOCIATION AVEC EntiteBalGene = \"N0\"", 26},
        {"SSELECT BALANCEGENE AVEC 12345678 = \"\"", 26},
        {"SSELECT BALANCEGENE AVEC 0 = \"a\" AVEC 0 = \"b\"", 34},
        {"SSELECT BALANCEGENE AVEC 3 = \"a\" OR AVEC 0 = \"b\"", 34},
        {"SSELECT BALANCEGENE AVEC 0 = \"a\" OR AVEC 3 = \"b\"", 37},
        {"SSELECT BALANCEGENE AVEC 0 = \"a\" AND AVEC 3 = \"a\" OR AVEC 0 = \"b\"", 38},
        {"SSELECT BALANCEGENE PAR", 24},
        {"SSELECT BALANCEGENE PAR 0 AVEC 0 = \"a\"", 27},
    };
    for (const auto& one : cases) {
        std::string text;
        const std::string whole = query_request(one.query, "BALANCEGENE", "0");
        EXPECT_EQ(failure_number([&] { static_cast<void>(run_request(*store, whole)); }, &text), ERR_QUERY)
            << one.query;
        EXPECT_TRUE(text.starts_with("requête, caractère " + std::to_string(one.position) + " : "))
            << one.query << "\n"
            << text;
    }
    for (const std::string& whole :
         {query_request("SSELECT TEMPO", "TABLES", "0"), query_request("SSELECT TEMPO", "TEMPO", ""),
          query_request("SSELECT TEMPO", "TEMPO", "0 x"), std::string()})
        EXPECT_EQ(failure_number([&] { static_cast<void>(run_request(*store, whole)); }), ERR_QUERY);
}

// --- how much is touched ---

TEST(Query, touches_its_range_of_keys_and_nothing_else) {
    const auto store = make_memory_store();
    {
        Transaction whole(*store);
        for (const char* year : {"N0", "N1"})
            for (const char* entity : {"001", "002", "003"})
                for (std::size_t i = 0; i < 1'000; ++i) {
                    const std::string account = entity + std::to_string(4'000'000'000 + i * 1'000'000);
                    store->write(store->file("BALANCEGENE"), year + account, attributes({"", "", "1"}));
                    store->write(store->file("PLANCOMPTABLE"), account, "Libellé " + account);
                }
        whole.commit();
    }
    std::string ranges = "SSELECT BALANCEGENE AVEC EntiteBalGene = \"002\"";
    for (int i = 0; i < 300; ++i) // ranges that overlap are walked once
        ranges += std::string(i == 0 ? " AND" : " OR") + " AVEC 0 >= \"[002" +
                  std::to_string(4'000'000'000 + i * 1'000'000) + "\" AND AVEC 0 <= \"[0024499000000\"";
    const struct {
        std::string query;
        std::size_t rows, keys, seeks, records, labels;
    } cases[] = {
        {"SSELECT BALANCEGENE AVEC 0 = \"N000240]\"", 100, 100, 1, 0, 0},
        {"SSELECT BALANCEGENE AVEC EntiteBalGene = \"002\" AND AVEC ExerBalGene = \"N1\"", 1'000, 1'000, 3, 0,
         0},
        {"SSELECT BALANCEGENE AVEC EntiteBalGene = \"002\" PAR CpteBalGene PAR ExerBalGene PAR 0", 2'000,
         2'000, 5, 0, 0},
        {"SSELECT BALANCEGENE AVEC EntiteBalGene = \"003\" AND AVEC 0 >= \"[0034000000000\" AND AVEC 0 <= "
         "\"[0034009000000\"",
         20, 20, 5, 0, 0},
        {ranges, 1'000, 1'000, 5, 0, 0},
        {"SSELECT BALANCEGENE AVEC 0 = \"N000240]\" AND AVEC SoldeBalGene = \"0\"", 0, 100, 1, 100, 0},
        {"SSELECT BALANCEGENE AVEC 0 = \"N0002]\" AND AVEC LibCpteBalanceGene = \"LIB]\" PAR "
         "LibCpteBalanceGene",
         1'000, 1'000, 1, 0, 1'000},
    };
    for (const auto& one : cases) {
        QueryCounts counts;
        static_cast<void>(run_request(*store, request(one.query), &counts));
        const std::string query = one.query.substr(0, 120);
        EXPECT_EQ(counts.rows, one.rows) << query;
        EXPECT_EQ(counts.keys, one.keys) << query;
        EXPECT_LE(counts.seeks, one.seeks) << query;
        EXPECT_EQ(counts.records, one.records) << query;
        EXPECT_EQ(counts.labels, one.labels) << query;
    }
}

} // namespace
} // namespace corvalissement
