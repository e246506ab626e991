// The legal entity: the code field and the label combo, which fill and empty each other.
#include "control/ctr_corvalissement.h"
#include "data/keys.h"
#include "launch/ledger_query.h"
#include "platform/text.h"

namespace corvalissement {

namespace {

constexpr std::size_t CODE_LENGTH = 3;

std::string completed(const std::string& code) {
    const std::size_t length = char_count(code);
    return std::string(length < CODE_LENGTH ? CODE_LENGTH - length : 0, '0') + code;
}

DynArray select_entities(TarvexSession& session, const std::string& query) {
    std::string work;
    return session.DBSelect(query_request(query, files::ASSOCIATION, "0 1"), "", work);
}

} // namespace

void Ctr_Corvalissement::Remplir_Combo_Entite() {
    BusyBracket busy(*this);
    Cbo_Entite.clear();
    W_ListeEntite = select_entities(*variable_.TheDatabase, "SSELECT ASSOCIATION PAR 0");
    for (std::size_t i = 1; !W_ListeEntite(i, 1).empty(); ++i)
        Cbo_Entite.add_row(std::string(W_ListeEntite(i, 2)));
    busy.end();
    if (Cbo_Entite.list_count() != 1) return;
    Txt_Entite.set_text(std::string(W_ListeEntite(1, 1)));
    Cbo_Entite.set_text(std::string(W_ListeEntite(1, 2)));
}

void Ctr_Corvalissement::Txt_Entite_KeyPress(int key) {
    if (key == KEY_ENTER) Txt_Entite.set_text(completed(Txt_Entite.text()));
}

void Ctr_Corvalissement::Txt_Entite_LostFocus() {
    if (!Txt_Entite.text().empty()) Txt_Entite.set_text(completed(Txt_Entite.text()));
}

void Ctr_Corvalissement::Txt_Entite_Change() {
    if (char_count(Txt_Entite.text()) != CODE_LENGTH) {
        Cbo_Entite.set_text("");
        Cbo_Exer.set_text("");
        Txt_DateDeb.clear();
        Txt_DateFin.clear();
        return;
    }
    SkippedFailures& place = host().skipped_failures();
    LedgerFiles& shared = variable_.Files;
    const int error = skip(
        place, "Txt_Entite_Change",
        [&] { shared.F_ASSOCIATION->DBRead(Txt_Entite.text(), shared.R_ASSOCIATION); }, ERR_NOT_FOUND);
    if (error == ERR_NOT_FOUND) {
        message(host(), "Cette entité juridique n'existe pas.");
        Txt_Entite.clear();
        set_focus(Txt_Entite);
        return;
    }
    const auto step = [&](auto&& action) { skip(place, "Txt_Entite_Change", action); };
    step([&] { Cbo_Entite.set_text(std::string(shared.R_ASSOCIATION(association::NAME, 1))); });
    // The year is chosen anew with every entity, also when its row was the current one already.
    step([&] {
        if (Cbo_Exer.list_index() == 1)
            Cbo_Exer_Click();
        else
            Cbo_Exer.set_list_index(1);
    });
    Etq_Exer.set_enabled(true);
    Cbo_Exer.set_enabled(true);
    step([&] { set_focus(Cbo_Exer); });
}

void Ctr_Corvalissement::Cbo_Entite_KeyPress(int& key) {
    if (key == KEY_ENTER)
        search_entity();
    else
        static_cast<void>(drop_accented_key(host(), key));
}

void Ctr_Corvalissement::search_entity() {
    BusyBracket busy(*this);
    const std::string begin = capitals(Cbo_Entite.text());
    W_ListeEntite = select_entities(*variable_.TheDatabase,
                                    "SSELECT ASSOCIATION AVEC 1 = " + quoted(begin + "]") + " PAR 0");
    if (W_ListeEntite.text().empty()) {
        host().beep();
        message(host(), "Aucune entité commençant par " + begin);
        busy.end();
        return;
    }
    Cbo_Entite.clear();
    Txt_Entite.clear();
    const std::size_t n = W_ListeEntite.DCount();
    if (n > 1) {
        for (std::size_t i = 1; i <= n; ++i)
            Cbo_Entite.add_row(std::string(W_ListeEntite(i, 2)));
    } else {
        Txt_Entite.set_text(std::string(W_ListeEntite(1, 1)));
        Cbo_Entite.set_text(std::string(W_ListeEntite(1, 2)));
    }
    busy.end();
}

void Ctr_Corvalissement::Cbo_Entite_Click() {
    if (Cbo_Entite.text().empty()) return;
    Txt_Entite.set_text(std::string(W_ListeEntite(static_cast<std::size_t>(Cbo_Entite.list_index() + 1), 1)));
}

void Ctr_Corvalissement::Cbo_Entite_Change() {
    if (!Cbo_Entite.text().empty()) return;
    Txt_Entite.clear();
    Masquer_Parametres();
}

} // namespace corvalissement
