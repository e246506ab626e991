#include "support/random_ledger.h"

#include <algorithm>
#include <cstdio>
#include <set>

namespace corvalissement::testing_support {

namespace {

constexpr const char* ACCOUNTS[] = {"1010000000", "4010000001", "4010000002", "4099999999",
                                    "4110000000", "4199999999", "4210000000", "6010000000",
                                    "6060000001", "7010000000", "7060000009"};

// Labels that a column can stumble over: wide, blank, of several bytes, equal but for their end.
constexpr const char* LABELS[] = {"Loyer",
                                  "Loyer ",
                                  "  Écriture d'à-nouveau  ",
                                  "",
                                  "   ",
                                  "Réf. « ž » 株式会社 facture numéro 12345",
                                  "123456789012345678901234567890A",
                                  "123456789012345678901234567890B"};
constexpr const char* PIECES[] = {"", "F1", "F1 ", "1234567890", "PIÈCE-LONGUE-01", "é"};
constexpr const char* LETTERINGS[] = {"", "", "", "A", "A1", "AB", "É1", "ABCD"};
constexpr const char* AMOUNTS[] = {"0",         "1",         "100",        "123456",    "-2500",
                                   "600000000", "999999999", "-999999999", "1000000000"};

std::string five_digits(int number) {
    char text[16];
    std::snprintf(text, sizeof text, "%05d", number);
    return text;
}

struct KeyMaker {
    int line = 0;
    int serial = 0;
};

TestEntry random_entry(Random& random, const std::string& account, std::int64_t day, KeyMaker& keys) {
    TestEntry entry;
    entry.day = day;
    entry.account = account;
    if (random.one_in(40)) keys.line = 32765 - 1;
    keys.line = random.one_in(6) ? keys.line + 2 : keys.line + 1;
    entry.key = account.substr(0, 3) + (random.one_in(9) ? "AC" : "VE") + (random.one_in(9) ? "X" : "N") +
                "0" + five_digits(keys.line % 100000) + "-" + std::to_string(++keys.serial);
    entry.label = random.one_in(3) ? random.of(LABELS) : "Loyer";
    entry.piece = random.one_in(6) ? random.of(PIECES) : "F1";
    const std::string amount = random.one_in(3) ? random.of(AMOUNTS) : std::to_string(random.below(500000));
    if (random.below(5) != 0)
        entry.debit = amount;
    else if (random.below(3) != 0)
        entry.credit = amount;
    if (random.one_in(25)) entry.credit = amount;
    if (random.one_in(6)) entry.due = std::to_string(day + 30);
    if (random.one_in(8)) entry.quantity = std::to_string(random.below(4000) - 1000);
    entry.lettering = random.of(LETTERINGS);
    return entry;
}

std::vector<TestBalance> random_file(Random& random, const TestLedger& ledger, int longest, KeyMaker& keys) {
    std::vector<TestBalance> file;
    for (const char* year : {"N0", "N1"})
        for (const char* number : ACCOUNTS) {
            if (random.below(3) == 0) continue;
            TestBalance balance{year + ledger.entity + number, random.one_in(5) ? "0" : "1", {}};
            std::int64_t day = (year[1] == '0' ? 45292 : 45658) + random.below(100);
            const int entries = random.one_in(4) ? random.below(longest) : random.below(6);
            for (int i = 0; i < entries; ++i) {
                day += random.one_in(6) ? random.below(20) : 0;
                balance.entries.push_back(random_entry(random, ledger.entity + number, day, keys));
            }
            file.push_back(std::move(balance));
        }
    return file;
}

} // namespace

TestLedger random_ledger(Random& random) {
    TestLedger ledger;
    ledger.association[0] = random.one_in(2) ? "SOCIÉTÉ « À LA TRUITE »" : "DUPONT";
    for (std::size_t a = 2; a < 7; ++a)
        if (random.one_in(2)) ledger.association[a] = "Bât. " + std::to_string(a);
    for (const char* number : ACCOUNTS)
        ledger.chart[ledger.entity + number] =
            random.one_in(3) ? std::string("Compte « général » n° ") + number + " des opérations à l'étranger"
                             : "Banque";
    KeyMaker keys;
    const int longest = random.one_in(3) ? 90 : 25;
    ledger.ledger = random_file(random, ledger, longest, keys);
    ledger.archive = random_file(random, ledger, longest, keys);
    ledger.drafts = random_file(random, ledger, 20, keys);
    return ledger;
}

Selection random_selection(Random& random) {
    Selection selection;
    selection.entity = "001";
    constexpr const char* YEARS[] = {"N - 1", "N", "N + 1", "N"};
    selection.exercice = random.of(YEARS);
    selection.start_date = selection.exercice == "N + 1" ? "15/01/2025"
                           : random.one_in(2)            ? "01/01/2024"
                                                         : "10/02/2024";
    selection.end_date = selection.exercice == "N + 1" ? "30/04/2025"
                         : random.one_in(2)            ? "31/12/2024"
                                                       : "31/03/2024";
    if (random.one_in(4))
        selection.account_class = random.one_in(2) ? AccountClass::fournisseurs : AccountClass::clients;
    for (int ranges = random.one_in(3) ? random.below(3) : 0; ranges > 0; --ranges) {
        std::string from = random.of(ACCOUNTS);
        std::string to = random.of(ACCOUNTS);
        if (from > to) std::swap(from, to);
        selection.ranges.emplace_back(from + " Libellé", to + " Autre");
    }
    selection.only_unsettled = random.one_in(4);
    selection.only_unlettered = random.one_in(4);
    selection.with_earlier = selection.exercice == "N + 1" && random.one_in(2);
    selection.page_per_account = random.one_in(4);
    return selection;
}

} // namespace corvalissement::testing_support
