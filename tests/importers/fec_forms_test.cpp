// What files found in the wild look like, and what cannot be taken.
#include "importers/fec_trial.h"

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

const std::vector<FecLine> SALE = {{.debit = "12,50", .label = "Vente à l'été"},
                                   {.account = "707", .credit = "12,50", .label = "Vente à l'été"}};

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size()))
        text.replace(at, what.size(), by);
    return text;
}

TEST(Forms, one_sale_written_in_every_way) {
    const std::string plain = fec(SALE);
    std::string doubled_quotes = replaced(replaced(plain, "|", "\"|\""), "\n", "\"\n\"");
    doubled_quotes = "\"" + doubled_quotes.substr(0, doubled_quotes.size() - 1);
    std::string moved = replaced(plain, "|Montantdevise|Idevise", "|Idevise|DateRglt|montantDEVISE");
    moved = replaced(moved, "||\n", "|EUR|20240201|\n");
    const auto sides = [&](const std::string& debit, const std::string& credit) {
        return replaced(replaced(plain, "été|12,50||", "été" + debit), "été||12,50|", "été" + credit);
    };
    const auto by_side = [&](const std::string& debit, const std::string& credit) {
        return replaced(sides(debit, credit), "Debit|Credit", "Montant|Sens");
    };
    const std::pair<const char*, std::string> CASES[] = {
        {"pipe", plain},
        {"tab", with_separator(plain, '\t')},
        {"semicolon", with_separator(plain, ';')},
        {"mark", "\xEF\xBB\xBF" + plain},
        {"latin", replaced(replaced(plain, "à", "\xE0"), "é", "\xE9")},
        {"crlf", replaced(plain, "\n", "\r\n")},
        {"cr cr lf", replaced(plain, "\n", "\r\r\n")},
        {"cr", replaced(plain, "\n", "\r")},
        {"no final line end", plain.substr(0, plain.size() - 1)},
        {"separator at line ends", replaced(plain, "\n", "|\n")},
        {"separator at the end of data lines", HEADER + replaced(plain.substr(HEADER.size()), "\n", "||\n")},
        {"empty lines", "\n" + replaced(plain, "\n", "\n\n  \n||||\n")},
        {"point", replaced(plain, "12,50", "12.5")},
        {"zero-padded", sides("|0000000012,50|0000000000,00|", "|0000000000,00|0000000012,50|")},
        {"other zeros", sides("|12,5000|0|", "|0.00|+12,50|")},
        {"amount and side", by_side("|12,50|d|", "|12.5| C |")},
        {"amount and sign", by_side("|12,50|+1|", "|12.5|-1|")},
        {"padded", replaced(replaced(plain, "|Vente", "|   Vente"), "|411000|", "|  411000   |")},
        {"no-break spaces", replaced(plain, "|12,50|",
                                     "|\xC2\xA0"
                                     "12,50\xE2\x80\xAF|")},
        {"spreadsheet quotes", doubled_quotes},
        {"quotes where needed", replaced(plain, "|12,50|", "|\"12,50\"|")},
        {"header in capitals", capitals(HEADER) + plain.substr(HEADER.size())},
        {"columns elsewhere", moved},
        {"end-of-file mark", plain + "\x1A"},
    };
    for (const auto& [name, text] : CASES) {
        SCOPED_TRACE(name);
        Trial trial;
        FecSummary summary;
        ASSERT_NO_THROW(summary = trial.import_text(text));
        EXPECT_EQ(summary.lines, 2U);
        EXPECT_EQ(summary.debit, "1250");
        EXPECT_EQ(summary.credit, "1250");
        EXPECT_TRUE(summary.remarks.empty()) << summary.remarks.front();
        const DynArray first = trial.record(files::DETAILECRITUREGENE, "001VEN000001N0001");
        const DynArray second = trial.record(files::DETAILECRITUREGENE, "001VEN000002N0001");
        EXPECT_EQ(first.text(), std::string("\xFE"
                                            "45306\xFE"
                                            "0014110000000\xFEVente à l'été\xFE"
                                            "FA1\xFE"
                                            "1250\xFE\xFE\xFE\xFE\xFE"));
        EXPECT_EQ(second(entry::ACCOUNT_KEY), "0017070000000");
        EXPECT_EQ(second(entry::DEBIT), "");
        EXPECT_EQ(second(entry::CREDIT), "1250");
        EXPECT_EQ(trial.record(files::PLANCOMPTABLE, "0014110000000")(1), "Compte 411000");
    }
}

TEST(Forms, amounts_keep_sign_and_side) {
    struct Case {
        const char *debit, *credit, *stored_debit, *stored_credit;
    };
    constexpr Case CASES[] = {
        {"-5,00", "", "-500", ""},
        {"5-", "0,00", "-500", ""},
        {"0", "-7.1", "", "-710"},
        {"", "", "0", ""},
        {"0,00", "0,00", "0", ""},
        {"", "0,00", "", "0"},
        {"3,00", "4", "300", "400"},
        {",5", "", "50", ""},
        {"9999999999999,99", "", "999999999999999", ""},
    };
    for (const Case& one : CASES) {
        Trial trial;
        (void)trial.import_text(fec({{.debit = one.debit, .credit = one.credit}}));
        const DynArray entry = trial.record(files::DETAILECRITUREGENE, "001VEN000001N0001");
        EXPECT_EQ(entry(entry::DEBIT), one.stored_debit) << one.debit << " / " << one.credit;
        EXPECT_EQ(entry(entry::CREDIT), one.stored_credit) << one.debit << " / " << one.credit;
    }
}

