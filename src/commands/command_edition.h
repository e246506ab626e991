// The server's own edition of the ledger. It runs the passes that a control runs, with the options of the
// command line and the keys that the user has left in TEMPO, and needs neither view nor control.
#pragma once

#include "commands/commands.h"
#include "data/dyn_array.h"
#include "ledger/selection.h"

#include <string>
#include <string_view>

namespace corvalissement {

class ServerSession;

// What the line of the command says. The selection lacks the entity's name, which is in the base.
struct EditionRequest {
    std::string user;
    Selection selection;
};

// Reads the line behind the word CORVALISSEMENT: user, drafts, only unlettered, page per account, entity,
// year, prior totals, first day, last day, output; one blank between two fields. The fields are cut off from
// the end, because a user's name may hold blanks. Throws StepFailure (ERR_COMMAND) that tells the field.
[[nodiscard]] EditionRequest parse_edition_line(std::string_view rest);

// A list of keys joined by "|", one of them or none included, as the passes take it.
[[nodiscard]] DynArray keys_of_joined(std::string_view joined);

// CORVALISSEMENT. LISTE prints a text grid with form feeds, 132 columns wide as long as no figure needs more,
// to the target of the printer that the user has set. GRAPHIQUE makes a PDF in the folder LIENCOMPTA beside
// the base, under a name that no other edition has, and writes this name to the record CORVALISSEMENT of
// TEMPO, which is taken away first so that a failure never shows an earlier file's name.
//
// A step that the passes skip goes to `settings.failures`; the edition is delivered all the same. Drafts are
// printed also when no account of the ledger is selected. Nothing to print, a missing exchange record, an
// output that fails: StepFailure, and no file.
void run_edition(ServerSession& session, const ServerSettings& settings, std::string_view rest);

} // namespace corvalissement
