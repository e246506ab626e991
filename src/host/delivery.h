// What a host hands out. The control never stops on a failing step, and prints what is left; a ledger that
// such a step has made wrong must not reach a person as if it were right. The hosts that hand editions out
// ask here, and withhold the document: nothing then stands under its name, nothing goes to a printer.
#pragma once

#include "data/tarvex.h"
#include "platform/failures.h"
#include "platform/print_surface.h"

#include <functional>
#include <memory>
#include <string_view>

namespace corvalissement {

// Whether a ledger printed in spite of this failure is wrong (ledger/edition.h), also because the drafts
// could not be assigned.
[[nodiscard]] bool spoils_edition(std::string_view routine, const StepFailure& failure);

// Asked whether the document that is about to be handed out is spoilt.
using Withheld = std::function<bool()>;

// A surface that passes everything on to another and tells `ended`, once the document has ended, how many
// pages it had. A document that is withheld at EndDoc is given up, as if it had never been printed, and
// nothing is told; nor is anything when the end fails.
[[nodiscard]] std::unique_ptr<PrintSurface> deliver(std::unique_ptr<PrintSurface> surface, Withheld withheld,
                                                    std::function<void(const PrintSurface&)> ended);

// A session that asks before it passes on the command by which the server edits. A command that is
// withheld fails (ERR_STORE), and no file stands in its answer.
[[nodiscard]] std::shared_ptr<TarvexSession> withhold_commands(std::shared_ptr<TarvexSession> session,
                                                               Withheld withheld);

} // namespace corvalissement
