#include "launch/temporary_files.h"

#include "data/keys.h"
#include "launch/ledger_query.h"

namespace corvalissement {

void Vider_Fichier_TEMPO(TarvexSession& session) {
    for (const std::string_view file :
         {files::BALANCEGENETEMPO, files::BALANCEANALTEMPO, files::DETAILECRITUREGENETEMPO}) {
        std::string work;
        session.DBExecute(bare_command("VIDER-FICHIER " + std::string(file)), "", work);
    }
}

DynArray Requete_BALANCEGENETEMPO(TarvexSession& session, const Selection& selection) {
    const QueryText query = temporary_query(selection);
    std::string work;
    return session.DBSelect(query_request(query.query, query.file, "0"), "", work);
}

} // namespace corvalissement
