// The query language: what it selects against a plain filter over all records, what it refuses and where,
// and how much of a base it touches.
#include "data/keys.h"
#include "data/tarvex.h"
#include "platform/text.h"
#include "scratch.h"
#include "server/query_lexer.h"
#include "server/query_run.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>

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

// --- a plain filter ---

struct Trial {
    std::string connector; // AVEC, AND AVEC, OR AVEC
    std::string field;
    std::string sign;
    std::string value; // as it stands between the quotes
};

std::string text_of(const Model& model, const std::string& key, const std::string& record,
                    const std::string& field) {
    const DynArray attributes_of(record);
    const auto number = [&](std::size_t a) {
        return attributes_of(a).empty() ? 0 : std::stol(std::string(attributes_of(a)));
    };
    if (field == "0") return key;
    if (field.starts_with("Entite")) return std::string(chars(key, 3, 3));
    if (field.starts_with("Exer")) return std::string(chars(key, 1, 2));
    if (field.starts_with("Cpte")) return std::string(chars(key, 6, 10));
    if (field.starts_with("SoldeBal")) return std::string(attributes_of(3, 1));
    if (field == "SoldeBrouillardTete") return std::to_string(number(2) - number(3));
    if (field != "LibCpteBalanceGene") return std::string(attributes_of(std::stoul(field), 1));
    const Records& chart = model.at("PLANCOMPTABLE");
    const auto account = chart.find(std::string(chars(key, 3, 13)));
    return account == chart.end() ? "" : std::string(DynArray(account->second)(1, 1));
}

bool label(const std::string& file, const std::string& field) {
    return field == "LibCpteBalanceGene" || (file == "ASSOCIATION" && field == "1");
}

bool compares(const std::string& sign, const std::string& a, const std::string& b) {
    if (sign == "=") return a == b;
    if (sign == "<>") return a != b;
    if (sign == ">=") return a >= b;
    if (sign == "<=") return a <= b;
    return sign == ">" ? a > b : a < b;
}

bool met(const Trial& trial, const std::string& file, std::string text) {
    std::string value = trial.value;
    if (value.ends_with("]")) {
        value.pop_back();
        if (label(file, trial.field)) {
            text = fold(text);
            value = fold(value);
        }
        return (text.substr(0, value.size()) == value) == (trial.sign == "=");
    }
    if (value.starts_with("[")) {
        if (trial.field == "0" && file.starts_with("BALANCE") && char_count(text) != 15) return false;
        value.erase(0, 1);
        while (char_count(text) > char_count(value))
            text = chars_from(text, 2);
    }
    return compares(trial.sign, text, value);
}

struct RandomQuery {
    std::string file;
    std::vector<Trial> trials;
    std::vector<std::string> order;

    [[nodiscard]] std::string text() const {
        std::string query = "SSELECT " + file;
        for (const Trial& one : trials)
            query += " " + one.connector + " " + one.field + "  " + one.sign + " \"" + one.value + "\"";
        for (const std::string& field : order)
            query += " PAR " + field;
        return query;
    }

    [[nodiscard]] bool takes(const Model& model, const std::string& key, const std::string& record) const {
        bool common = true;
        bool some = false;
        bool alternative = true;
        bool key_seen = false;
        for (const Trial& one : trials) {
            key_seen = key_seen || one.field == "0";
            const bool holds = met(one, file, text_of(model, key, record, one.field));
            if (!key_seen) common = common && holds;
            if (one.connector == "OR AVEC") {
                some = some || alternative;
                alternative = true;
            }
            if (key_seen) alternative = alternative && holds;
        }
        return common && (some || alternative);
    }

    // Keys in the query's order, with what each sort field is.
    [[nodiscard]] std::string expected(const Model& model) const {
        std::vector<std::vector<std::string>> rows;
        for (const auto& [key, record] : model.at(file)) {
            if (!takes(model, key, record)) continue;
            std::vector<std::string> row;
            for (const std::string& field : order) {
                const std::string text = text_of(model, key, record, field);
                row.push_back(label(file, field) ? fold(text) : text);
            }
            row.push_back(key);
            rows.push_back(row);
        }
        std::sort(rows.begin(), rows.end());
        std::string result;
        for (const auto& row : rows)
            result += (&row == &rows.front() ? "" : "^") + row.back();
        return rows.empty() || order.empty() || order.back() == "0" ? result : result + "^";
    }
};

template <std::size_t N>
std::string one_of(std::mt19937& random, const char* const (&texts)[N]) {
    return texts[random() % N];
}

constexpr const char* YEARS[] = {"N0", "N0", "N1", "N1", "Né", "M0", "N"};
constexpr const char* ENTITIES[] = {"001", "001", "002", "0é2", "00"};
constexpr const char* ACCOUNTS[] = {"4010000000", "4010000001", "4099999999",
                                    "4110000000", "6Z00000000", "60"};
