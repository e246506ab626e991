// One edition of a ledger against the model of it.
#pragma once

#include "support/pass_model.h"
#include "support/random_ledger.h"

namespace corvalissement::testing_support {

// Prints the edition and gives the first thing in which it is not what the model says, "" when there is none.
// `entries`, where given, is added the number of entries chosen.
[[nodiscard]] std::string fault_of_edition(TestLedger ledger, const Selection& selection,
                                           EditionResult& printed, std::size_t* entries = nullptr);

} // namespace corvalissement::testing_support
