// The list of printers that a host offers.
#pragma once

#include "platform/print_surface.h"
#include "store/store.h"

#include <filesystem>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace corvalissement {

// One printer. `output` is the file that takes what is printed (its ending chooses the surface), "cups:"
// and a queue of the print service, or "" for a printer that only the server serves. A printer whose name
// makes it a matrix printer is the server's whatever its output is. What a base says of a printer never leads
// out of the base's folder; the user's own list may name any file.
struct PrinterEntry {
    std::string name;
    std::string port;
    std::string output;
    std::string base_path{}; // of the base that names the printer, "" when a list of the user's own does
};

// Reads a list: one JSON object a line with "nom", "port" and "sortie", each a text; the last two may be
// missing. Throws StepFailure (ERR_PROPERTY) that names the list, the line and the reason.
[[nodiscard]] std::vector<PrinterEntry> read_printers(std::istream& input, const std::string& name);

// The printers that the server of the base knows, each under its name.
[[nodiscard]] std::vector<PrinterEntry> printers_of_base(Store& store, const std::string& base_path);

// The surface of a printer; a relative output file of the user's own list lies in `folder`. Throws
// StepFailure (ERR_OUTPUT).
[[nodiscard]] std::unique_ptr<PrintSurface> open_printer(const PrinterEntry& printer,
                                                         const std::filesystem::path& folder);

} // namespace corvalissement
