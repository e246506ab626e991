// The print state that the page frame, the entry line and the passes share without passing arguments. Its
// members carry the names of the system's vocabulary. Booleans stand for its 16-bit -1 and 0. Amounts are
// whole hundredths in doubles, exact far beyond what fits on paper.
#pragma once

#include <cstdint>
#include <string>

namespace corvalissement {

struct PrintState {
    long W_NumPage = 0;          // page of the edition; Entete_Page adds 1 before it prints it
    int W_NbLignes = 0;          // lines counted on this page, set to 0 by Entete_Page
    int W_MaxLignes = 30;        // full when W_NbLignes is GREATER: 31 counted lines fit
    int W_LignesTableau = 0;     // rows of text in that block, at 0.39 cm each
    bool W_TotalCompte = false;  // set just before Imprime_Fin_Tableau when a TOTAL COMPTE is due
    bool W_TableauFerme = false; // the last Imprime_Fin_Tableau printed a TOTAL COMPTE
    bool W_PageTotal = false;    // the closing page is being printed
    long W_PageCompte = 1;       // page within the account; 1 when it opens

    // Accumulators of the open account and of the edition.
    double W_CptQuantite = 0;
    double W_CptDebit = 0;
    double W_CptCredit = 0;
    double W_CptSolde = 0;
    double W_TotQuantite = 0;
    double W_TotDebit = 0;
    double W_TotCredit = 0;
    double W_TotSolde = 0;

    bool W_RuptureCompte = false;     // this entry opened an account after another one
    std::string W_CompteCourant;      // account key of the open account
    bool W_CompteOuvert = false;      // an account has been opened in the routine at work
    bool W_TableauClos = false;       // the merged pass has closed the block
    std::size_t W_NbEcrituresFin = 0; // count of the end-of-range test

    // The previous entry of classes 6 and 7, for merging only.
    std::string W_PiecePrec;
    std::string W_JournalPrec;
    std::string W_LibellePrec; // raw, the whole label
    std::string W_DatePrec;    // raw internal date
    std::string W_SensPrec;    // "DEBIT", "CREDIT" or ""
    std::int16_t W_LignePrec = 0;

    // What every print request sets anew; page count, block and account state are the passes' business.
    void reset_for_request();
};

} // namespace corvalissement
