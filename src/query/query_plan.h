// Which keys a query has to look at. The conditions on the key and on parts of it become spans of keys, so
// that a query for one entity, or for one range of accounts, walks over that much of a file and no more.
//
// In a balance file the key begins with a year code, and accounts are ordered behind it. A span of account
// keys is therefore walked once in each year code that the file holds.
#pragma once

#include "query/query_parser.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvalissement {

// Texts from `from` on, up to `until`, which is left out; without it there is no end. Ordered byte by byte,
// which is the order of the characters.
struct Span {
    std::string from;
    std::optional<std::string> until;

    [[nodiscard]] bool holds(std::string_view text) const {
        return text >= from && (!until || text < *until);
    }
    [[nodiscard]] bool empty() const { return until && *until <= from; }
};

// The texts in both.
[[nodiscard]] Span common_span(const Span& a, const Span& b);

// The first text behind all that begin with `text`; none when there is no such text.
[[nodiscard]] std::optional<std::string> behind_beginning(std::string_view text);

// Keys to look at: those in `keys` whose part behind the year code is in `accounts`, when that is given.
struct KeyBox {
    Span keys;
    std::optional<Span> accounts;
    bool full_keys = false; // only keys of a balance key's length count
    // Which alternative's conditions each key must still meet; none when the box says all they say.
    std::optional<std::size_t> alternative;
};

// The boxes that together hold every key that can meet the conditions of the query. Boxes that say all are
// disjoint and in order.
[[nodiscard]] std::vector<KeyBox> plan_keys(const Query& query);

} // namespace corvalissement
