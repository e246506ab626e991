// The print request: from the selection on the screen to an edition.
#include "control/ctr_corvalissement.h"
#include "data/keys.h"
#include "launch/ledger_query.h"
#include "launch/routing.h"
#include "launch/temporary_files.h"

namespace corvalissement {

// An edition with earlier cumuls starts on the first day of year N + 1; what lies before comes from the
// query, which then has no year clause.
void Ctr_Corvalissement::move_start_date() {
    if (Cac_CumulAnt.value() != 1) return;
    const std::string_view first_day = variable_.Files.R_PARAMENTITECOMPTA(parament::FIRST_DAY_N1);
    if (util_.TexteVersDate(Txt_DateDeb.text()) == first_day) return;
    Txt_DateDeb.set_text(util_.DateVersTexte(first_day));
    W_Sortir = -1;
}

// Internal dates are compared as texts: those of the running years have the same number of digits.
bool Ctr_Corvalissement::dates_agree() {
    const auto refuse = [&](std::string_view text, TextField& date) {
        message(host(), text);
        set_focus(date);
        return false;
    };
    const std::string start = util_.TexteVersDate(Txt_DateDeb.text());
    const std::string end = util_.TexteVersDate(Txt_DateFin.text());
    if (start > end)
        return refuse("La date de début ne peut pas être supérieure à la date de fin.", Txt_DateFin);
    if (start < util_.TexteVersDate(W_DebExercice))
        return refuse("La date de début ne peut pas être antérieure à la date de début d'exercice.",
                      Txt_DateDeb);
    if (end > util_.TexteVersDate(W_FinExercice))
        return refuse("La date de fin ne peut pas être postérieure à la date de fin d'exercice.",
                      Txt_DateFin);
    return true;
}

Selection Ctr_Corvalissement::read_selection() const {
    Selection selection;
    selection.entity = Txt_Entite.text();
    selection.entity_name = Cbo_Entite.text();
    selection.exercice = Cbo_Exer.text();
    selection.start_date = Txt_DateDeb.text();
    selection.end_date = Txt_DateFin.text();
    const int account_class = Cbo_EditCpte.list_index();
    if (account_class == 1) selection.account_class = AccountClass::fournisseurs;
    if (account_class == 2) selection.account_class = AccountClass::clients;
    for (int r = 0; r < Lst_De.list_count(); ++r)
        selection.ranges.emplace_back(Lst_De.row(r), Lst_A.row(r));
    selection.only_unsettled = Cac_HorsCpteSolde.value() == 1;
    selection.only_unlettered = Cac_EcrNonLettre.value() == 1;
    selection.with_earlier = Cac_CumulAnt.value() == 1;
    selection.page_per_account = Cac_RupturePage.value() == 1;
    selection.with_drafts = Cac_PriseCpteBrouillard.value() == 1;
    selection.as_list = Opt_Liste.chosen();
    return selection;
}

void Ctr_Corvalissement::Cmd_Imprimer_Click() {
    print_state_.reset_for_request();
    move_start_date();
    if (!dates_agree()) return;
    const Selection selection = read_selection();
    const QueryText query = ledger_query(selection);
    std::string work;
    W_ListeBalance = variable_.TheDatabase->DBSelect(query_request(query.query, query.file, "0"), "", work);
    if (selection.with_drafts) {
        print_with_drafts(selection);
        return;
    }
    if (W_ListeBalance(1).empty()) {
        message(host(), "Aucun compte ne correspond aux critères sélectionnés.", KIND_INFORMATION);
        return;
    }
    run_edition(selection);
    leave();
}

void Ctr_Corvalissement::print_with_drafts(const Selection& selection) {
    Vider_Fichier_TEMPO(*variable_.TheDatabase);
    {
        BusyBracket busy(*this);
        variable_.G_Entite = Txt_Entite.text();
        dialog_ = std::make_unique<Frm_AffectCompta>(host(), variable_);
        dialog_->set_entity_caption(Txt_Entite.text() + " " + Cbo_Entite.text());
        dialog_->Form_Load();
        busy.end();
    }
    host().show_modal(*dialog_);
    dialog_.reset();
    // The query runs in every case, also when the dialog was left without an assignment.
    W_ListeBalanceTempo = Requete_BALANCEGENETEMPO(*variable_.TheDatabase, selection);
    if (variable_.G_Abandon != 0) return;
    run_edition(selection);
    Vider_Fichier_TEMPO(*variable_.TheDatabase);
    leave();
}

void Ctr_Corvalissement::run_edition(const Selection& selection) {
    const EditionJob job{.selection = selection,
                         .W_ListeBalance = W_ListeBalance,
                         .W_ListeBalanceTempo = W_ListeBalanceTempo,
                         .files = variable_.Files,
                         .session = *variable_.TheDatabase,
                         .state = print_state_,
                         .progress = *this,
                         .failures = host().skipped_failures(),
                         .today = host().today(),
                         .routine = "Imprime"};
    Imprime(job, *this, util_, variable_.G_Imprimante);
}

} // namespace corvalissement
