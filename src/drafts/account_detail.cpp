#include "drafts/account_detail.h"

#include "data/keys.h"
#include "ledger/page_frame.h"

namespace corvalissement {

AccountDetail::AccountDetail(Edition& edition)
    : edition_(edition), state_(edition.state),
      steps_(Steps::On::end, edition.failures, "Impression_Detail_Brouillard"), period_(edition.selection),
      line_(edition, steps_, PieceSide::left), end_count_(period_, steps_) {}

void AccountDetail::Imprime_Detail(std::size_t position) {
    LedgerFiles& files = edition_.files;
    print_key({edition_.W_ListeBalance, balance_file(edition_), files.R_BALANCEGENE, entry_file(edition_),
               files.R_DETAILECRITUREGENE, false},
              position);
}

void AccountDetail::Imprime_Tempo(std::size_t position) {
    LedgerFiles& files = edition_.files;
    print_key({edition_.W_ListeBalanceTempo, *files.F_BALANCEGENETEMPO, files.R_BALANCEGENETEMPO,
               *files.F_DETAILECRITUREGENETEMPO, files.R_DETAILECRITUREGENETEMPO, true},
              position);
}

void AccountDetail::print_key(const Source& source, std::size_t position) {
    state_.W_TotalCompte = false;
    opened_in_call_ = false;
    state_.W_MaxLignes = 30;
    line_.start_key();
    source.balances.DBRead(source.keys(position, 1), source.balance);
    end_count_.start_record();
    const std::size_t entries = source.balance.DCount(balance::ENTRIES);
    for (std::size_t index = 1; index <= entries; ++index)
        print_entry(source, index);
    line_.print_held();
}

void AccountDetail::print_entry(const Source& source, std::size_t index) {
    if (!edition_.progress.set_progress(++progress_))
        throw StepFailure(ERR_PROPERTY, "la barre de progression refuse sa valeur", source.balance.key());
    bool in_range = false;
    steps_.run(source.balance.key(),
               [&] { in_range = period_.contains(source.balance(balance::DATES, index)); });
    if (!in_range) return;
    const std::string_view entry_key = source.balance(balance::ENTRIES, index);
    source.entries.DBRead(entry_key, source.entry);
    if (!source.drafts && !stays_unlettered(edition_.selection, source.entry)) return;
    check_page();
    check_account(source);
    line_.print(source.entry, entry_key, index, [&] {
        state_.W_NbEcrituresFin = end_count_.of(source.balance);
        return state_.W_NbEcrituresFin;
    });
}

void AccountDetail::turn_page() {
    edition_.surface.NewPage();
    Entete_Page(edition_);
}

// Nothing to close, and nothing to continue, when the page is full at the first entry behind a closed block.
void AccountDetail::check_page() {
    if (!page_full()) return;
    if (!state_.W_TableauClos) Imprime_Fin_Tableau(edition_);
    turn_page();
    if (!state_.W_TableauFerme) print_continuation_title(edition_);
}

void AccountDetail::check_account(const Source& source) {
    const std::string_view account = source.entry(entry::ACCOUNT_KEY);
    if (state_.W_CompteCourant == account) {
        if (!source.drafts) state_.W_RuptureCompte = false;
        return;
    }
    if (opened_in_call_) {
        state_.W_TotalCompte = true;
        Imprime_Fin_Tableau(edition_);
        state_.W_RuptureCompte = true;
    }
    if ((edition_.selection.page_per_account && opened_in_call_) || page_full()) turn_page();
    state_.W_CompteCourant.assign(account);
    print_account_title(edition_, [&] {
        edition_.files.F_PLANCOMPTABLE->DBRead(state_.W_CompteCourant, edition_.files.R_PLANCOMPTABLE);
    });
    opened_in_call_ = true;
    state_.W_CompteOuvert = true;
}

} // namespace corvalissement
