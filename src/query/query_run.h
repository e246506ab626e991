// Running a query over a store.
#pragma once

#include "data/dyn_array.h"
#include "query/query_parser.h"
#include "store/store.h"

#include <cstddef>
#include <string_view>

namespace corvalissement {

// What a run touched, for tests and measurements.
struct QueryCounts {
    std::size_t seeks = 0;   // walks begun in the file
    std::size_t keys = 0;    // keys walked over
    std::size_t records = 0; // records of the file among them that were read too
    std::size_t labels = 0;  // records of the chart of accounts read
    std::size_t rows = 0;    // records selected
};

// The records that `query` selects, in its order: attribute i of the result is the i-th, its values the
// fields wanted. A result whose last sort field isn't the key ends with one empty attribute, which its
// readers count on; any other doesn't. Nothing selected: the empty text.
[[nodiscard]] DynArray run_query(Store& store, const Query& query, const std::vector<QueryField>& wanted,
                                 QueryCounts* counts = nullptr);

// The same for a whole request as DBSelect takes it: 1 the query, 2 its file, 3 the fields wanted.
// StepFailure (ERR_QUERY) when the request cannot be understood.
[[nodiscard]] DynArray run_request(Store& store, std::string_view request, QueryCounts* counts = nullptr);

} // namespace corvalissement
