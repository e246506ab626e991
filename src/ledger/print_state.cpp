#include "ledger/print_state.h"

namespace corvalissement {

void PrintState::reset_for_request() {
    W_LibellePrec.clear();
    W_PiecePrec.clear();
    W_JournalPrec.clear();
    W_DatePrec.clear();
    W_SensPrec.clear();
    W_LignePrec = 0;
    W_TotQuantite = 0;
    W_TotDebit = 0;
    W_TotCredit = 0;
    W_TotSolde = 0;
    W_PageCompte = 1;
    W_PageTotal = false;
    W_TableauFerme = false;
}

} // namespace corvalissement
