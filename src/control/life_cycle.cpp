// The control's outer shell: start and end, the user's rights, which fields are open in which state, popup
// help and output form.
#include "control/ctr_corvalissement.h"
#include "control/inventory.h"
#include "data/keys.h"
#include "data/procedure.h"

#include <algorithm>
#include <array>

namespace corvalissement {

namespace {

template <std::size_t N>
bool holds(const std::array<std::string_view, N>& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

// Open at the start; open while a range is edited; closed while none is.
constexpr std::array<std::string_view, 4> OPEN_AT_START = {"Etq_Entite", "Txt_Entite", "Cmd_Sortir",
                                                           "Cbo_Entite"};
constexpr std::array<std::string_view, 7> OPEN_IN_LINE = {
    "Txt_CpteDe", "Txt_CpteA", "Cdr_Select", "Cbo_CpteDe", "Cbo_CpteA", "Cmd_Annuler", "Cmd_OK"};
constexpr std::array<std::string_view, 7> CLOSED_IN_DETAIL = {
    "Txt_CpteDe", "Txt_CpteA", "Cbo_CpteDe", "Cbo_CpteA", "Cmd_Annuler", "Cmd_Supprimer", "Cmd_OK"};

constexpr std::array<std::string_view, 8> PARAMETERS = {"Etq_Exer",     "Cbo_Exer",    "Etq_DateDeb",
                                                        "Txt_DateDeb",  "Etq_DateFin", "Txt_DateFin",
                                                        "Etq_EditCpte", "Cbo_EditCpte"};
constexpr std::array<std::string_view, 10> OPTIONS = {"Cdr_Option",           "Cac_HorsCpteSolde",
                                                      "Cac_EcrNonLettre",     "Cac_CumulAnt",
                                                      "Cac_RupturePage",      "Cac_PriseCpteBrouillard",
                                                      "Cdr_EditionForme",     "Opt_Liste",
                                                      "Opt_FichierGraphique", "Cmd_Imprimer"};
constexpr std::array<std::string_view, 13> SELECTION = {
    "Cdr_Select", "Etq_De",    "Etq_A",       "Lst_De",        "Lst_A",  "Txt_CpteDe", "Cbo_CpteDe",
    "Txt_CpteA",  "Cbo_CpteA", "Cmd_Ajouter", "Cmd_Supprimer", "Cmd_OK", "Cmd_Annuler"};

constexpr int BUTTON_RIGHT = 2;

} // namespace

Ctr_Corvalissement::Ctr_Corvalissement(HostServices& host)
    : View(host, "Ctr_Corvalissement", "Edition du grand livre général", CONTROL_WIDTH, CONTROL_HEIGHT,
           control_inventory()),
      util_(host), Txt_Entite(field<TextField>("Txt_Entite")), Cbo_Entite(field<ComboField>("Cbo_Entite")),
      Etq_Exer(field<Field>("Etq_Exer")), Cbo_Exer(field<ComboField>("Cbo_Exer")),
      Etq_DateDeb(field<Field>("Etq_DateDeb")), Txt_DateDeb(field<TextField>("Txt_DateDeb")),
      Etq_DateFin(field<Field>("Etq_DateFin")), Txt_DateFin(field<TextField>("Txt_DateFin")),
      Cbo_EditCpte(field<ComboField>("Cbo_EditCpte")), Lst_De(field<ListField>("Lst_De")),
      Lst_A(field<ListField>("Lst_A")), Txt_CpteDe(field<TextField>("Txt_CpteDe")),
      Cbo_CpteDe(field<ComboField>("Cbo_CpteDe")), Txt_CpteA(field<TextField>("Txt_CpteA")),
      Cbo_CpteA(field<ComboField>("Cbo_CpteA")), Cmd_Ajouter(field<Field>("Cmd_Ajouter")),
      Cmd_Supprimer(field<Field>("Cmd_Supprimer")), Cmd_OK(field<Field>("Cmd_OK")),
      Cmd_Annuler(field<Field>("Cmd_Annuler")), Cac_HorsCpteSolde(field<CheckBoxField>("Cac_HorsCpteSolde")),
      Cac_EcrNonLettre(field<CheckBoxField>("Cac_EcrNonLettre")),
      Cac_CumulAnt(field<CheckBoxField>("Cac_CumulAnt")),
      Cac_RupturePage(field<CheckBoxField>("Cac_RupturePage")),
      Cac_PriseCpteBrouillard(field<CheckBoxField>("Cac_PriseCpteBrouillard")),
      Opt_Liste(field<OptionField>("Opt_Liste")),
      Opt_FichierGraphique(field<OptionField>("Opt_FichierGraphique")),
      Pgr_ProgressBar(field<ProgressBarField>("Pgr_ProgressBar")), Cmd_Imprimer(field<Field>("Cmd_Imprimer")),
      Cmd_Sortir(field<Field>("Cmd_Sortir")), mnu_Aide(field<Field>("mnu_Aide")),
      Mnu_Sommaire(field<Field>("Mnu_Sommaire")),
      account_de_(*this, variable_,
                  {Txt_CpteDe, Cbo_CpteDe, Txt_Entite, Cbo_Exer, Cbo_EditCpte, W_SansControleClasse},
                  "Recherche_Code_Compte_De"),
      account_a_(*this, variable_,
                 {Txt_CpteA, Cbo_CpteA, Txt_Entite, Cbo_Exer, Cbo_EditCpte, W_SansControleClasse},
                 "Recherche_Code_Compte_A") {
    bind_events();
}

void Ctr_Corvalissement::bind_events() {
    Txt_Entite.KeyPress = [this](int& key) { Txt_Entite_KeyPress(key); };
    Txt_Entite.LostFocus = [this] { Txt_Entite_LostFocus(); };
    Txt_Entite.Change = [this] { Txt_Entite_Change(); };
    Cbo_Entite.KeyPress = [this](int& key) { Cbo_Entite_KeyPress(key); };
    Cbo_Entite.Click = [this] { Cbo_Entite_Click(); };
    Cbo_Entite.Change = [this] { Cbo_Entite_Change(); };
    Cbo_Exer.Click = [this] { Cbo_Exer_Click(); };
    for (TextField* date : {&Txt_DateDeb, &Txt_DateFin}) {
        date->KeyPress = [](int& key) { Txt_Date_KeyPress(key); };
        date->LostFocus = [this, date] { Txt_Date_LostFocus(*date); };
    }
    Cbo_EditCpte.Click = [this] { Cbo_EditCpte_Click(); };
    account_de_.bind();
    account_a_.bind();
    Lst_De.Click = [this] { Lst_A.set_list_index(Lst_De.list_index()); };
    Lst_A.Click = [this] { Lst_De.set_list_index(Lst_A.list_index()); };
    Lst_De.DblClick = [this] { Lst_DblClick(); };
    Lst_A.DblClick = [this] { Lst_DblClick(); };
    Cmd_Ajouter.Click = [this] { Cmd_Ajouter_Click(); };
    Cmd_Supprimer.Click = [this] { Cmd_Supprimer_Click(); };
    Cmd_OK.Click = [this] { Cmd_OK_Click(); };
    Cmd_Annuler.Click = [this] { Cmd_Annuler_Click(); };
    Opt_Liste.Click = [this] { Opt_Liste_Click(); };
    Opt_FichierGraphique.Click = [this] { Opt_FichierGraphique_Click(); };
    Cmd_Imprimer.Click = [this] { Cmd_Imprimer_Click(); };
    Cmd_Sortir.Click = [this] { Cmd_Sortir_Click(); };
    Mnu_Sommaire.Click = [this] { Mnu_Sommaire_Click(); };
    // The three surfaces that show the popup help: Cdr_Option, Cdr_Select and the background.
    find("Cdr_Option")->MouseDown = [this](int button) { Cadre_MouseDown(button); };
    find("Cdr_Select")->MouseDown = [this](int button) { Cadre_MouseDown(button); };
    MouseDown = [this](int button) { Cadre_MouseDown(button); };
}

void Ctr_Corvalissement::set_DroitsUtilisateur(std::shared_ptr<UserRights> rights) {
    W_Droits = std::move(rights);
    if (!W_Droits) throw StepFailure(ERR_OTHER, "aucun objet de droits n'a été donné");
    W_DroitEdition = W_Droits->DroitSur(RIGHT_EDITION);
}

void Ctr_Corvalissement::set_TheClient(std::shared_ptr<TarvexClient> client) {
    variable_.TheClient = std::move(client);
}

void Ctr_Corvalissement::set_TheDatabase(std::shared_ptr<TarvexSession> session) {
    variable_.TheDatabase = std::move(session);
}

void Ctr_Corvalissement::Init() {
    BusyBracket busy(*this);
    W_ModeAjout = false;
    Procedure::Proc_OuvreFichiers(variable_);
    ProfilUser();
    Masquer_Depart();
    Remplir_Combo_Entite();
    Opt_Liste.choose();
    busy.end();
    if (Txt_Entite.text().empty() && Txt_Entite.enabled())
        set_focus(Txt_Entite);
    else
        set_focus(Cbo_Exer);
}

void Ctr_Corvalissement::ProfilUser() {
    if (!W_DroitEdition) throw StepFailure(ERR_OTHER, "les droits de l'utilisateur n'ont pas été donnés");
    if (W_DroitEdition->Niveau() == LEVEL_EDITION) return;
    for (Field* button : {&Cmd_Imprimer, &Cmd_OK, &Cmd_Ajouter, &Cmd_Supprimer})
        button->set_visible(false);
}

void Ctr_Corvalissement::Masquer_Depart() {
    for (const auto& item : Controls())
        item->set_enabled(holds(OPEN_AT_START, item->name()));
}

void Ctr_Corvalissement::Affiche_Detail() {
    for (const auto& item : Controls())
        item->set_enabled(true);
    Masquer();
    Cbo_EditCpte.set_list_index(0);
}

void Ctr_Corvalissement::Afficher() {
    for (const auto& item : Controls())
        item->set_enabled(holds(OPEN_IN_LINE, item->name()));
}

void Ctr_Corvalissement::Masquer() {
    for (const auto& item : Controls())
        item->set_enabled(!holds(CLOSED_IN_DETAIL, item->name()));
    Cac_CumulAnt.set_enabled(Cbo_Exer.text() == exercice::SUIVANT);
    Cac_PriseCpteBrouillard.set_enabled(Cbo_Exer.text() != exercice::PRECEDENT);
}

void Ctr_Corvalissement::Masquer_Parametres() {
    for (const std::string_view name : PARAMETERS)
        find(name)->set_enabled(false);
    Masquer_Selection();
    for (const std::string_view name : OPTIONS)
        find(name)->set_enabled(false);
}

void Ctr_Corvalissement::Masquer_Selection() {
    for (const std::string_view name : SELECTION)
        find(name)->set_enabled(false);
}

// The walks over the fields disable the two entries, so they are enabled just before the menu pops up.
void Ctr_Corvalissement::Cadre_MouseDown(int button) {
    if (button != BUTTON_RIGHT) return;
    mnu_Aide.set_enabled(true);
    Mnu_Sommaire.set_enabled(true);
    host().popup_menu(mnu_Aide);
}

void Ctr_Corvalissement::Mnu_Sommaire_Click() {
    help_.AideClient(variable_.TheClient);
    help_.AideBase(variable_.TheDatabase);
    help_.AidePage(host(), "Corvalissement.htm", "P", "Edition du grand livre général");
}

void Ctr_Corvalissement::Opt_Liste_Click() {
    const bool chosen = Opt_Liste.chosen();
    if (!chosen) Cac_RupturePage.set_value(0);
    Cac_RupturePage.set_enabled(chosen);
}

void Ctr_Corvalissement::Opt_FichierGraphique_Click() {
    const bool chosen = Opt_FichierGraphique.chosen();
    if (chosen) Cac_RupturePage.set_value(0);
    Cac_RupturePage.set_enabled(!chosen);
}

void Ctr_Corvalissement::leave() {
    W_Sortir = -1;
    host().unload_form_of(*this);
}

void Ctr_Corvalissement::Cmd_Sortir_Click() { leave(); }

void Ctr_Corvalissement::UserControl_Terminate() {
    W_DroitEdition.reset();
    W_Droits.reset();
    W_ListeEntite = DynArray();
    account_de_.release();
    account_a_.release();
    W_ListeBalance = DynArray();
    W_ListeBalanceTempo = DynArray();
    Procedure::Proc_FermeFichiers(variable_);
}

void Ctr_Corvalissement::show_progress(bool visible) { Pgr_ProgressBar.set_visible(visible); }
bool Ctr_Corvalissement::set_progress_max(long max) { return Pgr_ProgressBar.set_max(max); }
bool Ctr_Corvalissement::set_progress(long value) { return Pgr_ProgressBar.set_value(value); }

} // namespace corvalissement
