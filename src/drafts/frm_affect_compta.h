// Frm_AffectCompta: the modal dialog in which the user assigns balanced draft sequences to the edition. The
// upper list shows the sequences of the entity, the lower one those to be taken in; rows are copied down
// and removed again.
//
// The caller sets G_Entite and the caption of Etq_Entite, calls Form_Load, shows the dialog
// modally, and then reads G_Abandon.
//
// A row is a text of 71 characters, read back by the assignment:
//   1-2 journal  5-37 journal label  38-48 debit  50-60 credit  63-67 "N" or "N + 1"  71 order number
#pragma once

#include "data/rights.h"
#include "data/variable.h"
#include "platform/view.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace corvalissement {

// The routine under which a failed step of the assignment is reported: the edition that follows lacks drafts.
inline constexpr std::string_view ASSIGNMENT_ROUTINE = "Frm_AffectCompta.PickExe";

// What the user is told when Form_Load has left sequences out.
inline constexpr std::string_view SEQUENCES_HELD =
    "Certaines séquences de saisie sont en cours de traitement par d'autres utilisateurs.";

class Frm_AffectCompta final : public View {
public:
    // `variable` is that of the control, and outlives the dialog.
    Frm_AffectCompta(HostServices& host, Variable& variable);

    void set_entity_caption(std::string caption);

    // Fills the upper list. Sequences that other users hold locked are left out, with one message.
    void Form_Load();

    // Rights, for a host that shows the dialog by itself.
    void set_DroitsUtilisateur(std::shared_ptr<UserRights> rights);
    void Init();

    std::int16_t W_Sortir = 0; // the dialog may close

private:
    bool Form_Unload();
    void ProfilAffectation();
    void Remplir_Liste_Pos();
    void Depot_A_Droite(ListField& source, ListField& target);
    void Depot_A_Gauche(ListField& list);
    void Passage_A_Droite() { Depot_A_Droite(Lst_SequencePos, Lst_SequenceSel); }
    void Passage_A_Gauche() { Depot_A_Gauche(Lst_SequenceSel); }
    void Cmd_Tous_Click();
    void Cmd_Affecter_Click();
    void Cmd_Sortir_Click();
    void Trier(std::string_view W_Journal, const ListField& Lst);
    void PickExe();
    void enable_assignment();

    Variable& variable_;
    Field& Etq_Entite;
    ListField& Lst_SequencePos;
    ListField& Lst_SequenceSel;
    Field& Cmd_Affecter;

    std::shared_ptr<UserRights> W_Droits;
    std::shared_ptr<UserRight> W_DroitEdition;
    DynArray W_ListeSequences;
    std::size_t W_NbSequences = 0;
    int W_PositionInsertion = 0;
};

// The row of a sequence: its key, the label of its journal, and the two totals of its head, amounts or "".
[[nodiscard]] std::string sequence_row(std::string_view key, std::string_view journal_label,
                                       std::string_view debit, std::string_view credit);

// The key of the row's sequence, as the assignment sends it.
[[nodiscard]] std::string sequence_key(std::string_view entity, std::string_view row);

} // namespace corvalissement
