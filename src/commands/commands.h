// The server's commands, run behind DBExecute. Both forms of a request are understood alike: the first word
// is the command, what follows its blank is the rest.
//
//   LOGIN, DATE.FORMAT        do nothing and succeed
//   VIDER-FICHIER FILE        empties a temporary file
//   AFFECTCOMPTATEMPO K/K/K   fills the temporary files from draft sequences (command_drafts.h)
//   TESTESETPTR USER PRINTER  tests a printer and sets it for the user (command_printer.h)
//   CORVALISSEMENT ...        makes an edition (command_edition.h)
//
// Failures throw StepFailure with one clear line in French: ERR_COMMAND for a line that is unknown or wrong,
// ERR_OUTPUT when what is printed cannot be delivered, ERR_STORE for the base.
#pragma once

#include "commands/command_runner.h"
#include "platform/calendar.h"
#include "platform/failures.h"

#include <functional>
#include <memory>
#include <string>

namespace corvalissement {

struct ServerSettings {
    // Path of the base, beside which LIENCOMPTA lies. "" for a base in memory, which has no folder: an
    // edition that needs one then fails (ERR_OUTPUT).
    std::string base_path;

    // The date in the page heads. Never empty.
    std::function<CivilDate()> today;

    // Receives what the passes of an edition skip. Never null; outlives the runner.
    SkippedFailures* failures = nullptr;
};

// The runner keeps nothing between two commands: what has to be remembered rests on the session's locks and
// in the file TEMPO. So one runner can serve several sessions on the base.
[[nodiscard]] std::shared_ptr<CommandRunner> make_server_commands(ServerSettings settings);

} // namespace corvalissement
