#include "ledger/entry_walk.h"

#include "data/keys.h"
#include "ledger/page_frame.h"

namespace corvalissement {

WalkSource ledger_source(Edition& edition) {
    LedgerFiles& files = edition.files;
    const bool archived = edition.selection.archived();
    return {archived ? *files.F_BALANCEGENEARCHIVE : *files.F_BALANCEGENE, files.R_BALANCEGENE,
            archived ? *files.F_DETAILECRITUREGENEARCHIVE : *files.F_DETAILECRITUREGENE,
            files.R_DETAILECRITUREGENE, false};
}

WalkSource draft_source(Edition& edition) {
    LedgerFiles& files = edition.files;
    return {*files.F_BALANCEGENETEMPO, files.R_BALANCEGENETEMPO, *files.F_DETAILECRITUREGENETEMPO,
            files.R_DETAILECRITUREGENETEMPO, true};
}

void EntryWalk::print_key(const WalkSource& source, std::string_view key) {
    line_.start_key();
    if (!steps_.run(key, [&] { source.balances.DBRead(key, source.balance); })) return;
    end_count_.start_record();
    const std::size_t entries = source.balance.DCount(balance::ENTRIES);
    for (std::size_t index = 1; index <= entries; ++index)
        print_entry(source, index);
    line_.print_held();
}

void EntryWalk::print_entry(const WalkSource& source, std::size_t index) {
    if (!edition_.progress.set_progress(++progress_) && steps_.end_pass())
        throw StepFailure(ERR_PROPERTY, "la barre de progression refuse sa valeur", source.balance.key());
    // A test that fails and is skipped counts as passed: the entry then speaks for itself.
    bool in_range = true;
    steps_.run(source.balance.key(),
               [&] { in_range = period_.contains(source.balance(balance::DATES, index)); });
    if (!in_range) return;
    const std::string_view entry_key = source.balance(balance::ENTRIES, index);
    if (!steps_.run(entry_key, [&] { source.entries.DBRead(entry_key, source.entry); })) return;
    if (!source.drafts && !stays_unlettered(edition_.selection, source.entry)) return;
    check_page();
    check_account(source);
    line_.print(source.entry, entry_key, index, [&] {
        state_.W_NbEcrituresFin = end_count_.of(source.balance);
        return state_.W_NbEcrituresFin;
    });
}

void EntryWalk::turn_page() {
    steps_.run("", [&] { edition_.sink.new_page(); });
    steps_.run(edition_.selection.entity, [&] { Entete_Page(edition_); });
}

// Made before the account check, so that it still sees the previous account when the entry opens a new one.
// In the merged pass there is nothing to close, and nothing to continue, when the page is full at the first
// entry behind a closed block.
void EntryWalk::check_page() {
    if (!page_full()) return;
    const bool merged = steps_.end_pass();
    if (!merged || !state_.W_TableauClos) steps_.run("", [&] { Imprime_Fin_Tableau(edition_); });
    turn_page();
    if (!merged || !state_.W_TableauFerme) steps_.run("", [&] { print_continuation_title(); });
}

void EntryWalk::check_account(const WalkSource& source) {
    const std::string_view account = source.entry(entry::ACCOUNT_KEY);
    if (state_.W_CompteCourant == account) {
        if (!source.drafts) state_.W_RuptureCompte = false;
        return;
    }
    if (opened_) {
        state_.W_TotalCompte = true;
        steps_.run("", [&] { Imprime_Fin_Tableau(edition_); });
        state_.W_RuptureCompte = true;
    }
    if ((edition_.selection.page_per_account && opened_) || page_full()) turn_page();
    state_.W_CompteCourant.assign(account);
    steps_.run(state_.W_CompteCourant, [&] { print_title(); });
    opened_ = true;
    state_.W_CompteOuvert = true;
}

// The number is on paper before the chart record is read.
void EntryWalk::print_title() {
    const std::string_view number = AccountKey::of(state_.W_CompteCourant).number;
    edition_.sink.begin_account(number);
    read_chart();
    edition_.sink.name_account(number, edition_.files.R_PLANCOMPTABLE(plan::LABEL));
    state_.W_PageCompte = 1;
    count_title_rows();
}

void EntryWalk::print_continuation_title() {
    edition_.sink.begin_account(AccountKey::of(state_.W_CompteCourant).number);
    ++state_.W_PageCompte;
    edition_.sink.continue_account(edition_.files.R_PLANCOMPTABLE(plan::LABEL), state_.W_PageCompte);
    count_title_rows();
}

void EntryWalk::count_title_rows() {
    state_.W_NbLignes += 3;
    state_.W_LignesTableau += 3;
    Imprime_Tableau_Compte(edition_);
}

// A pass that goes on without the record has a blank label, here and in the continuation titles.
void EntryWalk::read_chart() {
    TarvexRecord& chart = edition_.files.R_PLANCOMPTABLE;
    if (!steps_.run(state_.W_CompteCourant,
                    [&] { edition_.files.F_PLANCOMPTABLE->DBRead(state_.W_CompteCourant, chart); }))
        chart.set_text("");
}

} // namespace corvalissement
