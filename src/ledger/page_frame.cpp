#include "ledger/page_frame.h"

#include "data/keys.h"

#include <cmath>

namespace corvalissement {

namespace {

PageHead head_of(const Edition& edition, const TarvexRecord& entity) {
    PageHead head;
    head.entity_name = entity(association::NAME);
    for (std::size_t a = association::ADDRESS_PIECE_FIRST; a <= association::ADDRESS_PIECE_LAST; ++a) {
        if (entity(a).empty()) continue;
        if (!head.street.empty()) head.street += ' ';
        head.street += entity(a);
    }
    head.second_address = entity(association::ADDRESS_2);
    head.postcode = entity(association::POSTCODE);
    head.town = entity(association::TOWN);
    head.exercice = edition.selection.exercice;
    head.start_date = edition.selection.start_date;
    head.end_date = edition.selection.end_date;
    head.with_drafts = edition.selection.with_drafts;
    return head;
}

void print_total_compte(Edition& edition) {
    PrintState& state = edition.state;
    edition.sink.account_total({whole_hundredths(state.W_CptQuantite), whole_hundredths(state.W_CptDebit),
                                whole_hundredths(state.W_CptCredit), whole_hundredths(state.W_CptSolde)});
    state.W_TableauFerme = true;
    state.W_TotQuantite += state.W_CptQuantite;
    state.W_TotDebit += state.W_CptDebit;
    state.W_TotCredit += state.W_CptCredit;
    state.W_TotSolde += state.W_CptSolde;
    state.W_CptQuantite = 0;
    state.W_CptDebit = 0;
    state.W_CptCredit = 0;
    state.W_CptSolde = 0;
    state.W_TotalCompte = false;
}

} // namespace

std::int64_t whole_hundredths(double accumulator) noexcept {
    constexpr auto LIMIT = static_cast<double>(BEYOND_AMOUNTS);
    return std::fabs(accumulator) < LIMIT ? std::llround(accumulator) : BEYOND_AMOUNTS;
}

void Entete_Page(Edition& edition) {
    edition.state.W_NbLignes = 0;
    ++edition.state.W_NumPage;
    edition.sink.begin_head(edition.today, edition.state.W_NumPage);
    edition.files.F_ASSOCIATION->DBRead(edition.selection.entity, edition.files.R_ASSOCIATION);
    edition.sink.end_head(head_of(edition, edition.files.R_ASSOCIATION));
    Imprime_Entete_Tableau(edition);
}

void Imprime_Entete_Tableau(Edition& edition) { edition.sink.column_titles(edition.state.W_PageTotal); }

void Imprime_Tableau_Compte(Edition& edition) {
    PrintState& state = edition.state;
    edition.sink.close_band(state.W_LignesTableau);
    state.W_LignesTableau = 1; // the row just begun belongs to the block that now opens
    ++state.W_NbLignes;
}

void Imprime_Fin_Tableau(Edition& edition) {
    PrintState& state = edition.state;
    state.W_TableauFerme = false;
    if (state.W_TotalCompte) print_total_compte(edition);
    // The blank row and the total row, counted also when no total was printed.
    state.W_NbLignes += 2;
    state.W_LignesTableau += 2;
    edition.sink.close_block(state.W_LignesTableau);
    state.W_LignesTableau = 0;
    ++state.W_NbLignes;
}

void Imprime_Page_Total(Edition& edition) {
    PrintState& state = edition.state;
    state.W_PageTotal = true;
    edition.sink.new_page();
    Entete_Page(edition);
    edition.sink.closing_total({whole_hundredths(state.W_TotQuantite), whole_hundredths(state.W_TotDebit),
                                whole_hundredths(state.W_TotCredit), whole_hundredths(state.W_TotSolde)});
}

} // namespace corvalissement
