#include "control/inventory.h"

namespace corvalissement {

namespace {

constexpr FieldSpec INVENTORY[] = {
    // clang-format off
    {.name = "Etq_Entite", .kind = FieldKind::label, .caption = "Entité juridique", .container = "", .place = {120, 120, 1035, 195}, .tab = 5},
    {.name = "Txt_Entite", .kind = FieldKind::text, .caption = "", .container = "", .place = {1680, 120, 495, 315}, .tab = 1, .max_length = 3},
    {.name = "Cbo_Entite", .kind = FieldKind::combo, .caption = "", .container = "", .place = {2280, 120, 7575, 315}, .tab = 0},
    {.name = "Etq_Exer", .kind = FieldKind::label, .caption = "Exercice", .container = "", .place = {120, 600, 615, 195}, .tab = 6},
    {.name = "Cbo_Exer", .kind = FieldKind::combo, .caption = "", .container = "", .place = {1680, 600, 1095, 315}, .tab = 2, .rows = {"N - 1", "N", "N + 1"}},
    {.name = "Etq_DateDeb", .kind = FieldKind::label, .caption = "Date début", .container = "", .place = {3960, 600, 795, 195}, .tab = 7},
    {.name = "Txt_DateDeb", .kind = FieldKind::text, .caption = "", .container = "", .place = {5160, 600, 1215, 315}, .tab = 3},
    {.name = "Etq_DateFin", .kind = FieldKind::label, .caption = "Date fin", .container = "", .place = {7680, 600, 555, 195}, .tab = 8},
    {.name = "Txt_DateFin", .kind = FieldKind::text, .caption = "", .container = "", .place = {8640, 600, 1215, 315}, .tab = 4},
    {.name = "Etq_EditCpte", .kind = FieldKind::label, .caption = "Edition des comptes", .container = "", .place = {120, 1080, 1425, 195}, .tab = 9},
    {.name = "Cbo_EditCpte", .kind = FieldKind::combo, .caption = "", .container = "", .place = {1680, 1080, 3135, 315}, .tab = 10, .rows = {"Globale", "Fournisseurs", "Clients"}},
    {.name = "Cdr_Select", .kind = FieldKind::frame, .caption = "Sélection", .container = "", .place = {120, 1560, 9735, 3735}, .tab = 18},
    {.name = "Etq_De", .kind = FieldKind::label, .caption = "de", .container = "Cdr_Select", .place = {2280, 240, 180, 195}, .tab = 21},
    {.name = "Etq_A", .kind = FieldKind::label, .caption = "à", .container = "Cdr_Select", .place = {7320, 240, 90, 195}, .tab = 22},
    {.name = "Lst_De", .kind = FieldKind::list, .caption = "", .container = "Cdr_Select", .place = {120, 480, 4695, 2160}, .tab = 19},
    {.name = "Lst_A", .kind = FieldKind::list, .caption = "", .container = "Cdr_Select", .place = {4920, 480, 4695, 2160}, .tab = 20},
    {.name = "Txt_CpteDe", .kind = FieldKind::text, .caption = "", .container = "Cdr_Select", .place = {120, 2760, 1335, 315}, .tab = 23},
    {.name = "Cbo_CpteDe", .kind = FieldKind::combo, .caption = "", .container = "Cdr_Select", .place = {1560, 2760, 3255, 315}, .tab = 24},
    {.name = "Txt_CpteA", .kind = FieldKind::text, .caption = "", .container = "Cdr_Select", .place = {4920, 2760, 1335, 315}, .tab = 25},
    {.name = "Cbo_CpteA", .kind = FieldKind::combo, .caption = "", .container = "Cdr_Select", .place = {6360, 2760, 3255, 315}, .tab = 26},
    {.name = "Cmd_Ajouter", .kind = FieldKind::button, .caption = "Ajouter", .container = "Cdr_Select", .place = {120, 3240, 855, 375}, .tab = 27},
    {.name = "Cmd_Supprimer", .kind = FieldKind::button, .caption = "Supprimer", .container = "Cdr_Select", .place = {1320, 3240, 855, 375}, .tab = 28},
    {.name = "Cmd_OK", .kind = FieldKind::button, .caption = "OK", .container = "Cdr_Select", .place = {7560, 3240, 855, 375}, .tab = 30},
    {.name = "Cmd_Annuler", .kind = FieldKind::button, .caption = "Annuler", .container = "Cdr_Select", .place = {8760, 3240, 855, 375}, .tab = 29},
    {.name = "Cdr_Option", .kind = FieldKind::frame, .caption = "Options", .container = "", .place = {120, 5400, 9735, 1215}, .tab = 13},
    {.name = "Cac_HorsCpteSolde", .kind = FieldKind::check_box, .caption = "hors comptes soldés", .container = "Cdr_Option", .place = {600, 360, 2175, 255}, .tab = 14},
    {.name = "Cac_EcrNonLettre", .kind = FieldKind::check_box, .caption = "écritures non lettrées ", .container = "Cdr_Option", .place = {3720, 360, 2175, 255}, .tab = 15},
    {.name = "Cac_CumulAnt", .kind = FieldKind::check_box, .caption = "avec cumuls antérieurs", .container = "Cdr_Option", .place = {6960, 360, 2175, 255}, .tab = 16},
    {.name = "Cac_RupturePage", .kind = FieldKind::check_box, .caption = "rupture page à chaque compte", .container = "Cdr_Option", .place = {1440, 840, 2895, 255}, .tab = 17},
    {.name = "Cac_PriseCpteBrouillard", .kind = FieldKind::check_box, .caption = "prise en compte brouillard", .container = "Cdr_Option", .place = {5880, 840, 2535, 255}, .tab = 31},
    {.name = "Cdr_EditionForme", .kind = FieldKind::frame, .caption = "Edition sous la forme", .container = "", .place = {120, 6720, 9735, 855}, .tab = 32},
    {.name = "Opt_Liste", .kind = FieldKind::option, .caption = "Liste", .container = "Cdr_EditionForme", .place = {1440, 360, 1575, 375}, .tab = 34},
    {.name = "Opt_FichierGraphique", .kind = FieldKind::option, .caption = "Fichier graphique", .container = "Cdr_EditionForme", .place = {6360, 360, 1695, 375}, .tab = 33},
    {.name = "Pgr_ProgressBar", .kind = FieldKind::progress_bar, .caption = "", .container = "", .place = {120, 7680, 7575, 375}, .tab = 35},
    {.name = "Cmd_Imprimer", .kind = FieldKind::button, .caption = "Imprimer", .container = "", .place = {7920, 7680, 855, 375}, .tab = 11},
    {.name = "Cmd_Sortir", .kind = FieldKind::button, .caption = "Sortir", .container = "", .place = {9000, 7680, 855, 375}, .tab = 12},
    {.name = "mnu_Aide", .kind = FieldKind::menu, .caption = "Aide", .container = "", .place = {0, 0, 0, 0}, .tab = -1},
    {.name = "Mnu_Sommaire", .kind = FieldKind::menu_entry, .caption = "Aide_MERIDOXAN", .container = "mnu_Aide", .place = {0, 0, 0, 0}, .tab = -1},
    // clang-format on
};

} // namespace

std::span<const FieldSpec> control_inventory() { return INVENTORY; }

} // namespace corvalissement
