// The one runner of editions: for the control on a page printer, for the server's command, for tests.
#pragma once

#include "ledger/edition.h"
#include "platform/print_surface.h"

namespace corvalissement {

// Sets the surface up for the job: the way the sheet lies, and what the document says of itself. A failing
// step is reported and skipped.
void prepare_document(const EditionJob& job, PrintSurface& surface);

// Prints the whole edition, first head to closing page, in one reading of the base; EndDoc stays with the
// caller. A failing step is reported and skipped, so that what was printed can be ended as a document.
void print_edition(const EditionJob& job, PrintSurface& surface);

// The same into a sink of any form.
void run_edition(const EditionJob& job, LedgerSink& sink);

} // namespace corvalissement
