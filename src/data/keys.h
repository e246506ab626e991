// Keys, attribute numbers and year codes of the accounting files, by name. Positions count characters
// from 1.
//
//   entity code     3   left-completed with "0"
//   account key    13   entity 3, account number 10
//   balance key    15   year code 2, entity 3, account number 10
//   entry key     12+   entity 3, journal 2, mark 1 ("N" or another), not read 1, line number 5, then what
//                       keeps the key unique
//   sequence key    8   entity 3, journal 2, year code 2, order number 1
//   journal key     5   entity 3, journal 2
#pragma once

#include "platform/text.h"

#include <string>
#include <string_view>

namespace corvalissement {

namespace files {
inline constexpr std::string_view ASSOCIATION = "ASSOCIATION";
inline constexpr std::string_view BALANCEGENE = "BALANCEGENE";
inline constexpr std::string_view BALANCEGENEARCHIVE = "BALANCEGENEARCHIVE";
inline constexpr std::string_view BALANCEGENETEMPO = "BALANCEGENETEMPO";
inline constexpr std::string_view BALANCEANALTEMPO = "BALANCEANALTEMPO";
inline constexpr std::string_view BROUILLARDTETE = "BROUILLARDTETE";
inline constexpr std::string_view BROUILLARDDETAIL = "BROUILLARDDETAIL";
inline constexpr std::string_view DETAILECRITUREGENE = "DETAILECRITUREGENE";
inline constexpr std::string_view DETAILECRITUREGENEARCHIVE = "DETAILECRITUREGENEARCHIVE";
inline constexpr std::string_view DETAILECRITUREGENETEMPO = "DETAILECRITUREGENETEMPO";
inline constexpr std::string_view IMPRIMANTES = "IMPRIMANTES";
inline constexpr std::string_view JOURNAL = "JOURNAL";
inline constexpr std::string_view PARAMENTITECOMPTA = "PARAMENTITECOMPTA";
inline constexpr std::string_view PLANCOMPTABLE = "PLANCOMPTABLE";
inline constexpr std::string_view TABLES = "TABLES";
inline constexpr std::string_view TEMPO = "TEMPO";
} // namespace files

// The texts of Cbo_Exer, and the year codes of keys.
namespace exercice {
inline constexpr std::string_view PRECEDENT = "N - 1";
inline constexpr std::string_view COURANT = "N";
inline constexpr std::string_view SUIVANT = "N + 1";
inline constexpr std::string_view CODE_N0 = "N0";
inline constexpr std::string_view CODE_N1 = "N1";
inline constexpr std::string_view CODE_ARCHIVE_LINE = "N-"; // on the server edition's line only, on no key
} // namespace exercice

namespace association {
inline constexpr std::size_t NAME = 1;
inline constexpr std::size_t ADDRESS_PIECE_FIRST = 3; // to 6: the first address line
inline constexpr std::size_t ADDRESS_PIECE_LAST = 6;
inline constexpr std::size_t ADDRESS_2 = 7;
inline constexpr std::size_t POSTCODE = 8;
inline constexpr std::size_t TOWN = 9;
} // namespace association

namespace parament {
inline constexpr std::size_t FIRST_DAY_N = 1;
inline constexpr std::size_t LAST_DAY_N = 2;
inline constexpr std::size_t FIRST_DAY_N1 = 3;
inline constexpr std::size_t LAST_DAY_N1 = 4;
} // namespace parament

namespace plan {
inline constexpr std::size_t LABEL = 1;
} // namespace plan

namespace journal {
inline constexpr std::size_t LABEL = 1;
} // namespace journal

namespace balance {
inline constexpr std::size_t TOTAL_DEBIT = 1; // written by importers and server commands, not read here
inline constexpr std::size_t TOTAL_CREDIT = 2;
inline constexpr std::size_t SOLDE = 3;
inline constexpr std::size_t DATES = 8;   // ascending
inline constexpr std::size_t ENTRIES = 9; // keys, in step with DATES
} // namespace balance

namespace entry {
inline constexpr std::size_t DATE = 2;
inline constexpr std::size_t ACCOUNT_KEY = 3;
inline constexpr std::size_t LABEL = 4;
inline constexpr std::size_t PIECE = 5;
inline constexpr std::size_t DEBIT = 6;
inline constexpr std::size_t CREDIT = 7;
inline constexpr std::size_t DUE_DATE = 8;
inline constexpr std::size_t QUANTITY = 9;
inline constexpr std::size_t LETTERING = 11;
} // namespace entry

namespace brouillard {
inline constexpr std::size_t TOTAL_DEBIT = 2;
inline constexpr std::size_t TOTAL_CREDIT = 3;
} // namespace brouillard

// Parts of a balance key.
[[nodiscard]] inline std::string_view year_code(std::string_view balance_key) {
    return chars(balance_key, 1, 2);
}
[[nodiscard]] inline std::string_view account_key(std::string_view balance_key) {
    return chars(balance_key, 3, 13);
}
[[nodiscard]] inline std::string_view account_number(std::string_view balance_key) {
    return chars(balance_key, 6, 10);
}

// Parts of an account key.
[[nodiscard]] inline std::string_view number_of_account_key(std::string_view key) {
    return chars(key, 4, 10);
}
[[nodiscard]] inline char class_of_account_key(std::string_view key) {
    const std::string_view c = chars(key, 4, 1);
    return c.size() == 1 ? c.front() : ' ';
}

// Parts of an entry key.
[[nodiscard]] inline std::string_view journal_of_entry(std::string_view key) { return chars(key, 4, 2); }
[[nodiscard]] inline std::string_view mark_of_entry(std::string_view key) { return chars(key, 6, 1); }
[[nodiscard]] inline std::string_view line_of_entry(std::string_view key) { return chars(key, 8, 5); }

} // namespace corvalissement
