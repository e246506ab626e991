// What an edition needs of the user's choices, read once when the print request has passed its checks. The
// passes see this value and never a field, so that an edition with no view runs on the same code.
#pragma once

#include "data/keys.h"

#include <string>
#include <utility>
#include <vector>

namespace corvalissement {

// List indexes of Cbo_EditCpte.
enum class AccountClass : int { globale = 0, fournisseurs = 1, clients = 2 };

struct Selection {
    std::string entity;      // text of Txt_Entite, 3 characters
    std::string entity_name; // text of Cbo_Entite, for the document's title only
    std::string exercice;    // text of Cbo_Exer: "N - 1", "N", "N + 1", or what was typed there
    std::string start_date;  // text of Txt_DateDeb
    std::string end_date;    // text of Txt_DateFin
    AccountClass account_class = AccountClass::globale;
    // Rows of Lst_De and Lst_A: 10 characters of account number, a blank, the label.
    std::vector<std::pair<std::string, std::string>> ranges;
    bool only_unsettled = false;   // Cac_HorsCpteSolde
    bool only_unlettered = false;  // Cac_EcrNonLettre
    bool with_earlier = false;     // Cac_CumulAnt
    bool page_per_account = false; // Cac_RupturePage
    bool with_drafts = false;      // Cac_PriseCpteBrouillard
    bool as_list = true;           // Opt_Liste; otherwise a graphic file

    [[nodiscard]] bool archived() const { return exercice == exercice::PRECEDENT; }
};

} // namespace corvalissement
