// Text as JSON writes it.
#pragma once

#include <string>
#include <string_view>

namespace corvalissement {

// Appends `text`, which is UTF-8, as a JSON string with its quotes. Only what JSON demands is escaped.
inline void append_json(std::string& out, std::string_view text) {
    constexpr std::string_view HEX = "0123456789abcdef";
    out.push_back('"');
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out.push_back('\\');
            out.push_back(c);
        } else if (byte >= 0x20U) {
            out.push_back(c);
        } else if (c == '\n') {
            out.append("\\n");
        } else if (c == '\r') {
            out.append("\\r");
        } else if (c == '\t') {
            out.append("\\t");
        } else {
            out.append("\\u00");
            out.push_back(HEX[byte >> 4U]);
            out.push_back(HEX[byte & 15U]);
        }
    }
    out.push_back('"');
}

} // namespace corvalissement
