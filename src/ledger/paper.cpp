#include "ledger/paper.h"

#include "data/amounts.h"
#include "data/util_object.h"
#include "platform/text.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

namespace corvalissement {

namespace {

constexpr double W_Cm = UNITS_PER_CM;
constexpr double LEFT_CM = 0.1;
constexpr double RIGHT_CM = 27;
constexpr double HEAD_TOP_CM = 0.4;
constexpr double TITLE_TOP_CM = 5.1;
constexpr double TITLE_TEXT_CM = 5.2;
constexpr double TITLE_BOTTOM_CM = 5.7;
constexpr double TOTAL_BOTTOM_CM = 7.1;
constexpr double ROW_CM = 0.39;
constexpr std::size_t ADDRESS_INDENT = 19; // puts the address under the entity's name

// Vertical rules in centimetres, from left to right: of an account's block, and of the closing page, whose
// wider amounts push two of them outwards. The title box draws its two edges apart.
constexpr double BLOCK_RULES[] = {0.1, 2.2, 3.1, 4.4, 10.9, 13.2, 15.8, 18.1, 20.6, 21.7, 24.2, 27};
constexpr double TOTAL_RULES[] = {0.1, 13.2, 15.8, 18.1, 20.9, 21.5, 24.2, 27};

// The column titles, each with the blanks before it.
struct ColumnTitle {
    std::size_t blanks;
    std::string_view title;
};
constexpr ColumnTitle COLUMN_TITLES[] = {{3, "DATE"},   {4, "JO"},       {2, "LIGNE"},    {13, "LIBELLE"},
                                         {15, "PIECE"}, {4, "QUANTITE"}, {4, "ECHEANCE"}, {4, "DEBIT"},
                                         {5, "LET."},   {3, "CREDIT"},   {7, "SOLDE"}};
constexpr ColumnTitle TOTAL_TITLES[] = {
    {60, ""}, {4, "QUANTITE"}, {16, "DEBIT"}, {12, "CREDIT"}, {7, "SOLDE"}};

// Characters of the entry line, and of the titles.
constexpr std::size_t LINE_WIDTH = 129;
constexpr std::size_t JOURNAL_WIDTH = 2;
constexpr std::size_t NUMBER_WIDTH = 5;
constexpr std::size_t LABEL_WIDTH = 30;
constexpr std::size_t PIECE_WIDTH = 10;
constexpr std::size_t AMOUNT_WIDTH = 11;
constexpr std::size_t DATE_WIDTH = 10;
constexpr std::size_t SHORT_DATE_WIDTH = 8;
constexpr std::size_t LETTERING_WIDTH = 3;
constexpr std::size_t ACCOUNT_WIDTH = 10;
constexpr std::size_t TITLE_LABEL_WIDTH = 112;       // positions 17 to 128
constexpr std::size_t CONTINUATION_LABEL_CHARS = 35; // then blanks up to 36

constexpr std::size_t MOST_BYTES_A_CHARACTER = 4;

bool is_ascii(std::string_view text) noexcept {
    unsigned char bits = 0;
    for (const char c : text)
        bits |= static_cast<unsigned char>(c);
    return bits < 0x80;
}

// A row of text under construction, column by column. A character takes one cell and up to four bytes.
class Row {
public:
    void blanks(std::size_t count) noexcept {
        std::memset(at_, ' ', count);
        at_ += count;
    }
    // Every separator is a blank: the visible column lines are the rules of the frame.
    void separator() noexcept { blanks(1); }
    void character(char c) noexcept { *at_++ = c; }

    // Exactly `width` characters: the first of `text`, then blanks.
    void left(std::string_view text, std::size_t width) noexcept {
        const std::string_view cut = text.substr(0, width);
        const bool short_way = is_ascii(cut);
        const std::string_view shown = short_way ? cut : chars(text, 1, width);
        put(shown);
        blanks(width - (short_way ? shown.size() : char_count(shown)));
    }

    // The last `width` characters of `text`, on the side asked when they are fewer.
    void last(std::string_view text, std::size_t width, PieceSide side) noexcept {
        const std::string_view cut = text.substr(text.size() - std::min(text.size(), width));
        const bool short_way = is_ascii(cut);
        const std::string_view shown = short_way ? cut : last_chars(text, width);
        const std::size_t missing = width - (short_way ? shown.size() : char_count(shown));
        if (side == PieceSide::right) blanks(missing);
        put(shown);
        if (side == PieceSide::left) blanks(missing);
    }

    void amount(const std::optional<std::int64_t>& hundredths) noexcept {
        if (!hundredths) return blanks(AMOUNT_WIDTH);
        write_amount(at_, static_cast<double>(*hundredths));
        at_ += AMOUNT_WIDTH;
    }

