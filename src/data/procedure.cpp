#include "data/procedure.h"

#include "data/variable.h"
#include "platform/text.h"

namespace corvalissement::Procedure {

void Proc_OuvreFichiers(Variable& variable) {
    if (!variable.TheDatabase) throw StepFailure(ERR_STORE, "aucune session de base n'a été donnée");
    variable.Files.open(*variable.TheDatabase);
}

void Proc_FermeFichiers(Variable& variable) {
    variable.Files.release();
    variable.TheDatabase.reset();
}

std::string Proc_NomUtilisateur(Surroundings& host) { return std::string(chars(host.user_name(), 1, 19)); }

std::string Proc_NomOrdinateur(Surroundings& host) { return host.computer_name(); }

} // namespace corvalissement::Procedure