TEST(Forms, the_euro_sign_in_each_character_set) {
    const std::pair<std::string, std::string> CASES[] = {
        {"10 \xE2\x82\xAC \xC3\xA9t\xC3\xA9", "10 € été"}, // UTF-8
        {"10 \xA4 \xE9t\xE9 c\xBDur", "10 € été cœur"},    // ISO-8859-15
        {"10 \x80 \xE9t\xE9 c\x9Cur", "10 € été cœur"},    // windows-1252
    };
    for (const auto& [bytes, text] : CASES) {
        Trial trial;
        (void)trial.import_text(fec({{.debit = "1", .label = bytes}}));
        EXPECT_EQ(trial.record(files::DETAILECRITUREGENE, "001VEN000001N0001")(entry::LABEL), text);
    }
}

TEST(Forms, hostile_labels_stay_whole) {
    const std::string CASES[] = {std::string(10'000, 'x'),    "\"Le Lion\"",
                                 "tube 3/4\" inox",           "\"",
                                 "( \\ ) ' ; % _ ] = ",       "שלום \u202E abc \u200F",
                                 "日本語 e\u0301 \U0001F600", "{\"a\":1}"};
    for (const std::string& label : CASES) {
        Trial trial;
        (void)trial.import_text(fec({{.debit = "1", .label = label}}));
        EXPECT_EQ(trial.record(files::DETAILECRITUREGENE, "001VEN000001N0001")(entry::LABEL),
                  trim_blanks(label));
    }
    Trial trial;
    const FecSummary summary = trial.import_text(fec({{.debit = "1",
                                                       .label = "a\x07"
                                                                "b\tc\xC2\x85"
                                                                "d\x7F!"}}));
    EXPECT_EQ(trial.record(files::DETAILECRITUREGENE, "001VEN000001N0001")(entry::LABEL), "a b c d !");
    EXPECT_TRUE(remarked(summary, "caractères de commande"));
}

TEST(Forms, a_separator_inside_quotes) {
    Trial trial;
    (void)trial.import_text(fec({{.debit = "1", .label = "\"dit \"\"a|b\"\"\""}}));
    EXPECT_EQ(trial.record(files::DETAILECRITUREGENE, "001VEN000001N0001")(entry::LABEL), "dit \"a|b\"");
}

TEST(Refusals, name_line_and_reason_and_leave_the_base) {
    const std::string good = fec(SALE);
    const std::string nul =
        replaced(fec({{.debit = "1"}, {.debit = "2", .label = "a#b"}}), "#", std::string(1, '\0'));
    std::string seventeen = replaced(good, "|Montantdevise", "");
    seventeen = replaced(seventeen, "|||\n", "||\n");
    const std::pair<std::string, std::string> CASES[] = {
        {"", "1 le fichier est vide"},
        {"bonjour\n", "1 la première ligne n'est pas l'en-tête"},
        {good.substr(HEADER.size()), "1 la première ligne n'est pas l'en-tête"},
        {seventeen, "1 la colonne Montantdevise manque dans l'en-tête, qui a 17 colonnes"},
        {replaced(good, "PieceDate|", "PieceRef|"), "1 la colonne PieceRef figure deux fois"},
        {replaced(good, "Credit|", "Sens|"), "1 la colonne Credit manque"},
        {fec({{.debit = "1"}, {.debit = "12a"}}), "3 colonne Debit : « 12a »"},
        {fec({{.debit = "1 000,00"}}), "2 colonne Debit"},
        {fec({{.debit = "1.000,00"}}), "2 colonne Debit"},
        {fec({{.debit = "1,005"}}), "2 colonne Debit"},
        {fec({{.debit = "-"}}), "2 colonne Debit"},
        {fec({{.debit = "12345678901234"}}), "2 colonne Debit"},
        {fec({{.date = "20240230"}}), "2 colonne EcritureDate : « 20240230 »"},
        {fec({{.date = "03/01/2024"}}), "2 colonne EcritureDate"},
        {fec({{.date = "00000000"}}), "2 colonne EcritureDate"},
        {fec({{.debit = "1"}, {.debit = "1", .valid = "2024"}}), "3 colonne ValidDate"},
        {fec({{.account = " "}}), "2 le numéro de compte est vide"},
        {fec({{.journal = ""}}), "2 le code du journal est vide"},
        {fec({{.debit = "1"}, {.label = "a|b"}}), "3 19 champs au lieu de 18"},
        {nul, "3 octet nul"},
        {std::string("\xFF\xFEJ\0o\0", 6), "1 le fichier est en UTF-16"},
        {good + fec({{.label = std::string(10'000'000, 'x')}}).substr(HEADER.size()),
         "4 ligne de plus d'un mégaoctet"},
        {fec({{.date = "20200101"}, {.date = "20240101"}}), "3 les dates vont du 01/01/2020 au 01/01/2024"},
        {HEADER, "1 le fichier ne contient aucune ligne"},
        {fec({{.date = "20240110"}, {.date = "20240230"}}), "3 colonne EcritureDate"},
    };
    Trial trial;
    for (const auto& [text, reason] : CASES)
        EXPECT_EQ(trial.refusal(text).substr(0, reason.size()), reason);
    // A base with a known year and records of its own is left alone in the same way.
    (void)trial.import_text(good);
    for (const auto& [text, reason] : CASES) {
        const bool empty_year_is_known_now = text == HEADER;
        EXPECT_EQ(trial.refusal(text) == "taken", empty_year_is_known_now) << reason;
    }
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
