// `Variable`: what the routines of a control and its dialog share. The thirteen open files and record slots
// are a value of their own, so that an edition made by the server opens its own.
#pragma once

#include "data/tarvex.h"

#include <cstdint>
#include <memory>
#include <string>

namespace corvalissement {

// Open files and the record last read from each. A slot is overwritten by the next read.
struct LedgerFiles {
    std::shared_ptr<TarvexFile> F_ASSOCIATION;
    std::shared_ptr<TarvexFile> F_BALANCEGENE;
    std::shared_ptr<TarvexFile> F_BALANCEGENEARCHIVE;
    std::shared_ptr<TarvexFile> F_BALANCEGENETEMPO;
    std::shared_ptr<TarvexFile> F_BROUILLARDTETE;
    std::shared_ptr<TarvexFile> F_DETAILECRITUREGENE;
    std::shared_ptr<TarvexFile> F_DETAILECRITUREGENEARCHIVE;
    std::shared_ptr<TarvexFile> F_DETAILECRITUREGENETEMPO;
    std::shared_ptr<TarvexFile> F_JOURNAL;
    std::shared_ptr<TarvexFile> F_PARAMENTITECOMPTA;
    std::shared_ptr<TarvexFile> F_PLANCOMPTABLE;
    std::shared_ptr<TarvexFile> F_TABLES;
    std::shared_ptr<TarvexFile> F_TEMPO;

    TarvexRecord R_ASSOCIATION;
    TarvexRecord R_BALANCEGENE; // of either year's file: the text of Cbo_Exer tells which was read
    TarvexRecord R_BALANCEGENEARCHIVE;
    TarvexRecord R_BALANCEGENETEMPO;
    TarvexRecord R_BROUILLARDTETE;
    TarvexRecord R_DETAILECRITUREGENE;
    TarvexRecord R_DETAILECRITUREGENEARCHIVE;
    TarvexRecord R_DETAILECRITUREGENETEMPO;
    TarvexRecord R_JOURNAL;
    TarvexRecord R_PARAMENTITECOMPTA;
    TarvexRecord R_PLANCOMPTABLE;
    TarvexRecord R_TABLES;
    TarvexRecord R_TEMPO;

    // Opens the thirteen files in the order above. A file that cannot be opened ends it there.
    void open(TarvexSession& session);
    // Releases the slots, then the files, in the order above.
    void release();
};

// One control's own: several controls, each with its session, live in one process. The control hands it to
// its routines and to its dialog.
struct Variable {
    std::shared_ptr<TarvexClient> TheClient;    // set by the host, used by the help only
    std::shared_ptr<TarvexSession> TheDatabase; // set by the host
    LedgerFiles Files;                          // F_... and R_...
    std::int16_t G_Abandon = 0;                 // 0: the assignment was carried out; -1: the dialog was left
    std::string G_Imprimante;                   // printer target of the server's edition
    std::string G_Entite;                       // entity code, for the assignment dialog
};

} // namespace corvalissement
