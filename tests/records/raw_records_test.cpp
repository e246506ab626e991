#include "records/raw_records.h"

#include "records/bad_input.h"
#include "support/base_check.h"

#include <gtest/gtest.h>
#include <sstream>

namespace corvalissement {

using namespace testing_base;

namespace {

std::string extracted(Store& store, const std::optional<std::string>& file = std::nullopt) {
    std::ostringstream output;
    extract_records(store, output, file);
    return output.str();
}

void load(Store& store, const std::string& text) {
    std::istringstream input(text);
    load_records(store, input, "entrée", {});
}

// The form that others read and write, byte for byte.
const std::string EXAMPLE =
    R"({"fichier":"BALANCEGENE","cle":"N00014010000000","attributs":["", "", "0", "", "", "", "", ["45292","45293"], ["001VEN100001","001VEN100002"]]})"
    "\n";

TEST(RawRecords, the_example_goes_in_and_out) {
    const auto store = make_memory_store();
    load(*store, EXAMPLE);
    EXPECT_EQ(records_of(*store, "BALANCEGENE")["N00014010000000"], std::string("\xFE\xFE"
                                                                                "0\xFE\xFE\xFE\xFE\xFE"
                                                                                "45292\xFD"
                                                                                "45293\xFE"
                                                                                "001VEN100001\xFD"
                                                                                "001VEN100002"));
    EXPECT_EQ(extracted(*store), EXAMPLE);
    load(*store, EXAMPLE);
    EXPECT_EQ(extracted(*store), EXAMPLE);
}

TEST(RawRecords, every_way_of_json_to_say_the_same) {
    const auto store = make_memory_store();
    load(*store,
         "\r\n  { \"cle\" : \"\\u00e9\\ud83d\\ude00\", \"attributs\":[[\"a\"],[],\"\\\"\\\\\\/\\t\\u0001\"], "
         "\"fichier\":\"F\" }\r\n\n");
    EXPECT_EQ(records_of(*store, "F")["é😀"], std::string("a\xFE\xFE\"\\/\t\x01"));
    EXPECT_EQ(extracted(*store), "{\"fichier\":\"F\",\"cle\":\"é😀\",\"attributs\":[\"a\", \"\", "
                                 "\"\\\"\\\\/\\t\\u0001\"]}\n");
}

// That any base comes back is the fuzz target's business (tests/fuzz/raw_fuzz.cpp).
TEST(RawRecords, one_file_is_extracted_alone) {
    const auto store = make_memory_store();
    const std::string other = R"({"fichier":"AUTRE","cle":"k","attributs":["a", ""]})"
                              "\n";
    load(*store, EXAMPLE + other);
    EXPECT_EQ(extracted(*store, "AUTRE"), other);
    EXPECT_EQ(extracted(*store), other + EXAMPLE);
    EXPECT_EQ(extracted(*store, "AUCUN"), "");
}

TEST(RawRecords, bad_lines_are_named_and_nothing_changes) {
    const std::pair<std::string, const char*> CASES[] = {
        {"bonjour", "JSON mal formé"},
        {"[]", "la ligne n'est pas un objet JSON"},
        {"\"texte\"", "la ligne n'est pas un objet JSON"},
        {"12", "la ligne n'est pas un objet JSON"},
        {R"({"fichier":"F","cle":"k"})", "membre « attributs » absent"},
        {R"({"fichier":"F","attributs":[]})", "membre « cle » absent"},
        {R"({"fichier":"F","cle":"","attributs":[]})", "« cle » est vide"},
        {R"({"fichier":"F","cle":"k","cle":"l","attributs":[]})", "membre « cle » donné deux fois"},
        {R"({"fichier":"F","cle":"k","attributs":[],"autre":1})", "membre inconnu « autre »"},
        {R"({"fichier":"F","cle":"k","attributs":"a"})", "« attributs » doit être une liste"},
        {R"({"fichier":"F","cle":"k","attributs":[1]})", "un texte, ou une liste de textes, est attendu"},
        {R"({"fichier":"F","cle":"k","attributs":[null]})", "un texte, ou une liste de textes, est attendu"},
        {R"({"fichier":"F","cle":["k"],"attributs":[]})", "un texte, ou une liste de textes, est attendu"},
        {R"({"fichier":"F","cle":"k","attributs":[[["a"]]]})",
         "un texte, ou une liste de textes, est attendu"},
        {R"({"fichier":"F","cle":"k","attributs":[{}]})", "un objet à l'intérieur de l'enregistrement"},
        {R"({"fichier":"F","cle":"k","attributs":[]} {})", "JSON mal formé"},
        {R"({"fichier":"F","cle":"k","attributs":["\ud800"]})", "JSON mal formé"},
        {"{\"fichier\":\"F\",\"cle\":\"k\",\"attributs\":[\"\xE9\"]}", "JSON mal formé"},
        {"{\"fichier\":\"F\",\"cle\":\"k\",\"attributs\":[\"\xFE\"]}", "JSON mal formé"},
        {R"({"fichier":"F","cle":"k","attributs":["a")", "JSON mal formé"},
        {std::string(100'000, '['), "la ligne n'est pas un objet JSON"},
    };
    const auto store = make_memory_store();
    load(*store, EXAMPLE);
    for (const auto& [line, reason] : CASES) {
        try {
            load(*store, R"({"fichier":"F","cle":"bon","attributs":[]})"
                         "\n" +
                             line + "\n");
            FAIL() << "taken: " << line;
        } catch (const BadInput& bad) {
            EXPECT_EQ(bad.line(), 2U) << line;
            EXPECT_EQ(bad.file(), "entrée");
            EXPECT_EQ(bad.reason().substr(0, std::string_view(reason).size()), reason) << line.substr(0, 80);
        }
        EXPECT_EQ(extracted(*store), EXAMPLE);
    }
}

TEST(RawRecords, what_json_cannot_tell_is_not_written) {
    const auto store = make_memory_store();
    store->write(store->file("F"), "k", "caf\xE9");
    EXPECT_THROW((void)extracted(*store), StepFailure);
    std::ostringstream closed;
    closed.setstate(std::ios::badbit);
    EXPECT_THROW(extract_records(*make_memory_store(), closed, std::nullopt), StepFailure);
}

} // namespace

} // namespace corvalissement
