// The page head, the column titles and the ruled blocks of the ledger: what they say, and what they add to
// the count of rows. What they look like is the sink's business. None of these routines handles failures: one
// ends the routine.
#pragma once

#include "ledger/edition.h"

namespace corvalissement {

// Head of a new page, ended by the column title row. Called once before the pass, then after each NewPage.
void Entete_Page(Edition& edition);

// Column titles with their box, reduced to the amounts while W_PageTotal is set.
void Imprime_Entete_Tableau(Edition& edition);

// Closes the band of an account's title.
void Imprime_Tableau_Compte(Edition& edition);

// Closes the current block, after a TOTAL COMPTE line when W_TotalCompte is set; that line rolls the
// account's sums into those of the edition.
void Imprime_Fin_Tableau(Edition& edition);

// The closing page, with the totals of the edition.
void Imprime_Page_Total(Edition& edition);

// An accumulator as the whole hundredths that a line or a total says.
[[nodiscard]] std::int64_t whole_hundredths(double accumulator) noexcept;

} // namespace corvalissement
