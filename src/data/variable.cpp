#include "data/variable.h"

#include "data/keys.h"

#include <tuple>

namespace corvalissement {

namespace {

struct FileSlot {
    std::string_view name;
    std::shared_ptr<TarvexFile> LedgerFiles::*handle;
    TarvexRecord LedgerFiles::*slot;
};

// In the order in which the files are opened and released.
constexpr FileSlot FILES[] = {
    {files::ASSOCIATION, &LedgerFiles::F_ASSOCIATION, &LedgerFiles::R_ASSOCIATION},
    {files::BALANCEGENE, &LedgerFiles::F_BALANCEGENE, &LedgerFiles::R_BALANCEGENE},
    {files::BALANCEGENEARCHIVE, &LedgerFiles::F_BALANCEGENEARCHIVE, &LedgerFiles::R_BALANCEGENEARCHIVE},
    {files::BALANCEGENETEMPO, &LedgerFiles::F_BALANCEGENETEMPO, &LedgerFiles::R_BALANCEGENETEMPO},
    {files::BROUILLARDTETE, &LedgerFiles::F_BROUILLARDTETE, &LedgerFiles::R_BROUILLARDTETE},
    {files::DETAILECRITUREGENE, &LedgerFiles::F_DETAILECRITUREGENE, &LedgerFiles::R_DETAILECRITUREGENE},
    {files::DETAILECRITUREGENEARCHIVE, &LedgerFiles::F_DETAILECRITUREGENEARCHIVE,
     &LedgerFiles::R_DETAILECRITUREGENEARCHIVE},
    {files::DETAILECRITUREGENETEMPO, &LedgerFiles::F_DETAILECRITUREGENETEMPO,
     &LedgerFiles::R_DETAILECRITUREGENETEMPO},
    {files::JOURNAL, &LedgerFiles::F_JOURNAL, &LedgerFiles::R_JOURNAL},
    {files::PARAMENTITECOMPTA, &LedgerFiles::F_PARAMENTITECOMPTA, &LedgerFiles::R_PARAMENTITECOMPTA},
    {files::PLANCOMPTABLE, &LedgerFiles::F_PLANCOMPTABLE, &LedgerFiles::R_PLANCOMPTABLE},
    {files::TABLES, &LedgerFiles::F_TABLES, &LedgerFiles::R_TABLES},
    {files::TEMPO, &LedgerFiles::F_TEMPO, &LedgerFiles::R_TEMPO},
};

} // namespace

void LedgerFiles::open(TarvexSession& session) {
    for (const FileSlot& file : FILES)
        this->*file.handle = session.DBOpen(file.name);
}

void LedgerFiles::release() {
    for (const FileSlot& file : FILES)
        this->*file.slot = TarvexRecord();
    for (const FileSlot& file : FILES)
        (this->*file.handle).reset();
}

} // namespace corvalissement
