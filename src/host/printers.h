// The list of printers that a host offers.
#pragma once

#include "platform/print_surface.h"
#include "server/store.h"

#include <filesystem>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace corvalissement {

// One printer. `output` is the file that takes what is printed (its ending chooses the surface), "cups:"
// and a queue of the print service, or "" for a printer that only the server serves.
struct PrinterEntry {
    std::string name;
    std::string port;
    std::string output;
};

// Reads a list: one JSON object a line with "nom", "port" and "sortie", each a text; the last two may be
// missing. Throws StepFailure (ERR_PROPERTY) that names the list, the line and the reason.
[[nodiscard]] std::vector<PrinterEntry> read_printers(std::istream& input, const std::string& name);

// The printers that the server of the base knows, each under its name.
[[nodiscard]] std::vector<PrinterEntry> printers_of_base(Store& store);

// The surface of a printer; a relative output file lies in `folder`. Throws StepFailure (ERR_OUTPUT).
[[nodiscard]] std::unique_ptr<PrintSurface> open_printer(const PrinterEntry& printer,
                                                         const std::filesystem::path& folder);

// A surface that passes everything on to another and tells, once the document has ended, how many pages it
// had. The telling is skipped when the end fails.
[[nodiscard]] std::unique_ptr<PrintSurface> report_end(std::unique_ptr<PrintSurface> surface,
                                                       std::function<void(const PrintSurface&)> ended);

} // namespace corvalissement