    // DD/MM/YY
    void short_date(const std::optional<CivilDate>& date) noexcept {
        if (!date) return blanks(SHORT_DATE_WIDTH);
        day_and_month(*date);
        two_digits(date->year % 100);
    }

    // DD/MM/YYYY
    void date(const std::optional<CivilDate>& date) noexcept {
        if (!date) return blanks(DATE_WIDTH);
        day_and_month(*date);
        two_digits(date->year / 100);
        two_digits(date->year % 100);
    }

    [[nodiscard]] std::string_view text() const noexcept {
        return {bytes_.data(), static_cast<std::size_t>(at_ - bytes_.data())};
    }

private:
    void put(std::string_view text) noexcept {
        std::memcpy(at_, text.data(), text.size());
        at_ += text.size();
    }
    void two_digits(int number) noexcept {
        *at_++ = static_cast<char>('0' + number / 10);
        *at_++ = static_cast<char>('0' + number % 10);
    }
    void day_and_month(const CivilDate& date) noexcept {
        two_digits(date.day);
        *at_++ = '/';
        two_digits(date.month);
        *at_++ = '/';
    }

    std::array<char, LINE_WIDTH * MOST_BYTES_A_CHARACTER> bytes_;
    char* at_ = bytes_.data();
};

constexpr auto BLANKS = [] {
    std::array<char, 128> blanks{};
    blanks.fill(' ');
    return blanks;
}();

double cm(double centimetres) noexcept { return centimetres * W_Cm; }

std::string amount(std::int64_t hundredths, int int_positions = LINE_AMOUNT_POSITIONS) {
    return amount_text(static_cast<double>(hundredths), int_positions);
}

} // namespace

void Paper::skip_columns(std::size_t count) { keep({BLANKS.data(), count}); }

void Paper::blank_row() { end(" "); }

void Paper::underlined(std::string_view text) {
    surface_.set_FontUnderline(true);
    keep(text);
    surface_.set_FontUnderline(false);
}

void Paper::vertical_rule(double x_cm, double top, double bottom) {
    const double x = cm(x_cm);
    surface_.Line(x, top, x, bottom);
}

void Paper::horizontal_rule(double y) { surface_.Line(cm(LEFT_CM), y, cm(RIGHT_CM), y); }

void Paper::begin_head(const CivilDate& today, long page) {
    surface_.set_FontUnderline(false);
    surface_.set_FontName("Courier New");
    surface_.set_FontSize(10);
    surface_.set_CurrentX(0);
    surface_.set_CurrentY(cm(HEAD_TOP_CM));
    keep("Date : ");
    keep(format_date(today));
    skip_columns(105);
    keep("Page : ");
    end(std::to_string(page));
    blank_row();
    surface_.set_FontSize(14);
    surface_.set_FontBold(true);
    end(std::string(38, ' ') + "GRAND LIVRE GENERAL");
    surface_.set_FontBold(false);
    surface_.set_FontSize(10);
    blank_row();
}

void Paper::end_head(const PageHead& head) {
    underlined("Entité juridique");
    keep(" : ");
    end(head.entity_name);
    address(head);
    blank_row();

    underlined("Exercice");
    keep(std::string(9, ' ') + ": ");
    keep(head.exercice);
    skip_columns(10);
    keep("Date début : ");
    keep(head.start_date);
    skip_columns(5);
    keep("Date fin : ");
    end(head.end_date);
    blank_row();
    end(head.with_drafts ? "PRISE EN COMPTE DES BROUILLARDS DE SAISIE" : " ");
}

void Paper::address(const PageHead& head) {
    skip_columns(ADDRESS_INDENT);
    if (!head.street.empty()) {
        end(head.street + " ");
        skip_columns(ADDRESS_INDENT);
    }
    if (!head.second_address.empty()) {
        end(head.second_address);
        skip_columns(ADDRESS_INDENT);
    }
    keep(head.postcode);
    keep(" ");
    end(head.town);
}

void Paper::column_titles(bool totals) {
    surface_.set_CurrentY(cm(TITLE_TEXT_CM));
    const std::span<const ColumnTitle> titles =
        totals ? std::span<const ColumnTitle>(TOTAL_TITLES) : std::span<const ColumnTitle>(COLUMN_TITLES);
    for (const ColumnTitle& column : titles) {
        skip_columns(column.blanks);
        if (&column == &titles.back())
            end(column.title);
        else
            keep(column.title);
    }

    surface_.set_DrawWidth(3);
    const double top = cm(TITLE_TOP_CM);
    const double bottom = cm(TITLE_BOTTOM_CM);
    horizontal_rule(top);
    horizontal_rule(bottom);
    vertical_rule(LEFT_CM, top, bottom);
    vertical_rule(RIGHT_CM, top, bottom);
    const std::span<const double> rules =
        totals ? std::span<const double>(TOTAL_RULES) : std::span<const double>(BLOCK_RULES);
    for (const double x : rules.subspan(1, rules.size() - 2))
        vertical_rule(x, top, bottom);
    // The last rule ended at the box's lower edge: the text goes on one row below it.
    blank_row();
    W_HautTableau = bottom;
}

void Paper::begin_account(std::string_view number) {
    surface_.set_FontBold(true);
    surface_.set_CurrentX(0);
    keep("   " + fit_right(number, ACCOUNT_WIDTH) + "   ");
}

void Paper::name_account(std::string_view number, std::string_view label) {
    surface_.mark_account(number, label);
    end_title(fit_right(label, TITLE_LABEL_WIDTH) + " ");
}

void Paper::continue_account(std::string_view label, long page) {
    end_title(pad_right(chars(label, 1, CONTINUATION_LABEL_CHARS), CONTINUATION_LABEL_CHARS + 1) +
              " Page : " + std::to_string(page));
}

void Paper::end_title(std::string_view text) {
    end(text);
    surface_.set_FontBold(false);
    blank_row();
}

void Paper::close_band(int rows) {
    const double bottom = W_HautTableau + cm(ROW_CM) * rows;
    vertical_rule(LEFT_CM, W_HautTableau, bottom);
    vertical_rule(RIGHT_CM, W_HautTableau, bottom);
    W_HautTableau = surface_.CurrentY();
    horizontal_rule(W_HautTableau);
    blank_row();
}

void Paper::line(const LedgerLine& line) {
    Row row;
    row.separator();
    row.short_date(line.date);
    row.blanks(1);
    row.separator();
    row.left(line.journal, JOURNAL_WIDTH);
    row.character(line.marked ? 'P' : ' ');
    row.separator();
    row.left(line.number, NUMBER_WIDTH);
    row.separator();
    row.left(line.label, LABEL_WIDTH);
    row.separator();
    row.last(line.piece, PIECE_WIDTH, piece_side_);
    row.separator();
    row.amount(line.quantity);
    row.separator();
    row.date(line.due_date);
    row.separator();
    row.amount(line.debit);
    row.separator();
    row.blanks(1);
    row.left(line.lettering, LETTERING_WIDTH);
    row.separator();
    row.amount(line.credit);
    row.separator();
    row.amount(line.balance);
    row.blanks(2);
    row.separator();
    surface_.set_CurrentX(0);
    end(row.text());
}

void Paper::account_total(const LedgerTotals& totals) {
    blank_row();
    skip_columns(21);
    surface_.set_FontBold(true);
    keep("TOTAL COMPTE");
    if (totals.quantity != 0) {
        skip_columns(30);
        keep(amount(totals.quantity));
    } else {
        skip_columns(41);
    }
    skip_columns(12);
    keep(amount(totals.debit));
    skip_columns(6);
    keep(amount(totals.credit));
    skip_columns(1);
    end(amount(totals.balance));
    surface_.set_FontBold(false);
}

void Paper::close_block(int rows) {
    const double bottom = W_HautTableau + cm(ROW_CM) * rows;
    for (const double x : BLOCK_RULES)
        vertical_rule(x, W_HautTableau, bottom);
    horizontal_rule(bottom);
    W_HautTableau = surface_.CurrentY();
    blank_row();
}

void Paper::closing_total(const LedgerTotals& totals) {
    skip_columns(6);
    surface_.set_FontBold(true);
    keep("TOTAL DES MOUVEMENTS EDITES");
    skip_columns(30);
    if (totals.quantity != 0)
        keep(amount(totals.quantity));
    else
        skip_columns(AMOUNT_WIDTH);
    skip_columns(12);
    keep(amount(totals.debit, TOTAL_AMOUNT_POSITIONS));
    skip_columns(4);
    keep(amount(totals.credit, TOTAL_AMOUNT_POSITIONS));
    skip_columns(1);
    end(amount(totals.balance, TOTAL_AMOUNT_POSITIONS));
    surface_.set_FontBold(false);

    const double top = cm(TITLE_BOTTOM_CM);
    const double bottom = cm(TOTAL_BOTTOM_CM);
    for (const double x : TOTAL_RULES)
        vertical_rule(x, top, bottom);
    horizontal_rule(bottom);
}

} // namespace corvalissement
