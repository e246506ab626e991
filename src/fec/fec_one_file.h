// One FEC on its way into a base. Internal to the importer.
#pragma once

#include "fec/fec_codes.h"
#include "fec/fec_file.h"
#include "fec/fec_importer.h"
#include "fec/fec_outcome.h"
#include "fec/fec_years.h"
#include "records/ledger_writer.h"

#include <functional>
#include <optional>

namespace corvalissement {

// What all files of one call share.
struct FecImportState {
    Store& store;
    const FecOptions& options;
    CodeBook codes;
    LedgerWriter ledger;
    std::optional<SourcedYears> years; // known beforehand, or worked out from the first file
    bool years_of_this_call = false;   // worked out from an earlier file of the same call
    FecPlan* plan = nullptr;           // takes what becomes of the codes, when it is asked for
};

// Writes everything of one file but the balances, which wait for the last file, and the entity's own records.
// REQUIRES an open transaction. BadInput when the file cannot be taken; what was written by then is for the
// caller to roll back. `progress` gets 0.1 (what `look_at` has done by then) to 1.
[[nodiscard]] FecOutcome take_file(FecImportState& state, FecFile& file, const FecFacts& facts,
                                   const std::function<void(double fraction)>& progress);

} // namespace corvalissement
