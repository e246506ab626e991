// The class of accounts and the list of account ranges, with its editing line.
#include "control/ctr_corvalissement.h"
#include "platform/text.h"

namespace corvalissement {

namespace {

constexpr std::size_t ROW_LABEL_POSITION = 12; // behind the number and one blank

std::string range_row(const TextField& number, const ComboField& label) {
    return number.text() + " " + label.text();
}

} // namespace

void Ctr_Corvalissement::Cbo_EditCpte_Click() {
    const int index = Cbo_EditCpte.list_index();
    Cac_CumulAnt.set_enabled((index == 1 || index == 2) && Cbo_Exer.list_index() == 2);
}

void Ctr_Corvalissement::Cmd_Ajouter_Click() {
    W_ModeAjout = true;
    Afficher();
    Cmd_Supprimer.set_enabled(false);
    set_focus(Txt_CpteDe);
}

void Ctr_Corvalissement::Lst_DblClick() {
    Afficher_Article_Dans_Zone_Texte();
    Afficher();
    Cmd_Supprimer.set_enabled(true);
    set_focus(Cmd_OK);
}

void Ctr_Corvalissement::Afficher_Article_Dans_Zone_Texte() {
    const std::string from(Lst_De.row(Lst_De.list_index()));
    Txt_CpteDe.set_text(std::string(chars(from, 1, 10)));
    Cbo_CpteDe.set_text(std::string(chars_from(from, ROW_LABEL_POSITION)));
    const std::string to(Lst_A.row(Lst_A.list_index()));
    Txt_CpteA.set_text(std::string(chars(to, 1, 10)));
    Cbo_CpteA.set_text(std::string(chars_from(to, ROW_LABEL_POSITION)));
}

void Ctr_Corvalissement::Test() {
    W_ErreurTest = 1;
    if (Txt_CpteDe.text().empty()) {
        message(host(), "Le compte de début de sélection est obligatoire.", KIND_INFORMATION);
        set_focus(Txt_CpteDe);
    } else if (Txt_CpteA.text().empty()) {
        message(host(), "Le compte de fin de sélection est obligatoire.", KIND_INFORMATION);
        set_focus(Txt_CpteA);
    } else if (Txt_CpteDe.text() > Txt_CpteA.text()) {
        message(host(), "Le compte de début de sélection doit être inférieur au compte de fin de sélection.",
                KIND_INFORMATION);
        Txt_CpteA.clear();
        set_focus(Txt_CpteA);
    } else {
        W_ErreurTest = 0;
    }
}

void Ctr_Corvalissement::Cmd_OK_Click() {
    Test();
    if (W_ErreurTest == 1) {
        W_ErreurTest = 0;
        return;
    }
    BusyBracket busy(*this);
    std::string from = range_row(Txt_CpteDe, Cbo_CpteDe);
    std::string to = range_row(Txt_CpteA, Cbo_CpteA);
    if (W_ModeAjout) {
        Lst_De.add_row(std::move(from));
        Lst_A.add_row(std::move(to));
        W_ModeAjout = false;
    } else {
        Lst_De.set_row(Lst_De.list_index(), std::move(from));
        Lst_A.set_row(Lst_A.list_index(), std::move(to));
    }
    Lst_De.set_list_index(-1);
    Zones_Texte_A_Blanc();
    Masquer();
    busy.end();
}

void Ctr_Corvalissement::Cmd_Annuler_Click() {
    Zones_Texte_A_Blanc();
    Lst_De.set_list_index(-1);
    W_ModeAjout = false;
    Masquer();
}

void Ctr_Corvalissement::Cmd_Supprimer_Click() {
    host().beep();
    if (message(host(), "Etes-vous sûr de vouloir supprimer cette ligne ?", KIND_QUESTION) == ANSWER_YES) {
        const int current = Lst_A.list_index();
        Lst_De.remove_row(Lst_De.list_index());
        Lst_A.remove_row(current);
    }
    Zones_Texte_A_Blanc();
    Lst_De.set_list_index(-1);
    Masquer();
}

void Ctr_Corvalissement::Zones_Texte_A_Blanc() {
    Txt_CpteDe.clear();
    Cbo_CpteDe.clear();
    Txt_CpteA.clear();
    Cbo_CpteA.clear();
}

} // namespace corvalissement
