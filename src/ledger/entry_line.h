// The entry line: one ledger entry as a text of 129 characters, and the rule that adds consecutive entries
// of an income or expense account into one printed line. Used by the ledger pass and by both details of
// the merged pass.
//
//   1 sep  2-9 date  10 blank  11 sep  12-13 journal  14 mark  15 sep  16-20 line  21 sep  22-51 label
//   52 sep  53-62 piece  63 sep  64-74 quantity  75 sep  76-85 due date  86 sep  87-97 debit  98 sep
//   99 blank  100-102 lettering  103 sep  104-114 credit  115 sep  116-126 balance  127-128 blanks  129 sep
//
// Positions count characters and hold whatever the record holds: what is too long is cut to its column.
#pragma once

#include "ledger/edition.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace corvalissement {

enum class PieceSide { right, left };

class EntryLine {
public:
    // `steps` tells what happens to a column that cannot be filled: left blank, or the pass ends.
    EntryLine(Edition& edition, Steps& steps, PieceSide piece_side)
        : edition_(edition), steps_(steps), piece_side_(piece_side) {
        line_.reserve(192);
    }

    // Prints one entry that survives the range, the filter and the checks, or holds it back for merging.
    // `index` is its place in the balance record, from 1, and `in_range_count` gives the number of the
    // record's dates up to the end date; it is asked for accounts of classes 6 and 7 only.
    template <class Count>
    void print(const TarvexRecord& entry, std::string_view entry_key, std::size_t index,
               Count&& in_range_count) {
        if (!hold_or_print(entry, entry_key)) return;
        if (index == in_range_count()) print_held();
    }

    // Prints the line held back, if any: the entries of a balance key have run out.
    void print_held();

    // Forgets the line: a new balance key begins.
    void start_key() noexcept { held_ = false; }

private:
    // True when the entry's account is one of those whose lines merge.
    bool hold_or_print(const TarvexRecord& entry, std::string_view entry_key);
    bool continues_held(const TarvexRecord& entry, std::string_view entry_key) const;
    bool merge(const TarvexRecord& entry);
    void remember(const TarvexRecord& entry, std::string_view entry_key);
    void compose(std::string& line, const TarvexRecord& entry, std::string_view entry_key);
    void send(const std::string& line);

    void date_column(std::string& line, const TarvexRecord& entry, std::string_view entry_key);
    void due_date_column(std::string& line, const TarvexRecord& entry, std::string_view entry_key);
    void piece_column(std::string& line, std::string_view piece) const;
    void amount_column(std::string& line, std::string_view attribute, std::string_view entry_key,
                       double& accumulator);
    static void lettering_column(std::string& line, std::string_view code);

    Edition& edition_;
    Steps& steps_;
    PieceSide piece_side_;

    // The line held back; the amounts added into it exist nowhere else than in its text. The offsets are
    // bytes, for the label before them may hold characters of several bytes.
    std::string held_line_;
    bool held_ = false;
    bool held_both_sides_ = false;
    std::size_t held_debit_at_ = 0;
    std::size_t held_credit_at_ = 0;
    std::size_t held_solde_at_ = 0;

    std::string line_; // of an entry printed at once

    // Where compose put the columns that a merge rewrites.
    std::size_t debit_at_ = 0;
    std::size_t credit_at_ = 0;
    std::size_t solde_at_ = 0;

    // The entry date last turned into text: entries come in date order.
    std::string last_date_;
    std::string last_date_text_;
};

} // namespace corvalissement
