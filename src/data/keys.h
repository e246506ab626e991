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

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
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

// The three years that a base knows. The one before lies in the archive files.
enum class Exercice : std::uint8_t { precedent, courant, suivant };

// The texts of Cbo_Exer, and the year codes of keys.
namespace exercice {
inline constexpr std::string_view PRECEDENT = "N - 1";
inline constexpr std::string_view COURANT = "N";
inline constexpr std::string_view SUIVANT = "N + 1";
inline constexpr std::string_view CODE_N0 = "N0";
inline constexpr std::string_view CODE_N1 = "N1";
inline constexpr std::string_view CODE_ARCHIVE_LINE = "N-"; // on the server edition's line only, on no key

inline constexpr std::array TEXTS{PRECEDENT, COURANT, SUIVANT};

[[nodiscard]] constexpr std::string_view text_of(Exercice year) noexcept {
    return TEXTS[static_cast<std::size_t>(year)];
}
// Nothing for a text that names none: the user may have typed one.
[[nodiscard]] constexpr std::optional<Exercice> named(std::string_view text) noexcept {
    for (std::size_t i = 0; i < TEXTS.size(); ++i)
        if (TEXTS[i] == text) return static_cast<Exercice>(i);
    return std::nullopt;
}
// In a key. The archive files need no code of their own.
[[nodiscard]] constexpr std::string_view code_of(Exercice year) noexcept {
    return year == Exercice::suivant ? CODE_N1 : CODE_N0;
}
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

// Keys taken apart and put together. Parts are views; those of `of` belong to the key given, whose parts
// beyond its end are "".

struct AccountKey {
    std::string_view entity;
    std::string_view number;

    [[nodiscard]] static AccountKey of(std::string_view key) { return {chars(key, 1, 3), chars(key, 4, 10)}; }
    [[nodiscard]] std::string text() const { return std::string(entity).append(number); }

    // First character of the number, ' ' for none or one that is no digit of ASCII's kind.
    [[nodiscard]] char account_class() const {
        const std::string_view first = chars(number, 1, 1);
        return first.size() == 1 ? first.front() : ' ';
    }
};

struct BalanceKey {
    std::string_view year;
    std::string_view entity;
    std::string_view number;

    [[nodiscard]] static BalanceKey of(std::string_view key) {
        return {chars(key, 1, 2), chars(key, 3, 3), chars(key, 6, 10)};
    }
    [[nodiscard]] std::string text() const { return std::string(year).append(entity).append(number); }
    // The account key within a balance key: a view of it.
    [[nodiscard]] static std::string_view account_in(std::string_view key) { return chars(key, 3, 13); }
};

struct EntryKey {
    std::string_view entity;
    std::string_view journal;
    std::string_view mark; // "N" or another
    std::string_view line; // 5 digits
    std::string_view rest; // what keeps the key unique

    [[nodiscard]] static EntryKey of(std::string_view key) {
        return {chars(key, 1, 3), chars(key, 4, 2), chars(key, 6, 1), chars(key, 8, 5), chars_from(key, 13)};
    }
    // `place` is the character that nobody reads.
    void append_to(std::string& key, char place = '0') const {
        key.append(entity).append(journal).append(mark).append(1, place).append(line).append(rest);
    }
};

struct SequenceKey {
    std::string_view entity;
    std::string_view journal;
    std::string_view year;
    std::string_view order;

    [[nodiscard]] static SequenceKey of(std::string_view key) {
        return {chars(key, 1, 3), chars(key, 4, 2), chars(key, 6, 2), chars(key, 8, 1)};
    }
    [[nodiscard]] std::string text() const {
        return std::string(entity).append(journal).append(year).append(order);
    }
};

} // namespace corvalissement
