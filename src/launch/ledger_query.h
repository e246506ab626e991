// The queries that turn a selection into the balance keys of an edition.
//
// A query is a flat text: conditions joined by AND and OR without brackets, each value between double-quote
// characters that are part of the text. A value that begins with "[" is compared with the end of the key,
// which leaves the year code out, so that a range of accounts holds in every year.
#pragma once

#include "ledger/selection.h"

#include <string>
#include <string_view>

namespace corvalissement {

struct QueryText {
    std::string query;
    std::string_view file;
};

// Balance keys of the validated ledger: key order within one year; with earlier cumuls all years, account
// by account.
[[nodiscard]] QueryText ledger_query(const Selection& selection);

// Balance keys of the temporary file. Differs from the ledger query in the file and its fields, in the year
// code of "N - 1", and in the order under earlier cumuls, where the year comes first.
[[nodiscard]] QueryText temporary_query(const Selection& selection);

} // namespace corvalissement
