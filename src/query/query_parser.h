// The query language: its grammar and what a query means.
//
//     query     = SSELECT file { condition } { PAR field }
//     condition = AVEC field operator "value"      the first one
//               | AND AVEC field operator "value"
//               | OR AVEC field operator "value"
//     field     = a name of the dictionary, or a number (0 is the key)
//     operator  = "=" | "<>" | ">=" | "<=" | ">" | "<"
//
// A value compares with the whole field, as text, exactly. A value that begins with "[" compares with the
// end of the field, as many characters as follow the bracket; a shorter field compares whole. A value that
// ends with "]" asks whether the field begins with it, under "=" and, denied, "<>"; on a label case and
// accents then don't count.
//
// There are no brackets. OR joins alternatives made of conditions on the key: those that stand before the
// first condition on field 0 hold for all of them. So A AND B AND k1 AND k2 OR k3 AND k4 is
// A and B and ((k1 and k2) or (k3 and k4)). An OR that stands elsewhere is refused, since nothing says what
// it would join.
//
// Each PAR is a sort key, the first the major one; records that are equal in all come in the order of
// their keys, and so do all without any PAR. Labels sort without case and accents, the rest exactly.
#pragma once

#include "query/dictionary.h"

#include <string>
#include <string_view>
#include <vector>

namespace corvalissement {

enum class Comparison { equal, not_equal, at_least, at_most, greater, less };
enum class Scope { whole, beginning, ending };

struct Condition {
    QueryField field;
    Comparison comparison = Comparison::equal;
    Scope scope = Scope::whole;
    std::string value; // without its bracket; folded for the beginning of a label
};

struct Query {
    std::string file;
    std::vector<Condition> common;
    // Empty when there is no OR; then everything is in `common`. Otherwise each holds conditions on the key.
    std::vector<std::vector<Condition>> alternatives;
    std::vector<QueryField> order;
};

// StepFailure (ERR_QUERY) with the position of what cannot be understood; no query means something else
// than what this grammar says.
[[nodiscard]] Query parse_query(std::string_view text);

// The fields wanted of each record: names or numbers of `file` with blanks between them, one at least.
[[nodiscard]] std::vector<QueryField> parse_fields(std::string_view text, std::string_view file);

// True when a field of that text meets the condition.
[[nodiscard]] bool meets(const Condition& condition, std::string_view text);

} // namespace corvalissement