constexpr const char* LABELS[] = {"Éclair", "ECLAIR bis", "eclat", "Zèle", "zele", "", "Abc"};

std::string random_balance_key(std::mt19937& random) {
    if (random() % 12 == 0)
        return one_of(random, {"N", "N0\xC3", "N0001", "",
                               "\xFF\xFF"
                               "001",
                               "N000140100000000", "É"});
    return one_of(random, YEARS) + one_of(random, ENTITIES) + one_of(random, ACCOUNTS);
}

Model random_model(std::mt19937& random) {
    Model model;
    for (int i = 0; i < 60; ++i) {
        model["BALANCEGENE"][random_balance_key(random)] = attributes({"1", "2",
                                                                       one_of(random, {"0", "", "12", "-5",
                                                                                       "0\xFD"
                                                                                       "1"}),
                                                                       "x"});
        model["PLANCOMPTABLE"][one_of(random, ENTITIES) + one_of(random, ACCOUNTS)] = one_of(random, LABELS);
        model["ASSOCIATION"][one_of(random, {"001", "002", "00é", "0", "01"})] = one_of(random, LABELS);
        model["BROUILLARDTETE"][one_of(random, ENTITIES) + one_of(random, {"VEN01", "ACN02"})] =
            attributes({"", one_of(random, {"", "0", "100", "-7"}), one_of(random, {"", "0", "100"})});
    }
    return model;
}

Trial random_trial(std::mt19937& random, const std::string& file, bool key) {
    Trial trial;
    if (file == "BALANCEGENE") {
        trial.field = one_of(random, {"EntiteBalGene", "ExerBalGene", "SoldeBalGene", "CpteBalGene",
                                      "LibCpteBalanceGene", "3", "9", "EntiteBalGene", "ExerBalGene"});
    } else {
        trial.field = file == "BROUILLARDTETE" ? one_of(random, {"SoldeBrouillardTete", "2"}) : "1";
    }
    if (key) trial.field = "0";
    trial.sign = one_of(random, {"=", "=", "<>", ">=", "<=", ">", "<"});
    const auto part = [&](const std::string& text) { return std::string(chars(text, 1, random() % 16)); };
    const std::string key_value = random_balance_key(random);
    const std::string values[] = {one_of(random, LABELS), one_of(random, YEARS), one_of(random, ENTITIES),
                                  one_of(random, {"0", "12", ""}), key_value};
    trial.value = key ? (random() % 3 == 0 ? one_of(random, ENTITIES) + one_of(random, ACCOUNTS) : key_value)
                      : values[random() % std::size(values)];
    if (trial.field.starts_with("Entite") && random() % 4 > 0) trial.value = one_of(random, ENTITIES);
    if (trial.field.starts_with("Exer") && random() % 4 > 0) trial.value = one_of(random, YEARS);
    switch (random() % 3) {
    case 0:
        trial.value.insert(0, "[");
        break;
    case 1:
        if (trial.sign == "=" || trial.sign == "<>") trial.value = part(trial.value) + "]";
        break;
    default:
        break;
    }
    return trial;
}

RandomQuery random_query(std::mt19937& random) {
    RandomQuery query;
    query.file =
        one_of(random, {"BALANCEGENE", "BALANCEGENE", "BALANCEGENE", "ASSOCIATION", "BROUILLARDTETE"});
    const auto add = [&](const char* connector, bool key) {
        query.trials.push_back(random_trial(random, query.file, key));
        query.trials.back().connector = query.trials.size() == 1 ? "AVEC" : std::string(connector) + " AVEC";
    };
    for (auto i = random() % 3; i > 0; --i)
        add("AND", false);
    const auto keys = random() % 6;
    bool alternatives = false;
    for (std::size_t i = 0; i < keys; ++i) {
        const bool alternative = i > 0 && random() % 2 == 0;
        alternatives = alternatives || alternative;
        add(alternative ? "OR" : "AND", true);
    }
    if (!alternatives && random() % 2 == 0) add("AND", false);
    for (auto i = random() % 4; i > 0; --i)
        query.order.push_back(random() % 3 == 0 ? "0" : random_trial(random, query.file, false).field);
    return query;
}

TEST(Query, selects_what_a_plain_filter_selects) {
    std::mt19937 random(5);
    std::size_t rows = 0;
    for (int round = 0; round < 60; ++round) {
        const Model model = random_model(random);
        const auto store = make_memory_store();
        fill(*store, model);
        for (int i = 0; i < 120; ++i) {
            const RandomQuery query = random_query(random);
            QueryCounts counts;
            ASSERT_EQ(selected(*store, query.text(), "0", &counts), query.expected(model)) << query.text();
            rows += counts.rows;
        }
    }
    EXPECT_GT(rows, 20'000U); // the queries do select
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
