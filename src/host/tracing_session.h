// A session that passes everything on to another and tells what the view's routines ask of it. What a print
// pass reads is not told: between begin_reading and end_reading reads go through in silence.
#pragma once

#include "data/tarvex.h"

#include <functional>
#include <memory>
#include <string_view>

namespace corvalissement {

struct SessionEvents {
    std::function<void(std::string_view query, std::string_view file, std::string_view fields,
                       std::size_t rows)>
        selected;
    std::function<void(std::string_view text, bool prefixed, std::string_view line)> executed;
    std::function<void(std::string_view file, std::string_view key, int error, bool locked)> read;
    std::function<void(std::string_view file, std::string_view key)> written;
};

[[nodiscard]] std::shared_ptr<TarvexSession> trace_session(std::shared_ptr<TarvexSession> session,
                                                           SessionEvents events);

} // namespace corvalissement
