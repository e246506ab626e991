// The dictionary behind the field names of queries: what a name, or a number, stands for in the records of
// a file. Names are those of the accounting application, letter for letter; a name belongs to certain files
// and is unknown in any other.
//
// A field has one value for a record: of a multi-valued attribute it is the first.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace corvalissement {

enum class QueryFieldKind {
    key,        // field 0
    key_part,   // characters of the key
    attribute,  // one attribute of the record
    difference, // an attribute less another, as a whole number; "" when one of them is no number
    chart_label // the label of the account, in the chart of accounts
};

struct QueryField {
    QueryFieldKind kind = QueryFieldKind::key;
    std::size_t first =
        0; // the attribute, or the first character of the part; of a difference, what is reduced
    std::size_t other = 0; // how many characters, or the attribute taken off
    bool label = false;    // "begins with" and sorting fold case and accents

    // What has to be at hand to know its value.
    [[nodiscard]] bool of_key() const {
        return kind == QueryFieldKind::key || kind == QueryFieldKind::key_part;
    }
    [[nodiscard]] bool of_record() const {
        return kind == QueryFieldKind::attribute || kind == QueryFieldKind::difference;
    }

    friend bool operator==(const QueryField&, const QueryField&) = default;
};

// The field of that name or number (0 is the key) in records of `file`.
[[nodiscard]] std::optional<QueryField> find_field(std::string_view file, std::string_view name);

// The files of balance records, whose keys are a year code of 2 characters, an entity of 3 and an account
// number of 10. The end of such a key is its account key or a part of it.
inline constexpr std::size_t BALANCE_KEY_CHARS = 15;
inline constexpr std::size_t YEAR_CODE_CHARS = 2;
[[nodiscard]] bool is_balance_file(std::string_view file);

} // namespace corvalissement
