// The temporary ledger files, which hold the draft entries assigned to one edition. A server command fills
// them; the control only empties them and selects their keys.
#pragma once

#include "data/tarvex.h"
#include "ledger/selection.h"

namespace corvalissement {

// Empties the temporary balance, analytical balance and entry files, in this order. A failure reaches the
// caller: another edition may hold the files.
void Vider_Fichier_TEMPO(TarvexSession& session);

// The keys of the temporary balances under the criteria of the edition; whole text "" when there are none.
[[nodiscard]] DynArray Requete_BALANCEGENETEMPO(TarvexSession& session, const Selection& selection);

} // namespace corvalissement
