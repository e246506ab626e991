#include "ledger/pass_steps.h"

#include "data/keys.h"
#include "data/util_object.h"
#include "ledger/page_frame.h"
#include "platform/text.h"

#include <algorithm>

namespace corvalissement {

namespace {

constexpr std::size_t TITLE_LABEL_WIDTH = 112;       // positions 17 to 128
constexpr std::size_t CONTINUATION_LABEL_CHARS = 35; // then blanks up to 36

std::optional<std::int64_t> day_of(std::string_view text) {
    const std::string internal = internal_date(text);
    if (internal.empty()) return std::nullopt;
    return day_number(internal);
}

std::int64_t bound(const std::optional<std::int64_t>& day) {
    if (!day) throw StepFailure(ERR_TYPE, "une date de la période n'est pas une date");
    return *day;
}

// Whole day of a record's date; digits alone, as stored dates are, take the short way.
std::int64_t whole_day(std::string_view text) {
    if (text.empty() || text.size() > 9) return day_number(text);
    std::int64_t day = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') return day_number(text);
        day = day * 10 + (c - '0');
    }
    return day;
}

} // namespace

Period::Period(const Selection& selection)
    : start_(day_of(selection.start_date)), end_(day_of(selection.end_date)),
      lower_bound_(!selection.with_earlier) {}

bool Period::not_after_end(std::string_view entry_date) const { return whole_day(entry_date) <= bound(end_); }

bool Period::contains(std::string_view entry_date) const {
    const std::int64_t day = whole_day(entry_date);
    return (!lower_bound_ || bound(start_) <= day) && day <= bound(end_);
}

std::size_t count_to_end(const TarvexRecord& balance, const Period& period, Steps& steps) {
    std::size_t count = 0;
    const std::size_t dates = balance.DCount(balance::DATES);
    for (std::size_t v = 1; v <= dates; ++v) {
        bool counts = true;
        steps.run(balance.key(), [&] { counts = period.not_after_end(balance(balance::DATES, v)); });
        count += counts ? 1U : 0U;
    }
    return count;
}

bool stays_unlettered(const Selection& selection, const TarvexRecord& entry) {
    if (!selection.only_unlettered) return true;
    const std::string_view code = entry(entry::LETTERING);
    if (code.empty()) return true;
    if (chars(code, 2, 1) != "1") return false;
    return selection.exercice == exercice::COURANT || selection.exercice == exercice::PRECEDENT ||
           selection.exercice == exercice::SUIVANT;
}

TarvexFile& balance_file(Edition& edition) {
    return edition.selection.archived() ? *edition.files.F_BALANCEGENEARCHIVE : *edition.files.F_BALANCEGENE;
}

TarvexFile& entry_file(Edition& edition) {
    return edition.selection.archived() ? *edition.files.F_DETAILECRITUREGENEARCHIVE
                                        : *edition.files.F_DETAILECRITUREGENE;
}

namespace detail {

void begin_title(Edition& edition) {
    PrintSurface& surface = edition.surface;
    surface.set_FontBold(true);
    surface.set_CurrentX(0);
    const std::string_view number = number_of_account_key(edition.state.W_CompteCourant);
    surface.Print("   " + fit_right(number, 10) + "   ", LineEnd::keep);
}

void end_account_title(Edition& edition) {
    PrintState& state = edition.state;
    PrintSurface& surface = edition.surface;
    const std::string_view label = edition.files.R_PLANCOMPTABLE(plan::LABEL);
    surface.mark_account(number_of_account_key(state.W_CompteCourant), label);
    surface.Print(fit_right(label, TITLE_LABEL_WIDTH) + " ", LineEnd::end);
    surface.set_FontBold(false);
    surface.Print(" ", LineEnd::end);
    state.W_NbLignes += 3;
    state.W_LignesTableau += 3;
    state.W_PageCompte = 1;
    Imprime_Tableau_Compte(edition);
}

} // namespace detail

void print_continuation_title(Edition& edition) {
    PrintState& state = edition.state;
    PrintSurface& surface = edition.surface;
    detail::begin_title(edition);
    ++state.W_PageCompte;
    const std::string_view label =
        chars(edition.files.R_PLANCOMPTABLE(plan::LABEL), 1, CONTINUATION_LABEL_CHARS);
    surface.Print(pad_right(label, CONTINUATION_LABEL_CHARS + 1) +
                      " Page : " + std::to_string(state.W_PageCompte),
                  LineEnd::end);
    surface.set_FontBold(false);
    surface.Print(" ", LineEnd::end);
    state.W_NbLignes += 3;
    state.W_LignesTableau += 3;
    Imprime_Tableau_Compte(edition);
}

} // namespace corvalissement
