// Who produces the edition once the accounts are selected: the control itself on a page printer, or the
// server for a matrix printer or a graphic file.
#pragma once

#include "data/util_object.h"
#include "ledger/edition.h"
#include "platform/view.h"

#include <string>
#include <string_view>

namespace corvalissement {

// Chooses the route and runs it. A failing step is reported and skipped, so that the view always comes back
// enabled with a normal pointer, and what was printed is ended as a document. `G_Imprimante` takes what the
// server is to know a matrix printer by.
void Imprime(const EditionJob& job, View& view, UtilObject& util, std::string& G_Imprimante);

// True for the name of a printer that gets its editions from the server: it holds "MATRIC" in any case.
[[nodiscard]] bool is_matrix_name(std::string_view device_name);

} // namespace corvalissement
