// What a ledger says, as values: a line, the totals, the head of a page. Text is made of them only where they
// are put on paper, or into whatever other form an edition takes.
//
// Amounts are whole hundredths; one beyond what a double holds exactly is given as BEYOND_AMOUNTS, which fits
// no column.
#pragma once

#include "platform/calendar.h"

#include <cstdint>
#include <optional>
#include <string>

namespace corvalissement {

inline constexpr std::int64_t BEYOND_AMOUNTS = 9'000'000'000'000'000;

// One printed line: an entry, or several of an income or expense account added up. What the record does not
// hold, or holds in no readable form, is nothing here and blank on paper.
struct LedgerLine {
    std::optional<CivilDate> date;
    std::string journal; // its code, 2 characters
    bool marked = false; // the entry key has another mark than "N"
    std::string number;  // within the journal, as the key has it: 5 digits
    std::string label;   // without blanks at its ends, of any length
    std::string piece;   // as the record has it, of any length
    std::optional<std::int64_t> quantity;
    std::optional<CivilDate> due_date;
    std::optional<std::int64_t> debit;
    std::string lettering;
    std::optional<std::int64_t> credit;
    std::int64_t balance = 0; // of the account, behind this line
};

// Of an account, or of the whole edition.
struct LedgerTotals {
    std::int64_t quantity = 0; // 0 is not shown
    std::int64_t debit = 0;
    std::int64_t credit = 0;
    std::int64_t balance = 0;
};

// What a page head tells below its date and number.
struct PageHead {
    std::string entity_name;
    std::string street;         // "" for none
    std::string second_address; // "" for none
    std::string postcode;
    std::string town;
    std::string exercice;
    std::string start_date; // dd/mm/yyyy
    std::string end_date;
    bool with_drafts = false;
};

} // namespace corvalissement
