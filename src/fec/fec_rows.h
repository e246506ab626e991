// The data lines of a FEC as values: columns found by name, fields stripped, dates and amounts read.
#pragma once

#include "fec/fec_file.h"
#include "records/bad_input.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvalissement {

// One data line. The texts are UTF-8 without control characters and without the blanks around them, and are
// good until the next line is read. Amounts are whole hundredths.
struct FecRow {
    std::uint64_t line = 0;
    std::string_view journal;
    std::string_view journal_label;
    std::string_view number; // of the entry; may be empty
    std::int64_t date = 0;
    std::string_view account;
    std::string_view account_label;
    std::string_view auxiliary;
    std::string_view auxiliary_label;
    std::string_view piece;
    std::string_view label;
    std::string_view lettering;
    bool validated = false; // has a validation date
    // The sides that the entry gets. One of them as a rule; both when the line fills both with more than
    // zero; with zero on either side the one that is filled, else debit.
    std::optional<std::int64_t> debit;
    std::optional<std::int64_t> credit;

    [[nodiscard]] std::int64_t net() const noexcept { return debit.value_or(0) - credit.value_or(0); }
};

// A line that can't be understood, behind which the next one can be read all the same.
class BadLine final : public BadInput {
public:
    using BadInput::BadInput;
};

// Reads the lines of one file in order. Everything that cannot be understood is BadInput with its line:
// a header that lacks one of the columns, a line with more or fewer fields than the header, a date of no
// calendar, an amount that is no number or no whole number of hundredths, an empty journal or account.
//
// The separator is the one of tab, "|" and ";" that the header uses. A field may be padded on both sides, a
// line may end with separators, and lines with nothing in them are passed over. Quotes around a field are
// dropped when a spreadsheet put them there: when the header has some, when another field of the line has
// them too, or when what they enclose needs them.
class FecRows {
public:
    // Reads the header.
    FecRows(FecFile& file, const FecFacts& facts);

    // False at the end of the file. BadLine leaves everything ready for the line behind it.
    [[nodiscard]] bool next(FecRow& row);

    [[nodiscard]] std::uint64_t bytes_done() const noexcept { return lines_.bytes_done(); }

    // Lines in which a control character was replaced by a blank, and those in which bytes that are no
    // UTF-8 were replaced by U+FFFD.
    [[nodiscard]] std::uint64_t lines_with_controls() const noexcept { return lines_with_controls_; }
    [[nodiscard]] std::uint64_t lines_repaired() const noexcept { return lines_repaired_; }

private:
    enum Column : std::size_t {
        JOURNAL_CODE,
        JOURNAL_LIB,
        ECRITURE_NUM,
        ECRITURE_DATE,
        COMPTE_NUM,
        COMPTE_LIB,
        COMP_AUX_NUM,
        COMP_AUX_LIB,
        PIECE_REF,
        PIECE_DATE,
        ECRITURE_LIB,
        DEBIT,
        CREDIT,
        ECRITURE_LET,
        DATE_LET,
        VALID_DATE,
        MONTANT_DEVISE,
        IDEVISE,
        MONTANT,
        SENS,
        COLUMNS
    };
    static constexpr std::size_t ABSENT = static_cast<std::size_t>(-1);
    static constexpr std::array<std::string_view, COLUMNS> NAMES{
        "JournalCode", "JournalLib", "EcritureNum",   "EcritureDate", "CompteNum", "CompteLib", "CompAuxNum",
        "CompAuxLib",  "PieceRef",   "PieceDate",     "EcritureLib",  "Debit",     "Credit",    "EcritureLet",
        "DateLet",     "ValidDate",  "Montantdevise", "Idevise",      "Montant",   "Sens"};

    struct LastDate {
        std::array<char, 8> digits{};
        std::int64_t day = 0;
    };

    bool next_text();
    void clean(std::string_view line);
    void replace_controls();
    void read_header();
    void place_columns();
    void split();
    void split_quoted();
    [[nodiscard]] bool fits();
    void take_fields();
    void unquote();
    [[nodiscard]] std::string_view code(Column column) const;
    [[nodiscard]] std::string_view text(Column column) const;
    [[nodiscard]] std::int64_t day(Column column) const;
    [[nodiscard]] bool has_date(Column column) const;
    [[nodiscard]] std::optional<std::int64_t> amount(Column column) const;
    void read_sides(FecRow& row) const;
    void read_amount_and_side(FecRow& row) const;
    [[noreturn]] void refuse(const std::string& reason) const;
    [[noreturn]] void refuse_field(Column column, std::string_view what) const;

    const std::string& path_;
    FecFacts facts_;
    FecLines lines_;
    char separator_ = '\t';
    bool quoted_header_ = false;
    std::size_t count_ = 0; // columns of the header
    std::size_t spare_ = 0; // empty fields that may stand behind them
    bool first_line_ = true;
    std::array<std::size_t, COLUMNS> at_{};
    std::string_view text_; // the line being read
    std::string buffer_;
    std::string decoded_;
    std::vector<std::string_view> fields_;
    std::array<std::string, COLUMNS> unquoted_;
    mutable std::array<LastDate, COLUMNS> last_dates_{};
    std::uint64_t lines_with_controls_ = 0;
    std::uint64_t lines_repaired_ = 0;
};

} // namespace corvalissement
