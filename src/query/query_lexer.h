// The words of a query. A query is a line of words with one or more blanks between them; a value stands
// between double quotes, may hold blanks, and cannot hold a double quote. Positions count characters from 1.
#pragma once

#include "platform/failures.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace corvalissement {

enum class TokenKind { word, value, end };

struct Token {
    TokenKind kind = TokenKind::end;
    std::string_view text; // into the query; a value without its quotes
    std::size_t position = 0;
};

// Every token of `query`, the last one being the end. StepFailure (ERR_QUERY) for a value without its end,
// or one that something else than a blank follows, which is what a quote inside a value comes to.
[[nodiscard]] std::vector<Token> split_query(std::string_view query);

// The failure of a query: `reason` in French, with the position in the text.
[[nodiscard]] StepFailure query_failure(std::string_view query, std::size_t position,
                                        std::string_view reason);

} // namespace corvalissement
