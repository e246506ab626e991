#include "ledger/entry_line.h"

#include "data/amounts.h"
#include "data/keys.h"
#include "data/util_object.h"
#include "ledger/page_frame.h"
#include "platform/text.h"

#include <array>

namespace corvalissement {

void EntryLine::send(const LedgerLine& line) {
    edition_.sink.line(line);
    ++edition_.state.W_NbLignes;
    ++edition_.state.W_LignesTableau;
}

void EntryLine::print_held() {
    if (!held_) return;
    held_ = false;
    steps_.run("", [&] { send(held_line_); });
}

bool EntryLine::hold_or_print(const TarvexRecord& entry, std::string_view entry_key) {
    const char account_class = AccountKey::of(entry(entry::ACCOUNT_KEY)).account_class();
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
    const EntryKey key = EntryKey::of(entry_key);
    std::array<char, 5> next{};
    int line_number = state.W_LignePrec + 1;
    for (std::size_t i = next.size(); i-- > 0; line_number /= 10)
        next[i] = static_cast<char>('0' + line_number % 10);
    return key.line == std::string_view(next.data(), next.size()) &&
           state.W_PiecePrec == entry(entry::PIECE) && state.W_JournalPrec == key.journal &&
           state.W_LibellePrec == entry(entry::LABEL) && state.W_DatePrec == entry(entry::DATE);
}

// Adds the entry into the held line. False, nothing changed, when the held amount or the sum would not stand
// in its column: the entry then opens a line of its own. A column that the held line left blank counts as 0.
bool EntryLine::merge(const TarvexRecord& entry) {
    PrintState& state = edition_.state;
    const bool debit = !entry(entry::DEBIT).empty();
    std::optional<std::int64_t>& column = debit ? held_line_.debit : held_line_.credit;
    const auto held = static_cast<double>(column.value_or(0));
    double amount = 0;
    // An amount that is none leaves the held line as it is; the failure is told once, by the line that the
    // entry opens.
    if (!amount_fits(held) ||
        error_of([&] { amount = hundredths_of(entry(debit ? entry::DEBIT : entry::CREDIT)); }) != 0)
        return false;
    const double sum = held + amount;
    if (!amount_fits(sum)) return false;
    column = whole_hundredths(sum);
    (debit ? state.W_CptDebit : state.W_CptCredit) += amount;
    state.W_CptSolde = state.W_CptDebit - state.W_CptCredit;
    held_line_.balance = whole_hundredths(state.W_CptSolde);
    return true;
}

void EntryLine::remember(const TarvexRecord& entry, std::string_view entry_key) {
    PrintState& state = edition_.state;
    const EntryKey key = EntryKey::of(entry_key);
    state.W_PiecePrec.assign(entry(entry::PIECE));
    state.W_JournalPrec.assign(key.journal);
    state.W_LibellePrec.assign(entry(entry::LABEL));
    state.W_DatePrec.assign(entry(entry::DATE));
    steps_.run(entry_key, [&] {
        std::int64_t number = 0;
        if (!parse_whole(key.line, number))
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

std::optional<CivilDate> EntryLine::date_of(std::string_view date, std::string_view entry_key) {
    std::optional<CivilDate> civil;
    if (!date.empty()) steps_.run(entry_key, [&] { civil = civil_date(date); });
    return civil;
}

std::optional<CivilDate> EntryLine::entry_date(std::string_view date, std::string_view entry_key) {
    // What is no date is read again each time, so that each of its entries is told.
    if (last_date_ && date == last_date_text_) return last_date_;
    last_date_.reset();
    last_date_text_.assign(date);
    last_date_ = date_of(date, entry_key);
    return last_date_;
}

std::optional<std::int64_t> EntryLine::amount_of(std::string_view attribute, std::string_view entry_key,
                                                 double& accumulator) {
    std::optional<std::int64_t> amount;
    if (attribute.empty()) return amount;
    steps_.run(entry_key, [&] {
        const double value = hundredths_of(attribute);
        amount = whole_hundredths(value);
        accumulator += value;
    });
    return amount;
}

void EntryLine::compose(LedgerLine& line, const TarvexRecord& entry, std::string_view entry_key) {
    PrintState& state = edition_.state;
    state.W_TableauClos = false;
    line.date = entry_date(entry(entry::DATE), entry_key);
    const EntryKey key = EntryKey::of(entry_key);
    line.journal.assign(key.journal);
    line.marked = key.mark != "N";
    line.number.assign(key.line);
    line.label.assign(trim_blanks(entry(entry::LABEL)));
    line.piece.assign(entry(entry::PIECE));
    line.quantity = amount_of(entry(entry::QUANTITY), entry_key, state.W_CptQuantite);
    line.due_date = date_of(entry(entry::DUE_DATE), entry_key);
    line.debit = amount_of(entry(entry::DEBIT), entry_key, state.W_CptDebit);
    line.lettering.assign(entry(entry::LETTERING));
    line.credit = amount_of(entry(entry::CREDIT), entry_key, state.W_CptCredit);
    state.W_CptSolde = state.W_CptDebit - state.W_CptCredit;
    line.balance = whole_hundredths(state.W_CptSolde);
}

} // namespace corvalissement
