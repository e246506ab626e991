// The pass that prints the validated ledger and the draft entries together, account by account.
#pragma once

#include "ledger/edition.h"

namespace corvalissement {

// Walks W_ListeBalance and W_ListeBalanceTempo together by account number. An account with both kinds of
// entries is one block with one running balance; each block is closed right after its account. A failing
// step ends the pass: the failure reaches the caller with its record, and the block that was open keeps
// neither frame nor total. Imprime calls it after the first Entete_Page.
// REQUIRES that W_ListeBalance is not empty.
void Impression_Detail_Brouillard(Edition& edition);

} // namespace corvalissement
