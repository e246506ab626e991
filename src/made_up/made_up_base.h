// A made-up base for trials and benchmarks: one entity with everything that an edition can meet.
#pragma once

#include "store/store.h"

#include <cstdint>
#include <functional>
#include <string>

namespace corvalissement {

struct MadeUpOptions {
    std::uint64_t lines = 0;    // entry lines, years N - 1 to N + 1 together
    std::uint64_t accounts = 0; // accounts of the chart; 0 for one in 500 lines and at least 20. At least 7.
    std::uint64_t seed = 1;
    std::uint64_t drafts = 0; // lines of draft sequences
};

// Why no base of these sizes can be made, in French; "" when it can.
[[nodiscard]] std::string fault_of_options(const MadeUpOptions& options);

// Fills the entity "001" in one transaction: year N is 2024, N + 1 is 2025, and 2023 lies in the archive.
// Every entry balances, and so does every draft sequence (a single line on its own has the amount 0).
// Customers and suppliers are lettered, invoices have due dates, some lines have quantities, and lines of
// classes 6 and 7 come in runs that an edition merges. The same options give the same records, byte for
// byte, on any machine. A base that holds the entity already is refused (BadInput), and so is a size that
// keys cannot number. `progress` gets what is done, from 0 to 1; memory stays at some bytes for each line.
void make_up_base(Store& store, const MadeUpOptions& options,
                  const std::function<void(double fraction)>& progress);

} // namespace corvalissement
