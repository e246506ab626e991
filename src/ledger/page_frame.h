// The page head, the column titles and the ruled blocks of the ledger's page.
//
// The table is 27 cm wide. Its text is fixed-pitch, and its rules are drawn apart in centimetre
// coordinates, so that they fall on the blank separator positions of the entry line. Rows count 0.39 cm in
// the rules whatever the real height of a text line; at each closing the text is brought back to the rule
// through the end point of Line. None of these routines handles failures: one ends the routine.
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

} // namespace corvalissement
