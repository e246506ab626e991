// Records in the raw, one JSON object a line:
//   {"fichier":"BALANCEGENE","cle":"N00014010000000","attributs":["", "", "0", ["45292","45293"]]}
// An attribute is a text, or an array of texts for several values. What comes out goes in again unchanged.
#pragma once

#include "store/store.h"

#include <functional>
#include <iosfwd>
#include <optional>
#include <string>

namespace corvalissement {

// Writes every record of `input` to the store, replacing what stands under its key; of two records with
// one key the later counts. All in one transaction: BadInput (with `name` and the line) when a line is no
// such object, is longer than 512 MB, or holds text that is not UTF-8, and then nothing is changed. Empty
// lines are passed over. Takes the memory of one record. `progress`, which may be empty, gets what is done
// from 0 to 1 when the length of the input can be known.
void load_records(Store& store, std::istream& input, const std::string& name,
                  const std::function<void(double fraction)>& progress);

// Writes the records of one file, or of all, files in name order and records in key order, as the store
// stands at one moment. StepFailure when a record cannot be told in JSON (ERR_STORE; it holds bytes that
// are not UTF-8) or the output fails (ERR_OUTPUT).
void extract_records(Store& store, std::ostream& output, const std::optional<std::string>& file);

} // namespace corvalissement
