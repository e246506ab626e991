#include "ledger/entry_line.h"

#include "data/amounts.h"
#include "data/keys.h"
#include "data/util_object.h"
#include "platform/text.h"

#include <array>

namespace corvalissement {

namespace {

constexpr std::string_view W_Sep = " "; // the visible column lines are the rules of the page frame
constexpr std::size_t LABEL_WIDTH = 30;
constexpr std::size_t PIECE_WIDTH = 10;
constexpr std::size_t AMOUNT_WIDTH = 11;
constexpr std::size_t DATE_WIDTH = 10;
constexpr std::size_t SHORT_DATE_WIDTH = 8;

void append_blanks(std::string& line, std::size_t count) { line.append(count, ' '); }

// Exactly `width` characters, cut or completed with blanks on the right.
void append_fit(std::string& line, std::string_view text, std::size_t width) {
    const std::string_view shown = chars(text, 1, width);
    line += shown;
    append_blanks(line, width - char_count(shown));
}

double amount_at(const std::string& line, std::size_t offset, bool& readable) {
    double value = 0;
    readable = read_amount_text(std::string_view(line).substr(offset, AMOUNT_WIDTH), value);
    return value;
}

} // namespace

void EntryLine::send(const std::string& line) {
    edition_.surface.Print(line, LineEnd::end);
    ++edition_.state.W_NbLignes;
    ++edition_.state.W_LignesTableau;
}

void EntryLine::print_held() {
    if (!held_) return;
    held_ = false;
    steps_.run("", [&] { send(held_line_); });
}

bool EntryLine::hold_or_print(const TarvexRecord& entry, std::string_view entry_key) {
    const char account_class = class_of_account_key(entry(entry::ACCOUNT_KEY));
    if (account_class != '6' && account_class != '7') {
        compose(line_, entry, entry_key);
        steps_.run(entry_key, [&] { send(line_); });
        return false;
    }
    if (!continues_held(entry, entry_key) || !merge(entry)) {
        print_held();
        compose(held_line_, entry, entry_key);
        held_ = true;
        held_both_sides_ = !entry(entry::DEBIT).empty() && !entry(entry::CREDIT).empty();
        held_debit_at_ = debit_at_;
        held_credit_at_ = credit_at_;
        held_solde_at_ = solde_at_;
    }
    remember(entry, entry_key);
    return true;
}

bool EntryLine::continues_held(const TarvexRecord& entry, std::string_view entry_key) const {
    const PrintState& state = edition_.state;
    if (!held_ || held_both_sides_ || state.W_RuptureCompte) return false;
    const std::string_view debit = entry(entry::DEBIT);
    const std::string_view credit = entry(entry::CREDIT);
    if (!debit.empty() && !credit.empty()) return false;
    const bool same_side = state.W_SensPrec == "CREDIT" ? !credit.empty() : !debit.empty();
    if (!same_side) return false;
    if (state.W_LignePrec < 0 || state.W_LignePrec == INT16_MAX) return false;
    std::array<char, 5> next{};
    int line_number = state.W_LignePrec + 1;
    for (std::size_t i = next.size(); i-- > 0; line_number /= 10)
        next[i] = static_cast<char>('0' + line_number % 10);
    return line_of_entry(entry_key) == std::string_view(next.data(), next.size()) &&
           state.W_PiecePrec == entry(entry::PIECE) && state.W_JournalPrec == journal_of_entry(entry_key) &&
           state.W_LibellePrec == entry(entry::LABEL) && state.W_DatePrec == entry(entry::DATE);
}

// Adds the entry into the held line. False, nothing changed, when the sum would not stand in its column: the
// entry then opens a line of its own.
bool EntryLine::merge(const TarvexRecord& entry) {
    PrintState& state = edition_.state;
    const bool debit = !entry(entry::DEBIT).empty();
    const std::size_t at = debit ? held_debit_at_ : held_credit_at_;
    bool readable = false;
    double sum = amount_at(held_line_, at, readable);
    double amount = 0;
    // An amount that is none leaves the held line as it is; the failure is told once, by the line that the
    // entry opens.
    if (!readable ||
        error_of([&] { amount = hundredths_of(entry(debit ? entry::DEBIT : entry::CREDIT)); }) != 0)
        return false;
    sum += amount;
    if (!amount_fits(sum)) return false;
    write_amount(held_line_.data() + at, sum);
    (debit ? state.W_CptDebit : state.W_CptCredit) += amount;
    state.W_CptSolde = state.W_CptDebit - state.W_CptCredit;
    write_amount(held_line_.data() + held_solde_at_, state.W_CptSolde);
    return true;
}

void EntryLine::remember(const TarvexRecord& entry, std::string_view entry_key) {
    PrintState& state = edition_.state;
    state.W_PiecePrec.assign(entry(entry::PIECE));
    state.W_JournalPrec.assign(journal_of_entry(entry_key));
    state.W_LibellePrec.assign(entry(entry::LABEL));
    state.W_DatePrec.assign(entry(entry::DATE));
    steps_.run(entry_key, [&] {
        std::int64_t number = 0;
        if (!parse_whole(line_of_entry(entry_key), number))
            throw StepFailure(ERR_TYPE, "le numéro de ligne n'est pas un nombre");
        if (number > INT16_MAX || number < INT16_MIN)
            throw StepFailure(ERR_OVERFLOW, "le numéro de ligne dépasse 32767");
        state.W_LignePrec = static_cast<std::int16_t>(number);
    });
    if (!entry(entry::DEBIT).empty())
        state.W_SensPrec = "DEBIT";
    else if (!entry(entry::CREDIT).empty())
        state.W_SensPrec = "CREDIT";
}

void EntryLine::date_column(std::string& line, const TarvexRecord& entry, std::string_view entry_key) {
    const std::string_view date = entry(entry::DATE);
    if (date == last_date_ && !last_date_text_.empty()) {
        line += last_date_text_;
        return;
    }
    last_date_.assign(date);
    last_date_text_.clear(); // and stays so when the date is none: the next entry is told of it too
    steps_.run(entry_key, [&] {
        const std::string full = date_text(date);
        if (!full.empty()) last_date_text_ = full.substr(0, 6) + full.substr(8, 2); // dd/mm/yyyy to DD/MM/YY
    });
    append_fit(line, last_date_text_, SHORT_DATE_WIDTH);
}

void EntryLine::due_date_column(std::string& line, const TarvexRecord& entry, std::string_view entry_key) {
    const std::string_view due = entry(entry::DUE_DATE);
    std::string text;
    if (!due.empty()) steps_.run(entry_key, [&] { text = date_text(due); });
    append_fit(line, text, DATE_WIDTH);
}

void EntryLine::piece_column(std::string& line, std::string_view piece) const {
    const std::string_view shown = last_chars(piece, PIECE_WIDTH);
    const std::size_t missing = PIECE_WIDTH - char_count(shown);
    if (piece_side_ == PieceSide::right) append_blanks(line, missing);
    line += shown;
    if (piece_side_ == PieceSide::left) append_blanks(line, missing);
}

void EntryLine::amount_column(std::string& line, std::string_view attribute, std::string_view entry_key,
                              double& accumulator) {
    const std::size_t at = line.size();
    append_blanks(line, AMOUNT_WIDTH);
    if (attribute.empty()) return;
    steps_.run(entry_key, [&] {
        const double amount = hundredths_of(attribute);
        write_amount(line.data() + at, amount);
        accumulator += amount;
    });
}

void EntryLine::lettering_column(std::string& line, std::string_view code) { append_fit(line, code, 3); }

void EntryLine::compose(std::string& line, const TarvexRecord& entry, std::string_view entry_key) {
    PrintState& state = edition_.state;
    edition_.surface.set_CurrentX(0);
    state.W_TableauClos = false;
    line.clear();
    line += W_Sep;
    date_column(line, entry, entry_key);
    line += ' ';
    line += W_Sep;
    append_fit(line, journal_of_entry(entry_key), 2);
    line += mark_of_entry(entry_key) == "N" ? ' ' : 'P';
    line += W_Sep;
    append_fit(line, line_of_entry(entry_key), 5);
    line += W_Sep;
    append_fit(line, trim_blanks(entry(entry::LABEL)), LABEL_WIDTH);
    line += W_Sep;
    piece_column(line, entry(entry::PIECE));
    line += W_Sep;
    amount_column(line, entry(entry::QUANTITY), entry_key, state.W_CptQuantite);
    line += W_Sep;
    due_date_column(line, entry, entry_key);
    line += W_Sep;
    debit_at_ = line.size();
    amount_column(line, entry(entry::DEBIT), entry_key, state.W_CptDebit);
    line += W_Sep;
    line += ' ';
    lettering_column(line, entry(entry::LETTERING));
    line += W_Sep;
    credit_at_ = line.size();
    amount_column(line, entry(entry::CREDIT), entry_key, state.W_CptCredit);
    line += W_Sep;
    state.W_CptSolde = state.W_CptDebit - state.W_CptCredit;
    solde_at_ = line.size();
    append_blanks(line, AMOUNT_WIDTH);
    write_amount(line.data() + solde_at_, state.W_CptSolde);
    line += "  ";
    line += W_Sep;
}

} // namespace corvalissement
