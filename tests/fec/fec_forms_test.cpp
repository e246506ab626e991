// What files found in the wild look like, and what cannot be taken.
#include "fec/fec_trial.h"

#include <sstream>

namespace corvalissement {

using namespace testing_base;

namespace {

struct RealFile {
    const char* name;
    char separator;
    std::size_t lines;
    const char* total;
};

// Sums of the raw text, worked out without the importer: amounts are the digits of a field.
struct RawSums {
    std::size_t lines = 0;
    std::size_t lettered = 0;
    std::map<std::string, std::pair<std::int64_t, std::int64_t>> accounts;
    std::int64_t debit = 0;
    std::int64_t credit = 0;
};

RawSums raw_sums(const std::string& path, char separator) {
    RawSums sums;
    std::ifstream input(path, std::ios::binary);
    std::string line;
    std::getline(input, line);
    while (std::getline(input, line)) {
        std::vector<std::string> fields;
        std::istringstream cells(line);
        for (std::string cell; std::getline(cells, cell, separator);) {
            while (!cell.empty() && cell.back() == ' ')
                cell.pop_back();
            fields.push_back(cell);
        }
        const auto cents = [](std::string text) {
            text.erase(text.find(','), 1);
            return std::stoll(text);
        };
        std::string account = fields[4];
        account.resize(10, '0');
        sums.accounts[account].first += cents(fields[11]);
        sums.accounts[account].second += cents(fields[12]);
        sums.debit += cents(fields[11]);
        sums.credit += cents(fields[12]);
        ++sums.lines;
        if (fields.size() > 13 && !fields[13].empty()) ++sums.lettered;
    }
    return sums;
}

TEST(RealFiles, every_account_sums_up_to_the_raw_text) {
    constexpr RealFile FILES[] = {
        {"farm-2021-09_2022-08-utf8bom-tab.txt", '\t', 5422, "1018621981"},
        {"drinks-2023-pipe-fixed-width-zero-padded.txt", '|', 934, "22568223"},
    };
    for (const RealFile& file : FILES) {
        SCOPED_TRACE(file.name);
        const std::string path = std::string(DATA_DIR) + "/fec/" + file.name;
        const RawSums sums = raw_sums(path, file.separator);
        Trial trial;
        const FecSummary summary = trial.import({path});
        EXPECT_EQ(summary.lines, file.lines);
        EXPECT_EQ(summary.entries, sums.lines);
        EXPECT_EQ(summary.debit, file.total);
        EXPECT_EQ(summary.credit, std::to_string(sums.credit));
        EXPECT_EQ(summary.accounts, sums.accounts.size());
        EXPECT_FALSE(remarked(summary, "équilibré"));
        for (const auto& [account, sides] : sums.accounts) {
            const DynArray balance = trial.record(files::BALANCEGENE, "N0001" + account);
            EXPECT_EQ(balance(balance::TOTAL_DEBIT), std::to_string(sides.first)) << account;
            EXPECT_EQ(balance(balance::TOTAL_CREDIT), std::to_string(sides.second)) << account;
        }
        std::size_t lettered = 0;
        for (const auto& [key, text] : trial.records(files::DETAILECRITUREGENE)) {
            const std::string code(DynArray(text)(entry::LETTERING));
            if (!code.empty() && chars(code, 2, 1) != "1") ++lettered;
            EXPECT_LE(char_count(code), 2U);
        }
        EXPECT_EQ(lettered, sums.lettered);
    }
}

TEST(RealFiles, a_year_that_begins_in_september) {
    Trial trial;
    (void)trial.import({std::string(DATA_DIR) + "/fec/farm-2021-09_2022-08-utf8bom-tab.txt"});
    EXPECT_EQ(trial.years(), "44440 44804 44805 45169"); // 01/09/2021, 31/08/2022, 01/09/2022, 31/08/2023
    EXPECT_EQ(trial.record(files::JOURNAL, "001AN")(1), "A nouveaux");
}

TEST(RealFiles, small_public_files) {
    struct Case {
        const char* name;
        std::uint64_t entries;
        const char* debit;
        const char* remark; // "" for none at all
    };
    constexpr Case CASES[] = {
        {"sales-journal-2024-pipe-dot-decimals.txt", 26, "4374439", ""},
        {"mini-2025-tab-foreign-currency.txt", 10, "261200", ""},
        {"minimal-2026-tab-valid.txt", 8, "480000", ""},
        {"bad-unbalanced-entries.txt", 8, "480000", "écriture VE VE0001 (ligne 5) non équilibrée"},
        {"bad-debit-and-credit-both-set.txt", 9, "495000", "ligne 10 : débit et crédit tous deux remplis"},
        {"bad-mixed-separators.txt", 0, "", "3 1 champ au lieu de 18"},
        {"bad-truncated-line.txt", 0, "", "3 17 champs au lieu de 18"},
    };
    for (const Case& one : CASES) {
        SCOPED_TRACE(one.name);
        std::ostringstream text;
        text << std::ifstream(std::string(DATA_DIR) + "/fec/" + one.name, std::ios::binary).rdbuf();
        Trial trial;
        if (one.entries == 0) {
            EXPECT_EQ(trial.refusal(text.str()), one.remark);
            continue;
        }
        const FecSummary summary = trial.import_text(text.str());
        EXPECT_EQ(summary.entries, one.entries);
        EXPECT_EQ(summary.debit, one.debit);
        EXPECT_EQ(summary.credit, one.debit);
        EXPECT_EQ(std::string(one.remark).empty() ? summary.remarks.empty() : remarked(summary, one.remark),
                  true);
    }
}

TEST(Refusals, leave_a_base_with_records_of_its_own) {
    const std::string good = fec({{.debit = "1"}, {.account = "707", .credit = "1"}});
    Trial trial;
    (void)trial.import_text(good);
    EXPECT_EQ(trial.refusal(good + fec({{.label = std::string(10'000'000, 'x')}}).substr(HEADER.size())),
              "4 ligne de plus d'un mégaoctet");
    EXPECT_EQ(trial.refusal(fec({{.debit = "x"}})).substr(0, 14), "2 colonne Debi");
}

TEST(Refusals, tell_the_first_20_faults_and_those_of_dates) {
    Trial trial;
    const auto faults = [&](const std::vector<FecLine>& lines) {
        const ScratchFile file(fec(lines));
        trial.options.paths = {file.path()};
        std::vector<std::string> told;
        try {
            (void)import_fec(*trial.store, trial.options, {});
        } catch (const BadInput& bad) {
            told = bad.others();
            told.insert(told.begin(), bad.text());
        }
        for (std::string& fault : told)
            fault.erase(0, file.path().size() + 2);
        return told;
    };
    const std::vector<FecLine> thirty(30, FecLine{.debit = "x"});
    const auto told = faults(thirty);
    ASSERT_EQ(told.size(), 21U);
    EXPECT_EQ(told[19].substr(0, 24), "ligne 21 : colonne Debit");
    EXPECT_EQ(told[20], " lecture arrêtée après 20 fautes");
    trial.options.first_day = 45'292;
    const auto mixed =
        faults({{.debit = "1"}, {.date = "20190101"}, {.debit = "x"}, {.account = ""}, {.debit = "1"}});
    ASSERT_EQ(mixed.size(), 3U);
    EXPECT_EQ(mixed[0].substr(0, 30), "ligne 3 : la date 01/01/2019 e");
    EXPECT_EQ(mixed[2], "ligne 5 : le numéro de compte est vide");
}

TEST(Refusals, a_file_that_is_not_there_and_options) {
    Trial trial;
    trial.options.paths = {"/nulle/part.txt"};
    try {
        (void)import_fec(*trial.store, trial.options, {});
        FAIL() << "taken";
    } catch (const BadInput& bad) {
        EXPECT_STREQ(bad.what(), "/nulle/part.txt : lecture impossible (fichier introuvable)");
    }
    EXPECT_EQ(fault_of_options(trial.options), "");
    for (const char* entity : {"", "01", "0 1", "0\"1", "0012"}) {
        trial.options.entity = entity;
        EXPECT_NE(fault_of_options(trial.options), "") << entity;
    }
    trial.options.entity = "É01";
    EXPECT_EQ(fault_of_options(trial.options), "");
    trial.options.name = " ";
    EXPECT_NE(fault_of_options(trial.options), "");
}

} // namespace

} // namespace corvalissement
