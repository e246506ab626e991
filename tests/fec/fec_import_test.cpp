// What a FEC becomes in a base, and what a second one adds.
#include "fec/entity_records.h"
#include "fec/fec_codes.h"
#include "fec/fec_trial.h"

#include <nlohmann/json.hpp>

namespace corvalissement {

using namespace testing_base;

namespace {

// An entry of two lines.
std::vector<FecLine> entry(const std::string& journal, const std::string& number, const std::string& date,
                           const std::string& amount, const std::string& valid = "20250331") {
    return {{.journal = journal, .number = number, .date = date, .debit = amount, .valid = valid},
            {.journal = journal,
             .number = number,
             .date = date,
             .account = "707",
             .credit = amount,
             .valid = valid}};
}

std::vector<FecLine> operator+(std::vector<FecLine> a, const std::vector<FecLine>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

TEST(Import, a_second_import_changes_nothing_and_tells_the_same) {
    Trial trial;
    const ScratchFile file(fec(entry("ACH", "1", "20240115", "5,00") + entry("VE", "1", "20240116", "6,00")));
    trial.options.address = "1 rue Haute|Bât. B|75001 PARIS 1";
    const FecSummary first = trial.import({file.path()});
    const Snapshot before = snapshot(*trial.store);
    const FecSummary second = trial.import({file.path()});
    EXPECT_EQ(second.to_json(), first.to_json());
    EXPECT_EQ(snapshot(*trial.store), before);
    EXPECT_EQ(first.to_json(),
              R"({"lignes":4,"ecritures":4,"comptes":2,"journaux":2,"brouillards":0,"hors_bornes":0,)"
              R"("debit":"1100","credit":"1100","pris":{"lignes":4,"debit":"1100","credit":"1100"},)"
              R"("exercices":{"N - 1":{"debut":"01/01/2023","fin":"31/12/2023","source":"dates",)"
              R"("lignes":0,"debit":"0","credit":"0"},"N":{"debut":"01/01/2024","fin":"31/12/2024",)"
              R"("source":"dates","lignes":4,"debit":"1100","credit":"1100"},"N + 1":{"debut":"01/01/2025",)"
              R"("fin":"31/12/2025","source":"dates","lignes":0,"debit":"0","credit":"0"}},)"
              R"("remarques":["journal ACH devient AC"]})");
    EXPECT_EQ(trial.record(files::ASSOCIATION, "001").text(), std::string("Essai\xFE\xFE"
                                                                          "1 rue Haute\xFE\xFE\xFE\xFE"
                                                                          "Bât. B\xFE"
                                                                          "75001\xFE"
                                                                          "PARIS 1"));
    trial.options.auxiliaries = true;
    EXPECT_THROW((void)trial.import({file.path()}), BadInput);
    EXPECT_EQ(snapshot(*trial.store), before);
    // The same content for another entity is another import.
    trial.options.auxiliaries = false;
    trial.options.entity = "002";
    (void)trial.import({file.path()});
    EXPECT_EQ(trial.records(files::DETAILECRITUREGENE).size(), 8U);
}

TEST(Import, a_second_file_goes_on_behind_the_first) {
    const std::string january =
        fec(entry("VE", "1", "20240131", "5,00") + entry("VE", "2", "20240115", "1,00"));
    const std::string february =
        fec(entry("VE", "3", "20240120", "7,00") + entry("VE", "4", "20250115", "9,00") +
            entry("VE", "0", "20231231", "2,00"));
    const ScratchFile a(january, "a.txt");
    const ScratchFile b(february, "b.txt");
    Trial apart;
    (void)apart.import({a.path()});
    (void)apart.import({b.path()});
    const DynArray balance = apart.record(files::BALANCEGENE, "N00014110000000");
    EXPECT_EQ(balance(balance::DATES), "45306\xFD"
                                       "45311\xFD"
                                       "45322");
    EXPECT_EQ(balance(balance::ENTRIES), "001VEN000003N0001\xFD"
                                         "001VEN000005N0001\xFD"
                                         "001VEN000001N0001");
    EXPECT_EQ(balance(balance::SOLDE), "1300");
    EXPECT_EQ(apart.record(files::BALANCEGENE, "N10017070000000")(balance::SOLDE), "-900");
    EXPECT_EQ(apart.record(files::BALANCEGENEARCHIVE, "N00014110000000")(balance::ENTRIES),
              "001VEN000001N0001");

    Trial together;
    const FecSummary summary = together.import({a.path(), b.path(), a.path()});
    EXPECT_EQ(summary.lines, 10U);
    EXPECT_EQ(summary.accounts, 2U);
    EXPECT_TRUE(remarked(summary, "compté une fois"));
    EXPECT_EQ(snapshot(*together.store), snapshot(*apart.store));

    // One bad file among several: nothing of any of them.
    const ScratchFile bad(fec({{.debit = "x"}}));
    Trial none;
    EXPECT_THROW((void)none.import({a.path(), bad.path()}), BadInput);
    EXPECT_TRUE(snapshot(*none.store).empty());
}

TEST(Import, a_company_is_not_mixed_with_another_by_mistake) {
    const auto text = [](const char* date) { return fec(entry("VE", "1", date, "5,00")); };
    Trial trial;
    (void)trial.import_text(text("20240115"), "x.txt"); // names no company
    (void)trial.import_text(text("20240116"), "123456789FEC20241231.txt");
    (void)trial.import_text(text("20240117"), "1123456789FEC20241231.txt"); // ten digits name none
    const Snapshot before = snapshot(*trial.store);
    EXPECT_THROW((void)trial.import_text(text("20240118"), "copie_987654321fec20241231 (2).txt"),
                 OtherCompany);
    EXPECT_EQ(snapshot(*trial.store), before);
    (void)trial.import_text(text("20240118"), "123456789FEC20251231.txt");
    trial.options.same_entity = true;
    (void)trial.import_text(text("20240119"), "987654321FEC20241231.txt");
    trial.options.same_entity = false;
    (void)trial.import_text(text("20240120"), "987654321FEC20241231.txt"); // confirmed once and for all
    EXPECT_THROW((void)trial.import_text(text("20240121"), "555555555FEC20241231.txt"), OtherCompany);
    EXPECT_EQ(first_free_entity(*trial.store), "002");
    trial.options.entity = "002";
    (void)trial.import_text(text("20250122"), "555555555FEC20251231.txt");
    trial.store->write(trial.store->file(files::BALANCEGENE), "N10034110000000", "");
    EXPECT_EQ(first_free_entity(*trial.store), "004");
    EXPECT_FALSE(entity_facts(*trial.store, "004").has_value());
    const auto facts = entity_facts(*trial.store, "001");
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->name, "Essai");
    EXPECT_EQ(facts->companies, (std::vector<std::string>{"123456789", "987654321"}));
    EXPECT_EQ(facts->totals[1].lines, 12U);
    EXPECT_EQ(facts->totals[1].debit, 3000);
    EXPECT_EQ(facts->totals[2].lines, 0U);
    EXPECT_EQ(facts->years->last_day, *day_of_digits("20241231"));
}

TEST(Import, a_trial_tells_the_plan_and_changes_nothing) {
    Trial trial;
    const ScratchFile file(fec({{.journal = "ACH", .debit = "5", .lettering = "AAB"},
                                {.journal = "ACH", .account = "401DURANDETFILS", .credit = "5"}}));
    trial.options.trial = true;
    FecSummary tried = trial.import({file.path()});
    EXPECT_TRUE(snapshot(*trial.store).empty());
    ASSERT_TRUE(tried.plan);
    EXPECT_EQ(tried.plan->journals.front().name + tried.plan->journals.front().code, "ACHAC");
    EXPECT_EQ(tried.plan->accounts[1].name, "401DURANDETFILS");
    EXPECT_EQ(tried.plan->lettering_replaced, 1U);
    EXPECT_NE(
        tried.to_json().find(R"("plan":{"journaux":[{"nom":"ACH","code":"AC","libelle":"Journal ACH"}])"),
        std::string::npos);
    const std::string account = tried.plan->accounts[1].code;
    trial.options.trial = false;
    tried.plan.reset();
    EXPECT_EQ(trial.import({file.path()}).to_json(), tried.to_json());
    EXPECT_NE(trial.record(files::PLANCOMPTABLE, "001" + account).text(), "none");
}

TEST(Import, lines_beyond_32767_open_a_block) {
    std::vector<FecLine> lines(70'000, FecLine{.debit = "1"});
    for (std::size_t i = 1; i < lines.size(); i += 2)
        lines[i] = {.account = "707", .credit = "1"};
    Trial trial;
    (void)trial.import_text(fec(lines)); // the check of the base finds equal keys
    const Records entries = trial.records(files::DETAILECRITUREGENE);
    EXPECT_EQ(entries.size(), 70'000U);
    EXPECT_TRUE(entries.contains("001VEN032767N0001"));
    EXPECT_TRUE(entries.contains("001VEN000001N0002"));
    EXPECT_TRUE(entries.contains("001VEN004466N0003"));
    (void)trial.import_text(fec(entry("VE", "2", "20240116", "1")));
    EXPECT_EQ(trial.records(files::DETAILECRITUREGENE).size(), 70'002U);
    EXPECT_TRUE(trial.records(files::DETAILECRITUREGENE).contains("001VEN004468N0003"));
}

TEST(Import, equal_dates_keep_the_order_of_the_files) {
    std::vector<FecLine> lines;
    for (int i = 0; i < 60; ++i)
        lines.push_back({.date = i % 3 == 0 ? "20240103" : "20240102", .debit = "1"});
    Trial trial;
    (void)trial.import_text(fec(lines));
    lines.pop_back();
    (void)trial.import_text(fec(lines));
    const DynArray balance = trial.record(files::BALANCEGENE, "N00014110000000");
    for (std::size_t v = 2; v <= 119; ++v)
        if (balance(balance::DATES, v) == balance(balance::DATES, v - 1)) {
            EXPECT_LT(balance(balance::ENTRIES, v - 1), balance(balance::ENTRIES, v));
        }
}

// Entries of sales, one a date.
std::vector<FecLine> sales(const std::vector<std::string>& dates) {
    std::vector<FecLine> lines;
    for (const std::string& date : dates)
        lines = lines + entry("VE", std::to_string(lines.size()), date, "1,00");
    return lines;
}

TEST(Years, a_wrong_guess_is_set_right_while_nothing_else_is_there) {
    const ScratchFile file(
        fec(sales({"20231230", "20240115", "20241220"}) +
            std::vector<FecLine>{{.journal = "BQ", .date = "20240303", .debit = "1", .valid = ""}}));
    const ScratchFile other(fec(sales({"20240303"})));
    Trial trial;
    trial.options.drafts = true;
    (void)trial.import({file.path()});
    EXPECT_EQ(trial.years(), "45261 45626 45627 45991");
    const Snapshot guessed = snapshot(*trial.store);
    Trial right;
    for (Trial* one : {&trial, &right}) {
        one->options.first_day = day_of_digits("20240101");
        one->options.last_day = day_of_digits("20241231");
        one->options.drafts = false;
    }
    const auto refused = [&](const std::vector<std::string>& paths) {
        trial.options.paths = paths;
        const Snapshot before = snapshot(*trial.store);
        EXPECT_THROW((void)import_fec(*trial.store, trial.options, {}), BadInput);
        EXPECT_EQ(snapshot(*trial.store), before);
    };
    refused({other.path()});
    // An entry or a draft that came from elsewhere is never taken away.
    for (const std::string_view name : {files::DETAILECRITUREGENE, files::BROUILLARDDETAIL}) {
        const FileId foreign = trial.store->file(name);
        trial.store->write(foreign, "001XXN000001N0001", "");
        refused({file.path()});
        (void)trial.store->erase(foreign, "001XXN000001N0001");
    }

    const FecSummary summary = trial.import({file.path()});
    EXPECT_EQ(summary.years[1].source, "options");
    EXPECT_TRUE(remarked(summary, "allait du 01/12/2023 au 30/11/2024"));
    (void)right.import({file.path()});
    EXPECT_EQ(snapshot(*trial.store), snapshot(*right.store));

    trial.options.first_day.reset();
    trial.options.last_day.reset();
    EXPECT_EQ(trial.import({other.path()}).years[1].source, "base");
    trial.options.first_day = day_of_digits("20231201");
    refused({file.path()});

    // Years that were there before any file are not a file's to change.
    Trial told;
    told.store->write(told.store->file(files::PARAMENTITECOMPTA), "001",
                      right.record(files::PARAMENTITECOMPTA, "001").text());
    (void)told.import({file.path()});
    told.options.first_day = day_of_digits("20231201");
    EXPECT_THROW((void)told.import({file.path()}), BadInput);
}

TEST(Years, around_year_n) {
    struct Case {
        const char *first, *last, *first_before, *last_after;
    };
    constexpr Case CASES[] = {
        {"20010101", "20011231", "20000101", "20021231"},
        {"20011001", "20020930", "20001001", "20030930"},
        {"20010315", "20020314", "20000401", "20030314"},
        {"20230228", "20240228", "20220301", "20250227"},
    };
    for (const Case& one : CASES) {
        const FiscalYears years{*day_of_digits(one.first), *day_of_digits(one.last)};
        EXPECT_EQ(date_text(years.first_day_before()), date_text(*day_of_digits(one.first_before)));
        EXPECT_EQ(date_text(years.last_day_after()), date_text(*day_of_digits(one.last_after)));
        EXPECT_EQ(years.period_of(years.first_day - 1), Exercice::precedent);
        EXPECT_EQ(years.period_of(years.last_day + 1), Exercice::suivant);
        EXPECT_FALSE(years.period_of(years.first_day_before() - 1).has_value());
        EXPECT_FALSE(years.period_of(years.last_day_after() + 1).has_value());
    }
}

TEST(Codes, accounts_are_completed_shortened_and_never_shared) {
    const std::vector<AccountName> names = {
        {"401", ""},
        {"4010000000", ""},
        {"401DURANDETFILS", ""},
        {"401DURANDETFILZ", ""},
        {"411 DUP", ""},
        {"6", ""},
        {"4010", ""},
        {"401é", ""},
        {"F1", "40"},
        {"1", "41"},
        {"10", "41"},
        {"41DUPONT", "41"},
        {"UNNOMTROPLONG", "41"},
        {"01", "41"},
        {"401DURANDETFILS", "40"},
        {"411X", "40"},
        {"4X", "40"},
        {"401001", "41"},
    };
    Trial trial;
    CodeBook book(*trial.store, "001");
    const auto numbers = book.accounts(names);
    EXPECT_EQ(std::set<std::string>(numbers.begin(), numbers.end()).size(), names.size());
    for (const std::string& number : numbers)
        EXPECT_EQ(char_count(number), 10U);
    EXPECT_EQ(numbers[1], "4010000000");
    EXPECT_EQ(numbers[5], "6000000000");
    EXPECT_EQ(numbers[8], "40F1000000");
    EXPECT_EQ(numbers[10], "4100000010");
    EXPECT_EQ(numbers[11], "41DUPONT00");
    EXPECT_EQ(numbers[2].substr(0, 5), "401DU");
    EXPECT_EQ(numbers[14].substr(0, 5), "401DU"); // and not below 404
    EXPECT_EQ(numbers[15], "400411X000");
    EXPECT_EQ(numbers[16], "4004X00000");
    EXPECT_EQ(numbers[17], "4100401001");
    book.save();

    // The base remembers, in any order and beside new names; and another base decides alike.
    std::vector<AccountName> reversed(names.rbegin(), names.rend());
    reversed.push_back({"40100", ""});
    reversed.push_back({"40F1", ""});
    auto again = CodeBook(*trial.store, "001").accounts(reversed);
    EXPECT_EQ(std::set<std::string>(again.begin(), again.end()).size(), reversed.size());
    EXPECT_NE(CodeBook(*trial.store, "001").accounts({{"40F1", ""}}).front(), "40F1000000");
    again.resize(names.size());
    EXPECT_EQ(std::vector<std::string>(again.rbegin(), again.rend()), numbers);
    Trial other;
    reversed.resize(names.size());
    EXPECT_EQ(CodeBook(*other.store, "001").accounts(reversed), again);
}

TEST(Codes, many_long_accounts_stay_apart) {
    std::vector<AccountName> names;
    for (int i = 0; i < 20'000; ++i)
        names.push_back({"411000CLIENT" + std::to_string(i), ""});
    Trial trial;
    const auto numbers = CodeBook(*trial.store, "001").accounts(names);
    EXPECT_EQ(std::set<std::string>(numbers.begin(), numbers.end()).size(), names.size());
}

TEST(Codes, journals_of_any_length) {
    const std::vector<std::string> names = {"ACH", "AC", "A", "VENTES", "VE", "ACHATS", "O.D", "\"", "é1"};
    Trial trial;
    CodeBook book(*trial.store, "001");
    const auto codes = book.journals(names);
    EXPECT_EQ(std::set<std::string>(codes.begin(), codes.end()).size(), names.size());
    for (const std::string& code : codes)
        EXPECT_EQ(char_count(code), 2U);
    EXPECT_EQ(codes[1], "AC");
    EXPECT_EQ(codes[4], "VE");
    EXPECT_EQ(codes[2], "A0");
    book.save();
    EXPECT_EQ(CodeBook(*trial.store, "001").journals({"ACHATS"}).front(), codes[5]);
}

TEST(Codes, third_parties_get_accounts_of_their_own) {
    const std::vector<FecLine> lines = {
        {.account = "401100", .credit = "5", .auxiliary = "F001"},
        {.account = "411000", .debit = "9", .auxiliary = "2"},
        {.account = "512000", .credit = "4", .auxiliary = "F001"},
    };
    Trial plain;
    (void)plain.import_text(fec(lines));
    EXPECT_EQ(plain.record(files::BALANCEGENE, "N00014011000000")(balance::SOLDE), "-500");
    Trial own;
    own.options.auxiliaries = true;
    (void)own.import_text(fec(lines));
    EXPECT_EQ(own.record(files::BALANCEGENE, "N000140F0010000")(balance::SOLDE), "-500");
    EXPECT_EQ(own.record(files::PLANCOMPTABLE, "00140F0010000")(1), "Tiers F001");
    EXPECT_EQ(own.record(files::BALANCEGENE, "N00014100000002")(balance::SOLDE), "900");
    EXPECT_EQ(own.record(files::BALANCEGENE, "N00015120000000")(balance::SOLDE), "-400");
}

TEST(Lettering, stays_lettered_and_apart) {
    LetteringBook book;
    const std::vector<std::string> codes = {"A",   "AB",  "A1", "11", "B1",
                                            "AAB", "AAC", "1",  "é1", "0000012345"};
    for (const std::string& code : codes)
        book.note(7, code);
    std::set<std::string> stored;
    for (const std::string& code : codes) {
        const std::string kept(book.stored(7, code));
        EXPECT_TRUE(stored.insert(kept).second) << code;
        EXPECT_NE(chars(kept, 2, 1), "1") << code;
        EXPECT_LE(char_count(kept), 2U);
        EXPECT_EQ(book.stored(7, code), kept);
    }
    EXPECT_EQ(book.stored(7, "AB"), "AB");
    EXPECT_EQ(book.stored(7, ""), "");
    EXPECT_EQ(book.replaced(), 7U);

    // All 3,782 pairs are used before one comes twice, and then it goes on.
    std::set<std::string> pairs;
    for (int i = 0; i < 3'782; ++i)
        pairs.insert(std::string(book.stored(1, "CODE" + std::to_string(i))));
    EXPECT_EQ(pairs.size(), 3'782U);
    EXPECT_TRUE(pairs.contains(std::string(book.stored(1, "ENCORE"))));
}

TEST(Drafts, more_than_36_entries_share_sequences) {
    std::vector<FecLine> lines;
    for (int i = 1; i <= 100; ++i)
        lines = lines + entry("VE", std::to_string(i), "20240115", "1", "");
    lines.push_back({.number = "101", .debit = "4", .valid = ""});
    Trial trial;
    trial.options.drafts = true;
    EXPECT_EQ(trial.import_text(fec(lines)).drafts, 36U);
    std::size_t balanced = 0;
    for (const auto& [key, record] : trial.records(files::BROUILLARDTETE)) {
        const DynArray head(record);
        balanced += head(2) == head(3) ? 1U : 0U;
    }
    EXPECT_EQ(balanced, 35U);
    EXPECT_EQ(trial.records(files::BROUILLARDDETAIL).size(), 201U);
    // The order numbers of the journal are used up now; another journal has its own.
    EXPECT_EQ(trial.refusal(fec(entry("VE", "200", "20240115", "1", ""))).substr(0, 36),
              "2 l'écriture 200 du journal VE ne t");
    EXPECT_EQ(trial.import_text(fec(entry("BQ", "1", "20240115", "1", ""))).drafts, 1U);
}

TEST(Drafts, a_full_sequence_is_followed_by_the_next) {
    std::vector<FecLine> lines(40'000, FecLine{.debit = "1", .valid = ""});
    for (std::size_t i = 0; i < lines.size(); ++i) {
        lines[i].number = std::to_string(i / 1000 + 1);
        if (i % 2 == 1) std::swap(lines[i].debit, lines[i].credit);
    }
    std::vector<FecLine> huge(100'000, FecLine{.journal = "OD", .debit = "1", .valid = ""});
    Trial trial;
    trial.options.drafts = true;
    EXPECT_EQ(trial.import_text(fec(lines)).drafts, 36U);
    EXPECT_EQ(trial.refusal(fec(huge)).substr(0, 31), "2 l'écriture 1 du journal OD n");
}

TEST(Summary, is_json_whatever_stands_in_the_file) {
    Trial trial;
    const FecSummary summary = trial.import_text(fec({{.journal = "\"\\", .account = "4\"1", .debit = "1"}}));
    const auto parsed = nlohmann::json::parse(summary.to_json());
    EXPECT_EQ(parsed["lignes"], 1);
    EXPECT_EQ(parsed["remarques"].size(), summary.remarks.size());
    EXPECT_TRUE(remarked(summary, "compte 4\"1 devient 41000"));
}

} // namespace

} // namespace corvalissement
