// The module `Procedure`: opening and releasing the shared files, and the system's names.
#pragma once

#include "data/variable.h"
#include "platform/host.h"

#include <string>

namespace corvalissement::Procedure {

// Opens the thirteen files of `variable` on its session. Called once, by Init; a failure reaches the host,
// with the files before it open.
void Proc_OuvreFichiers(Variable& variable);

// Releases the slots, the files and the session, in this order. Called once, at the end of the
// view. TheClient stays.
void Proc_FermeFichiers(Variable& variable);

// Name of the logged-on user, at most 19 characters, and of the computer; neither in capitals.
[[nodiscard]] std::string Proc_NomUtilisateur(Surroundings& host);
[[nodiscard]] std::string Proc_NomOrdinateur(Surroundings& host);

} // namespace corvalissement::Procedure
