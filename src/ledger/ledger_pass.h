// The pass that prints the ledger on a page printer when drafts are not taken into account.
#pragma once

#include "ledger/edition.h"

namespace corvalissement {

// Walks the balance keys, takes the entries in the date range that pass the filter, and prints them account
// by account: title band, lines with a running balance, TOTAL COMPTE, and a continuation title at each page
// break inside an account. Never stops on a failure: a failing step is reported and skipped, a record that
// cannot be read is left out. Imprime calls it after the first Entete_Page.
void Impression_Detail(Edition& edition);

} // namespace corvalissement
