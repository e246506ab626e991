// The ledger on paper: the one place that knows its columns, rows and rules. Each value becomes characters at
// the very end, in one pass over a fixed buffer.
//
// The table is 27 cm wide. Its text is fixed-pitch, and its rules are drawn apart in centimetre coordinates,
// so that they fall on the blank separator positions of the entry line. Rows count 0.39 cm in the rules
// whatever the real height of a text line; at each closing the text is brought back to the rule through the
// end point of Line.
//
// The entry line has 129 characters:
//
//   1 sep  2-9 date  10 blank  11 sep  12-13 journal  14 mark  15 sep  16-20 line  21 sep  22-51 label
//   52 sep  53-62 piece  63 sep  64-74 quantity  75 sep  76-85 due date  86 sep  87-97 debit  98 sep
//   99 blank  100-102 lettering  103 sep  104-114 credit  115 sep  116-126 balance  127-128 blanks  129 sep
//
// Positions count characters and hold whatever a value holds: what is too long is cut to its column.
#pragma once

#include "ledger/ledger_sink.h"
#include "platform/print_surface.h"

namespace corvalissement {

// Where a piece shorter than its column stands: right in a ledger without drafts, left in one with them.
enum class PieceSide { right, left };

class Paper final : public LedgerSink {
public:
    // `surface` is not owned and outlives the paper.
    Paper(PrintSurface& surface, PieceSide piece_side) noexcept
        : surface_(surface), piece_side_(piece_side) {}

    void new_page() override { surface_.NewPage(); }
    void begin_head(const CivilDate& today, long page) override;
    void end_head(const PageHead& head) override;
    void column_titles(bool totals) override;
    void begin_account(std::string_view number) override;
    void name_account(std::string_view number, std::string_view label) override;
    void continue_account(std::string_view label, long page) override;
    void close_band(int rows) override;
    void line(const LedgerLine& line) override;
    void blank_row() override;
    void account_total(const LedgerTotals& totals) override;
    void close_block(int rows) override;
    void closing_total(const LedgerTotals& totals) override;

private:
    void keep(std::string_view text) { surface_.Print(text, LineEnd::keep); }
    void end(std::string_view text) { surface_.Print(text, LineEnd::end); }
    void skip_columns(std::size_t count);
    void underlined(std::string_view text);
    void address(const PageHead& head);
    void end_title(std::string_view text);
    void vertical_rule(double x_cm, double top, double bottom);
    void horizontal_rule(double y);

    PrintSurface& surface_;
    PieceSide piece_side_;
    double W_HautTableau = 0; // y where the block of rules being built begins
};

} // namespace corvalissement
