#include "ledger/page_frame.h"

#include "data/amounts.h"
#include "data/keys.h"
#include "data/util_object.h"

#include <span>

namespace corvalissement {

namespace {

constexpr double LEFT_CM = 0.1;
constexpr double RIGHT_CM = 27;
constexpr double TITLE_TOP_CM = 5.1;
constexpr double TITLE_TEXT_CM = 5.2;
constexpr double TITLE_BOTTOM_CM = 5.7;
constexpr double TOTAL_BOTTOM_CM = 7.1;
constexpr double ROW_CM = 0.39;
constexpr std::size_t ADDRESS_INDENT = 19; // puts the address under the entity's name

// Vertical rules in centimetres, from left to right: of an account's block, and of the closing page, whose
// wider amounts push two of them outwards. The title box draws its two edges apart.
constexpr double BLOCK_RULES[] = {0.1, 2.2, 3.1, 4.4, 10.9, 13.2, 15.8, 18.1, 20.6, 21.7, 24.2, 27};
constexpr double TOTAL_RULES[] = {0.1, 13.2, 15.8, 18.1, 20.9, 21.5, 24.2, 27};

// The column titles, each with the blanks before it.
struct ColumnTitle {
    std::size_t blanks;
    std::string_view title;
};
constexpr ColumnTitle COLUMN_TITLES[] = {{3, "DATE"},   {4, "JO"},       {2, "LIGNE"},    {13, "LIBELLE"},
                                         {15, "PIECE"}, {4, "QUANTITE"}, {4, "ECHEANCE"}, {4, "DEBIT"},
                                         {5, "LET."},   {3, "CREDIT"},   {7, "SOLDE"}};
constexpr ColumnTitle TOTAL_TITLES[] = {
    {60, ""}, {4, "QUANTITE"}, {16, "DEBIT"}, {12, "CREDIT"}, {7, "SOLDE"}};

std::string blanks(std::size_t count) { return std::string(count, ' '); }

void keep(Edition& edition, std::string_view text) { edition.surface.Print(text, LineEnd::keep); }
void end(Edition& edition, std::string_view text) { edition.surface.Print(text, LineEnd::end); }
void blank_row(Edition& edition) { end(edition, " "); }

void underlined(Edition& edition, std::string_view text) {
    edition.surface.set_FontUnderline(true);
    keep(edition, text);
    edition.surface.set_FontUnderline(false);
}

double cm(const Edition& edition, double centimetres) { return centimetres * edition.state.W_Cm; }

void vertical_rule(Edition& edition, double x_cm, double top, double bottom) {
    const double x = cm(edition, x_cm);
    edition.surface.Line(x, top, x, bottom);
}

void horizontal_rule(Edition& edition, double y) {
    edition.surface.Line(cm(edition, LEFT_CM), y, cm(edition, RIGHT_CM), y);
}

// Lower edge of the current block, worked out from its rows.
double block_bottom(const Edition& edition) {
    const PrintState& state = edition.state;
    return state.W_HautTableau + cm(edition, ROW_CM) * state.W_LignesTableau;
}

void print_address(Edition& edition, const TarvexRecord& entity) {
    keep(edition, blanks(ADDRESS_INDENT));
    std::string first;
    for (std::size_t a = association::ADDRESS_PIECE_FIRST; a <= association::ADDRESS_PIECE_LAST; ++a) {
        if (entity(a).empty()) continue;
        first += entity(a);
        first += ' ';
    }
    if (!first.empty()) {
        end(edition, first);
        keep(edition, blanks(ADDRESS_INDENT));
    }
    if (!entity(association::ADDRESS_2).empty()) {
        end(edition, entity(association::ADDRESS_2));
        keep(edition, blanks(ADDRESS_INDENT));
    }
    keep(edition, entity(association::POSTCODE));
    keep(edition, " ");
    end(edition, entity(association::TOWN));
}

void print_total_compte(Edition& edition) {
    PrintState& state = edition.state;
    blank_row(edition);
    keep(edition, blanks(21));
    edition.surface.set_FontBold(true);
    keep(edition, "TOTAL COMPTE");
    if (state.W_CptQuantite != 0) {
        keep(edition, blanks(30));
        keep(edition, amount_text(state.W_CptQuantite));
    } else {
        keep(edition, blanks(41));
    }
    keep(edition, blanks(12));
    keep(edition, amount_text(state.W_CptDebit));
    keep(edition, blanks(6));
    keep(edition, amount_text(state.W_CptCredit));
    keep(edition, blanks(1));
    end(edition, amount_text(state.W_CptSolde));
    edition.surface.set_FontBold(false);
    state.W_TableauFerme = true;

    state.W_TotQuantite += state.W_CptQuantite;
    state.W_TotDebit += state.W_CptDebit;
    state.W_TotCredit += state.W_CptCredit;
    state.W_TotSolde += state.W_CptSolde;
    state.W_CptQuantite = 0;
    state.W_CptDebit = 0;
    state.W_CptCredit = 0;
    state.W_CptSolde = 0;
    state.W_TotalCompte = false;
}

} // namespace

void Entete_Page(Edition& edition) {
    const Selection& selection = edition.selection;
    PrintSurface& surface = edition.surface;
    edition.state.W_NbLignes = 0;
    ++edition.state.W_NumPage;

    surface.set_FontUnderline(false);
    surface.set_FontName("Courier New");
    surface.set_FontSize(10);
    surface.set_CurrentX(0);
    surface.set_CurrentY(cm(edition, 0.4));
    keep(edition, "Date : ");
    keep(edition, format_date(edition.today));
    keep(edition, blanks(105));
    keep(edition, "Page : ");
    end(edition, std::to_string(edition.state.W_NumPage));
    blank_row(edition);
    surface.set_FontSize(14);
    surface.set_FontBold(true);
    end(edition, blanks(38) + "GRAND LIVRE GENERAL");
    surface.set_FontBold(false);
    surface.set_FontSize(10);
    blank_row(edition);

    edition.files.F_ASSOCIATION->DBRead(selection.entity, edition.files.R_ASSOCIATION);
    const TarvexRecord& entity = edition.files.R_ASSOCIATION;
    underlined(edition, "Entité juridique");
    keep(edition, " : ");
    end(edition, entity(association::NAME));
    print_address(edition, entity);
    blank_row(edition);

    underlined(edition, "Exercice");
    keep(edition, blanks(9) + ": ");
    keep(edition, selection.exercice);
    keep(edition, blanks(10));
    keep(edition, "Date début : ");
    keep(edition, selection.start_date);
    keep(edition, blanks(5));
    keep(edition, "Date fin : ");
    end(edition, selection.end_date);
    blank_row(edition);
    end(edition, selection.with_drafts ? "PRISE EN COMPTE DES BROUILLARDS DE SAISIE" : " ");
    Imprime_Entete_Tableau(edition);
}

void Imprime_Entete_Tableau(Edition& edition) {
    const bool totals = edition.state.W_PageTotal;
    PrintSurface& surface = edition.surface;
    surface.set_CurrentY(cm(edition, TITLE_TEXT_CM));
    const std::span<const ColumnTitle> titles =
        totals ? std::span<const ColumnTitle>(TOTAL_TITLES) : std::span<const ColumnTitle>(COLUMN_TITLES);
    for (const ColumnTitle& column : titles) {
        keep(edition, blanks(column.blanks));
        if (&column == &titles.back())
            end(edition, column.title);
        else
            keep(edition, column.title);
    }

    surface.set_DrawWidth(3);
    const double top = cm(edition, TITLE_TOP_CM);
    const double bottom = cm(edition, TITLE_BOTTOM_CM);
    horizontal_rule(edition, top);
    horizontal_rule(edition, bottom);
    vertical_rule(edition, LEFT_CM, top, bottom);
    vertical_rule(edition, RIGHT_CM, top, bottom);
    const std::span<const double> rules =
        totals ? std::span<const double>(TOTAL_RULES) : std::span<const double>(BLOCK_RULES);
    for (const double x : rules.subspan(1, rules.size() - 2))
        vertical_rule(edition, x, top, bottom);
    // The last rule ended at the box's lower edge: the text goes on one row below it.
    blank_row(edition);
    edition.state.W_HautTableau = bottom;
}

void Imprime_Tableau_Compte(Edition& edition) {
    PrintState& state = edition.state;
    const double bottom = block_bottom(edition);
    vertical_rule(edition, LEFT_CM, state.W_HautTableau, bottom);
    vertical_rule(edition, RIGHT_CM, state.W_HautTableau, bottom);
    state.W_HautTableau = edition.surface.CurrentY();
    horizontal_rule(edition, state.W_HautTableau);
    blank_row(edition);
    state.W_LignesTableau = 1; // the row just begun belongs to the block that now opens
    ++state.W_NbLignes;
}

void Imprime_Fin_Tableau(Edition& edition) {
    PrintState& state = edition.state;
    state.W_TableauFerme = false;
    if (state.W_TotalCompte) print_total_compte(edition);
    // The blank row and the total row, counted also when no total was printed.
    state.W_NbLignes += 2;
    state.W_LignesTableau += 2;
    const double bottom = block_bottom(edition);
    for (const double x : BLOCK_RULES)
        vertical_rule(edition, x, state.W_HautTableau, bottom);
    horizontal_rule(edition, bottom);
    state.W_HautTableau = edition.surface.CurrentY();
    blank_row(edition);
    state.W_LignesTableau = 0;
    ++state.W_NbLignes;
}

void Imprime_Page_Total(Edition& edition) {
    PrintState& state = edition.state;
    PrintSurface& surface = edition.surface;
    state.W_PageTotal = true;
    surface.NewPage();
    Entete_Page(edition);

    keep(edition, blanks(6));
    surface.set_FontBold(true);
    keep(edition, "TOTAL DES MOUVEMENTS EDITES");
    keep(edition, blanks(30));
    keep(edition, state.W_TotQuantite != 0 ? amount_text(state.W_TotQuantite) : blanks(11));
    keep(edition, blanks(12));
    keep(edition, amount_text(state.W_TotDebit, TOTAL_AMOUNT_POSITIONS));
    keep(edition, blanks(4));
    keep(edition, amount_text(state.W_TotCredit, TOTAL_AMOUNT_POSITIONS));
    keep(edition, blanks(1));
    end(edition, amount_text(state.W_TotSolde, TOTAL_AMOUNT_POSITIONS));
    surface.set_FontBold(false);

    const double top = cm(edition, TITLE_BOTTOM_CM);
    const double bottom = cm(edition, TOTAL_BOTTOM_CM);
    for (const double x : TOTAL_RULES)
        vertical_rule(edition, x, top, bottom);
    horizontal_rule(edition, bottom);
}

} // namespace corvalissement
