#include "data/procedure.h"

#include "data/variable.h"
#include "platform/text.h"

namespace corvalissement::Procedure {

void Proc_OuvreFichiers() {
    if (!Variable::TheDatabase) throw StepFailure(ERR_STORE, "aucune session de base n'a été donnée");
    Variable::Files.open(*Variable::TheDatabase);
}

void Proc_FermeFichiers() {
    Variable::Files.release();
    Variable::TheDatabase.reset();
}

std::string Proc_NomUtilisateur(HostServices& host) { return std::string(chars(host.user_name(), 1, 19)); }

std::string Proc_NomOrdinateur(HostServices& host) { return host.computer_name(); }

} // namespace corvalissement::Procedure
