#include "drafts/frm_affect_compta.h"

#include "data/amounts.h"
#include "data/keys.h"
#include "platform/text.h"

#include <unordered_set>

namespace corvalissement {

namespace {

constexpr int DIALOG_WIDTH = 8130;
constexpr int DIALOG_HEIGHT = 6330;
constexpr std::size_t LABEL_WIDTH = 33;
constexpr std::size_t LABEL_CHARS = 32;
constexpr std::size_t YEAR_POSITION = 63;
constexpr std::size_t YEAR_CHARS = 5;
constexpr std::size_t ORDER_POSITION = 71;

constexpr FieldSpec INVENTORY[] = {
    // clang-format off
    {.name = "Etq_EntiteJur", .kind = FieldKind::label, .caption = "Entité juridique", .container = "", .place = {120, 120, 1035, 195}, .tab = 19},
    {.name = "Etq_Entite", .kind = FieldKind::label, .caption = "", .container = "", .place = {1320, 120, 6615, 195}, .tab = 20},
    {.name = "Cdr_SequencePos", .kind = FieldKind::frame, .caption = "Séquences de saisie soldées", .container = "", .place = {120, 480, 7935, 2415}, .tab = 12},
    {.name = "Etq_JournalPos", .kind = FieldKind::label, .caption = "Journal", .container = "Cdr_SequencePos", .place = {600, 240, 510, 195}, .tab = 18},
    {.name = "Etq_DebitPos", .kind = FieldKind::label, .caption = "Débit", .container = "Cdr_SequencePos", .place = {4560, 240, 375, 195}, .tab = 17},
    {.name = "Etq_CreditPos", .kind = FieldKind::label, .caption = "Crédit", .container = "Cdr_SequencePos", .place = {5760, 240, 405, 195}, .tab = 16},
    {.name = "Etq_ExercicePos", .kind = FieldKind::label, .caption = "Exer.", .container = "Cdr_SequencePos", .place = {6600, 240, 360, 195}, .tab = 14},
    {.name = "Etq_NumOrdrePos", .kind = FieldKind::label, .caption = "N° ordre", .container = "Cdr_SequencePos", .place = {7200, 240, 585, 195}, .tab = 15},
    {.name = "Lst_SequencePos", .kind = FieldKind::list, .caption = "", .container = "Cdr_SequencePos", .place = {120, 480, 7695, 1740}, .tab = 13, .multi = true},
    {.name = "Cmd_PasseDroit", .kind = FieldKind::button, .caption = "↓", .container = "", .place = {1800, 3120, 495, 375}, .tab = 7},
    {.name = "Cmd_PasseGauche", .kind = FieldKind::button, .caption = "↑", .container = "", .place = {3840, 3120, 495, 375}, .tab = 8},
    {.name = "Cmd_Tous", .kind = FieldKind::button, .caption = "Tous", .container = "", .place = {5760, 3120, 615, 375}, .tab = 9},
    {.name = "Cdr_SequenceSel", .kind = FieldKind::frame, .caption = "Séquences de saisie à affecter", .container = "", .place = {120, 3600, 7935, 2175}, .tab = 0},
    {.name = "Etq_JournalSel", .kind = FieldKind::label, .caption = "Journal", .container = "Cdr_SequenceSel", .place = {600, 240, 510, 195}, .tab = 6},
    {.name = "Etq_DebitSel", .kind = FieldKind::label, .caption = "Débit", .container = "Cdr_SequenceSel", .place = {4560, 240, 375, 195}, .tab = 5},
    {.name = "Etq_CreditSel", .kind = FieldKind::label, .caption = "Crédit", .container = "Cdr_SequenceSel", .place = {5760, 240, 405, 195}, .tab = 4},
    {.name = "Etq_ExerciceSel", .kind = FieldKind::label, .caption = "Exer.", .container = "Cdr_SequenceSel", .place = {6600, 240, 360, 195}, .tab = 2},
    {.name = "Etq_NumOrdreSel", .kind = FieldKind::label, .caption = "N° ordre", .container = "Cdr_SequenceSel", .place = {7200, 240, 585, 195}, .tab = 3},
    {.name = "Lst_SequenceSel", .kind = FieldKind::list, .caption = "", .container = "Cdr_SequenceSel", .place = {120, 480, 7695, 1530}, .tab = 1, .multi = true},
    {.name = "Cmd_Affecter", .kind = FieldKind::button, .caption = "Affecter", .container = "", .place = {6240, 5880, 735, 375}, .tab = 10, .enabled = false},
    {.name = "Cmd_Sortir", .kind = FieldKind::button, .caption = "Retour", .container = "", .place = {7320, 5880, 735, 375}, .tab = 11},
    // clang-format on
};

std::string amount_column(std::string_view amount) {
    std::string column(12, ' ');
    if (!amount.empty()) write_amount(column.data(), hundredths_of(amount));
    return column;
}

bool Existe_Dans_Liste(std::string_view row, const std::unordered_set<std::string>& rows) {
    return rows.contains(std::string(row));
}

} // namespace

std::string sequence_row(std::string_view key, std::string_view journal_label, std::string_view debit,
                         std::string_view credit) {
    const SequenceKey sequence = SequenceKey::of(key);
    std::string row = fit_right(sequence.journal, 2) + "  ";
    row += pad_right(chars(journal_label, 1, LABEL_CHARS), LABEL_WIDTH);
    row += amount_column(debit);
    row += amount_column(credit);
    row += sequence.year == exercice::CODE_N0 ? " N     " : " N + 1 ";
    row += "  ";
    row += fit_right(sequence.order, 1);
    return row;
}

std::string sequence_key(std::string_view entity, std::string_view row) {
    const bool next = chars(row, YEAR_POSITION, YEAR_CHARS) == exercice::SUIVANT;
    return SequenceKey{chars(entity, 1, 3), chars(row, 1, 2), next ? exercice::CODE_N1 : exercice::CODE_N0,
                       chars(row, ORDER_POSITION, 1)}
        .text();
}

Frm_AffectCompta::Frm_AffectCompta(HostServices& host, Variable& variable)
    : View(host, "Frm_AffectCompta", "Affectation des écritures comptables", DIALOG_WIDTH, DIALOG_HEIGHT,
           INVENTORY),
      variable_(variable), Etq_Entite(field<Field>("Etq_Entite")),
      Lst_SequencePos(field<ListField>("Lst_SequencePos")),
      Lst_SequenceSel(field<ListField>("Lst_SequenceSel")), Cmd_Affecter(field<Field>("Cmd_Affecter")) {
    Unload = [this] { return Form_Unload(); };
    find("Cmd_PasseDroit")->Click = [this] { Passage_A_Droite(); };
    find("Cmd_PasseGauche")->Click = [this] { Passage_A_Gauche(); };
    find("Cmd_Tous")->Click = [this] { Cmd_Tous_Click(); };
    Cmd_Affecter.Click = [this] { Cmd_Affecter_Click(); };
    find("Cmd_Sortir")->Click = [this] { Cmd_Sortir_Click(); };
    Lst_SequencePos.DblClick = [this] { Passage_A_Droite(); };
    Lst_SequenceSel.DblClick = [this] { Passage_A_Gauche(); };
    // A drop does not look at where the drag began.
    Lst_SequenceSel.DragDrop = [this] { Depot_A_Droite(Lst_SequencePos, Lst_SequenceSel); };
    Lst_SequencePos.DragDrop = [this] { Depot_A_Gauche(Lst_SequenceSel); };
}

void Frm_AffectCompta::set_entity_caption(std::string caption) { Etq_Entite.set_caption(std::move(caption)); }

void Frm_AffectCompta::Form_Load() { Remplir_Liste_Pos(); }

void Frm_AffectCompta::set_DroitsUtilisateur(std::shared_ptr<UserRights> rights) {
    W_Droits = std::move(rights);
    if (!W_Droits) throw StepFailure(ERR_OTHER, "aucun objet de droits n'a été donné");
    W_DroitEdition = W_Droits->DroitSur(RIGHT_EDITION);
}

void Frm_AffectCompta::Init() { ProfilAffectation(); }

void Frm_AffectCompta::ProfilAffectation() {
    if (!W_DroitEdition) throw StepFailure(ERR_OTHER, "les droits de l'utilisateur n'ont pas été donnés");
    if (W_DroitEdition->Niveau() != LEVEL_EDITION) Cmd_Affecter.set_visible(false);
}

bool Frm_AffectCompta::Form_Unload() {
    W_DroitEdition.reset();
    W_Droits.reset();
    W_ListeSequences = DynArray();
    return W_Sortir != 0;
}

void Frm_AffectCompta::Remplir_Liste_Pos() {
    SkippedFailures& place = host().skipped_failures();
    LedgerFiles& shared = variable_.Files;
    constexpr std::string_view ROUTINE = "Remplir_Liste_Pos";
    Lst_SequencePos.clear();
    skip(place, ROUTINE, [&] {
        const std::string query = "SSELECT BROUILLARDTETE AVEC SoldeBrouillardTete = " + quoted("0") +
                                  " AND AVEC 0 = " + quoted(variable_.G_Entite + "]") + " PAR 0";
        std::string work;
        W_ListeSequences =
            variable_.TheDatabase->DBSelect(query_request(query, files::BROUILLARDTETE, "0"), "", work);
    });
    if (W_ListeSequences(1).empty()) return;
    W_NbSequences = W_ListeSequences.DCount();
    bool locked = false;
    for (std::size_t i = 1; i <= W_NbSequences; ++i) {
        const std::string key(W_ListeSequences(i));
        const TarvexRecord& head = shared.R_BROUILLARDTETE;
        const int error = skip(
            place, ROUTINE, [&] { shared.F_BROUILLARDTETE->DBReadLock(key, shared.R_BROUILLARDTETE); },
            ERR_HELD);
        if (error == ERR_HELD) {
            locked = true;
            continue;
        }
        skip(place, ROUTINE, [&] { shared.F_JOURNAL->DBRead(chars(key, 1, 5), shared.R_JOURNAL); });
        skip(place, ROUTINE, [&] {
            Lst_SequencePos.add_row(sequence_row(key, shared.R_JOURNAL(journal::LABEL),
                                                 head(brouillard::TOTAL_DEBIT),
                                                 head(brouillard::TOTAL_CREDIT)));
        });
    }
    if (locked) message(host(), SEQUENCES_HELD, KIND_INFORMATION);
}

// Behind the rows of its own journal, before those of the journals that follow.
void Frm_AffectCompta::Trier(std::string_view W_Journal, const ListField& Lst) {
    W_PositionInsertion = 0;
    while (W_PositionInsertion < Lst.list_count() && chars(Lst.row(W_PositionInsertion), 1, 2) <= W_Journal)
        ++W_PositionInsertion;
}

void Frm_AffectCompta::enable_assignment() {
    if (Lst_SequenceSel.list_count() > 0) Cmd_Affecter.set_enabled(true);
}

void Frm_AffectCompta::Depot_A_Droite(ListField& source, ListField& target) {
    std::unordered_set<std::string> there(target.rows().begin(), target.rows().end());
    for (int i = 0; i < source.list_count(); ++i) {
        if (!source.selected(i)) continue;
        const std::string row(source.row(i));
        if (!Existe_Dans_Liste(row, there)) {
            Trier(chars(row, 1, 2), target);
            target.insert_row(W_PositionInsertion, row);
            there.insert(row);
        }
        source.set_selected(i, false);
    }
    enable_assignment();
}

void Frm_AffectCompta::Depot_A_Gauche(ListField& list) {
    for (int i = list.list_count() - 1; i >= 0; --i)
        if (list.selected(i)) list.remove_row(i);
    if (Lst_SequenceSel.list_count() == 0) Cmd_Affecter.set_enabled(false);
}

void Frm_AffectCompta::Cmd_Tous_Click() {
    std::unordered_set<std::string> there(Lst_SequenceSel.rows().begin(), Lst_SequenceSel.rows().end());
    for (const std::string& row : Lst_SequencePos.rows())
        if (!Existe_Dans_Liste(row, there)) {
            Lst_SequenceSel.add_row(row);
            there.insert(row);
        }
    enable_assignment();
}

void Frm_AffectCompta::PickExe() {
    SkippedFailures& place = host().skipped_failures();
    const auto execute = [&](const std::string& request) {
        skip(place, ASSIGNMENT_ROUTINE, [&] {
            std::string work;
            variable_.TheDatabase->DBExecute(request, "", work);
        });
    };
    execute(bare_command("DATE.FORMAT"));
    std::string line = "AFFECTCOMPTATEMPO ";
    const std::string_view entity = chars(Etq_Entite.caption(), 1, 3);
    for (int i = 0; i < Lst_SequenceSel.list_count(); ++i) {
        if (i > 0) line += '/';
        line += sequence_key(entity, Lst_SequenceSel.row(i));
    }
    execute(prefixed_command(line));
}

void Frm_AffectCompta::Cmd_Affecter_Click() {
    BusyBracket busy(*this);
    PickExe();
    busy.end();
    variable_.G_Abandon = 0;
    W_Sortir = -1;
    host().unload_dialog(*this);
}

void Frm_AffectCompta::Cmd_Sortir_Click() {
    W_Sortir = -1;
    variable_.G_Abandon = -1;
    host().unload_dialog(*this);
}

} // namespace corvalissement
