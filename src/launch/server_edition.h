// The edition handed to the database server: matrix printers and graphic files.
#pragma once

#include "ledger/edition.h"
#include "platform/host.h"
#include "platform/print_surface.h"

#include <string>
#include <string_view>

namespace corvalissement {

// Leaves the keys of the selection in TEMPO, has the server test the printer when there is one, and runs
// the command CORVALISSEMENT with all options on its line. A failing step is reported and skipped. `printer`
// is the chosen one, null for a graphic file; `G_Imprimante` takes its name as the server is to know it.
void PickExe(const EditionJob& job, HostServices& host, const PrintSurface* printer,
             std::string& G_Imprimante);

// The keys of a list, joined by "|": a|b|c, but a| for a single key and | for none.
[[nodiscard]] std::string joined_keys(const DynArray& list);

// The command line of the edition, eleven fields separated by one blank. `user` is in capitals.
[[nodiscard]] std::string edition_command_line(const Selection& selection, std::string_view user);

// Keys of the exchange records in TEMPO.
namespace tempo {
inline constexpr std::string_view LEDGER_KEYS = "BALANCEGENE";         // and the user's name
inline constexpr std::string_view DRAFT_KEYS = "BALANCEGENETEMPO";     // and the user's name
inline constexpr std::string_view PRINTER_ANSWER = "RETOURIMPRIMANTE"; // and the user's name
inline constexpr std::string_view FILE_MADE = "CORVALISSEMENT";        // no user's name
inline constexpr std::string_view PRINTER_UNKNOWN = "IMPRIMANTE NON TROUVEE";
} // namespace tempo

} // namespace corvalissement
