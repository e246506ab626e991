// Who produces the edition once the accounts are selected: the control itself on a page printer, or the
// server for a matrix printer or a graphic file.
#pragma once

#include "data/util_object.h"
#include "ledger/edition.h"
#include "platform/view.h"

#include <string>
#include <string_view>

namespace corvalissement {

// A printing run of the control. All of it is owned by the control and outlives the run.
struct PrintRun {
    const Selection& selection;
    const DynArray& W_ListeBalance;
    const DynArray& W_ListeBalanceTempo;
    LedgerFiles& files;
    TarvexSession& session;
    View& view;
    UtilObject& util;
    PrintState& state;
    ProgressSink& progress;
    std::string& G_Imprimante;
};

// Chooses the route and runs it. A failing step is reported and skipped, so that the view always comes back
// enabled with a normal pointer, and what was printed is ended as a document.
void Imprime(PrintRun& run);

// True for the name of a printer that gets its editions from the server: it holds "MATRIC" in any case.
[[nodiscard]] bool is_matrix_name(std::string_view device_name);

} // namespace corvalissement
