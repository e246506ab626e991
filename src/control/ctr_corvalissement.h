// Ctr_Corvalissement: the control that a host application places on a form of its own to edit the general
// ledger of a legal entity.
//
// A host uses it so: set the rights, the client and the session (in this order, rights before Init), call
// Init, let the user's gestures reach the fields (host/gestures.h), and read W_Sortir when it wants to know
// whether the control is finished with. One control serves one edition: when the edition has run, the
// control asks the host to unload the form that holds it, and the host then calls UserControl_Terminate.
//
// Routines carry the names of the system: a field's name, an underscore, the event. What a routine writes
// into a field runs that field's routine at once, before the next statement. One thread.
#pragma once

#include "control/account_search.h"
#include "data/rights.h"
#include "data/util_object.h"
#include "data/variable.h"
#include "drafts/frm_affect_compta.h"
#include "ledger/print_state.h"
#include "ledger/selection.h"
#include "platform/progress.h"
#include "platform/view.h"

#include <cstdint>
#include <memory>
#include <string>

namespace corvalissement {

class Ctr_Corvalissement final : public View, private ProgressSink {
public:
    explicit Ctr_Corvalissement(HostServices& host);

    // Set by the host, before Init. The rights are asked at once for the right of this edition.
    void set_DroitsUtilisateur(std::shared_ptr<UserRights> rights);
    void set_TheClient(std::shared_ptr<TarvexClient> client);
    void set_TheDatabase(std::shared_ptr<TarvexSession> session);

    // Opens the files, applies the rights, puts the fields in their start state, fills the entity combo. A
    // failure reaches the host.
    void Init();

    // The control is finished with (-1). The host may write it too.
    std::int16_t W_Sortir = 0;

    // Called by the host when the view goes: releases the lists, the slots, the files and the session.
    void UserControl_Terminate();

private:
    void bind_events();

    // Life cycle and field states.
    void ProfilUser();
    void Masquer_Depart();
    void Affiche_Detail();
    void Afficher();
    void Masquer();
    void Masquer_Parametres();
    void Masquer_Selection();
    void Cadre_MouseDown(int button);
    void Mnu_Sommaire_Click();
    void Opt_Liste_Click();
    void Opt_FichierGraphique_Click();
    void Cmd_Sortir_Click();

    // Legal entity.
    void Remplir_Combo_Entite();
    void Txt_Entite_KeyPress(int key);
    void Txt_Entite_LostFocus();
    void Txt_Entite_Change();
    void Cbo_Entite_KeyPress(int& key);
    void Cbo_Entite_Click();
    void Cbo_Entite_Change();
    void search_entity();

    // Fiscal year and dates.
    void Cbo_Exer_Click();
    void set_year_dates(std::string_view first_day, std::string_view last_day);
    void set_previous_year_dates();
    void Txt_Date_LostFocus(TextField& date);
    static void Txt_Date_KeyPress(int& key);

    // Account class and range lists.
    void Cbo_EditCpte_Click();
    void Cmd_Ajouter_Click();
    void Lst_DblClick();
    void Cmd_OK_Click();
    void Cmd_Annuler_Click();
    void Cmd_Supprimer_Click();
    void Zones_Texte_A_Blanc();
    void Afficher_Article_Dans_Zone_Texte();
    void Test();

    // Print request.
    void Cmd_Imprimer_Click();
    void move_start_date();
    [[nodiscard]] bool dates_agree();
    [[nodiscard]] Selection read_selection() const;
    void print_with_drafts(const Selection& selection);
    void run_edition(const Selection& selection);
    void leave();

    // Pgr_ProgressBar as the passes see it.
    void show_progress(bool visible) override;
    bool set_progress_max(long max) override;
    bool set_progress(long value) override;

    UtilObject util_;
    Variable variable_;
    AideObject help_;

    // The fields that routines touch, by their names.
    TextField& Txt_Entite;
    ComboField& Cbo_Entite;
    Field& Etq_Exer;
    ComboField& Cbo_Exer;
    Field& Etq_DateDeb;
    TextField& Txt_DateDeb;
    Field& Etq_DateFin;
    TextField& Txt_DateFin;
    ComboField& Cbo_EditCpte;
    ListField& Lst_De;
    ListField& Lst_A;
    TextField& Txt_CpteDe;
    ComboField& Cbo_CpteDe;
    TextField& Txt_CpteA;
    ComboField& Cbo_CpteA;
    Field& Cmd_Ajouter;
    Field& Cmd_Supprimer;
    Field& Cmd_OK;
    Field& Cmd_Annuler;
    CheckBoxField& Cac_HorsCpteSolde;
    CheckBoxField& Cac_EcrNonLettre;
    CheckBoxField& Cac_CumulAnt;
    CheckBoxField& Cac_RupturePage;
    CheckBoxField& Cac_PriseCpteBrouillard;
    OptionField& Opt_Liste;
    OptionField& Opt_FichierGraphique;
    ProgressBarField& Pgr_ProgressBar;
    Field& Cmd_Imprimer;
    Field& Cmd_Sortir;
    Field& mnu_Aide;
    Field& Mnu_Sommaire;

    std::shared_ptr<UserRights> W_Droits;
    std::shared_ptr<UserRight> W_DroitEdition;
    DynArray W_ListeEntite;
    DynArray W_ListeBalance;
    DynArray W_ListeBalanceTempo;
    bool W_ModeAjout = false;          // the range being edited is a new one
    std::int16_t W_ErreurTest = 0;     // 1 when Test refused the editing line
    bool W_SansControleClasse = false; // a refused number suspends the class rule, for both sides
    std::string W_DebExercice;         // first and last day of the chosen year, as date texts
    std::string W_FinExercice;
    PrintState print_state_;
    std::unique_ptr<Frm_AffectCompta> dialog_;

    AccountSearch account_de_; // holds W_ListeCpteDe
    AccountSearch account_a_;  // holds W_ListeCpteA
};

} // namespace corvalissement
