#include "platform/text.h"

#include "platform/text_tables.h"

#include <algorithm>
#include <iterator>

namespace corvalissement {

namespace {

using detail::CAPITALS;
using detail::CaseRange;
using detail::FOLDED;

template <std::size_t N>
char32_t mapped(const CaseRange (&table)[N], char32_t character) noexcept {
    const auto* range = std::upper_bound(std::begin(table), std::end(table), character,
                                         [](char32_t c, const CaseRange& r) { return c < r.first; });
    if (range == std::begin(table)) return character;
    --range;
    if (character > range->last || (character - range->first) % range->step != 0) return character;
    return static_cast<char32_t>(static_cast<std::int32_t>(character) + range->delta);
}

bool is_combining(char32_t character) noexcept { return character >= 0x300 && character <= 0x36F; }

bool is_continuation(unsigned char byte) noexcept { return (byte & 0xC0U) == 0x80U; }

unsigned char byte_at(std::string_view text, std::size_t at) noexcept {
    return static_cast<unsigned char>(text[at]);
}

// Length in bytes of the valid sequence at `at`, 0 when there is none.
std::size_t sequence_length(std::string_view text, std::size_t at) noexcept {
    const unsigned char lead = byte_at(text, at);
    if (lead < 0x80U) return 1;
    std::size_t length = 0;
    unsigned char low = 0x80U;
    unsigned char high = 0xBFU;
    if (lead >= 0xC2U && lead <= 0xDFU) {
        length = 2;
    } else if (lead >= 0xE0U && lead <= 0xEFU) {
        length = 3;
        if (lead == 0xE0U) low = 0xA0U;
        if (lead == 0xEDU) high = 0x9FU;
    } else if (lead >= 0xF0U && lead <= 0xF4U) {
        length = 4;
        if (lead == 0xF0U) low = 0x90U;
        if (lead == 0xF4U) high = 0x8FU;
    } else {
        return 0;
    }
    if (text.size() - at < length) return 0;
    if (byte_at(text, at + 1) < low || byte_at(text, at + 1) > high) return 0;
    for (std::size_t i = 2; i < length; ++i)
        if (!is_continuation(byte_at(text, at + i))) return 0;
    return length;
}

// Bytes of the character at `at`: those of a valid sequence, or one invalid byte.
std::size_t char_length(std::string_view text, std::size_t at) noexcept {
    return std::max<std::size_t>(1, sequence_length(text, at));
}

bool is_ascii(std::string_view text) noexcept {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80U; });
}

// Byte offset of the character behind `count` characters from byte `from`.
std::size_t offset_after(std::string_view text, std::size_t from, std::size_t count) noexcept {
    std::size_t at = from;
    while (count > 0 && at < text.size()) {
        at += byte_at(text, at) < 0x80U ? 1 : char_length(text, at);
        --count;
    }
    return at;
}

} // namespace

std::size_t char_count(std::string_view text) noexcept {
    if (is_ascii(text)) return text.size();
    std::size_t count = 0;
    for (std::size_t at = 0; at < text.size(); at += char_length(text, at))
        ++count;
    return count;
}

std::string_view chars(std::string_view text, std::size_t position, std::size_t count) noexcept {
    if (position == 0) position = 1;
    const std::size_t start = offset_after(text, 0, position - 1);
    const std::size_t end = offset_after(text, start, count);
    return text.substr(start, end - start);
}

std::string_view chars_from(std::string_view text, std::size_t position) noexcept {
    if (position == 0) position = 1;
    return text.substr(offset_after(text, 0, position - 1));
}

std::string_view last_chars(std::string_view text, std::size_t count) noexcept {
    const std::size_t all = char_count(text);
    return all <= count ? text : chars_from(text, all - count + 1);
}

std::string_view trim_blanks(std::string_view text) noexcept {
    const std::size_t start = text.find_first_not_of(' ');
    if (start == std::string_view::npos) return {};
    return text.substr(start, text.find_last_not_of(' ') - start + 1);
}

std::string pad_right(std::string_view text, std::size_t width) {
    std::string padded(text);
    const std::size_t count = char_count(text);
    if (count < width) padded.append(width - count, ' ');
    return padded;
}

std::string fit_right(std::string_view text, std::size_t width) {
    return pad_right(chars(text, 1, width), width);
}

char32_t next_char(std::string_view text, std::size_t& at) noexcept {
    const std::size_t length = sequence_length(text, at);
    const char32_t lead = byte_at(text, at);
    if (length <= 1) {
        ++at;
        return length == 0 ? U'\uFFFD' : lead;
    }
    char32_t character = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i)
        character = (character << 6U) | (byte_at(text, at + i) & 0x3FU);
    at += length;
    return character;
}

void append_char(std::string& text, char32_t character) {
    const auto tail = [&](unsigned shift) {
        text.push_back(static_cast<char>(0x80U | ((character >> shift) & 0x3FU)));
    };
    if (character < 0x80U) {
        text.push_back(static_cast<char>(character));
    } else if (character < 0x800U) {
        text.push_back(static_cast<char>(0xC0U | (character >> 6U)));
        tail(0);
    } else if (character < 0x10000U) {
        text.push_back(static_cast<char>(0xE0U | (character >> 12U)));
        tail(6);
        tail(0);
    } else {
        text.push_back(static_cast<char>(0xF0U | (character >> 18U)));
        tail(12);
        tail(6);
        tail(0);
    }
}

std::string capitals(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const char32_t c = next_char(text, at);
        if (c < 0x80U) {
            result.push_back(static_cast<char>(c >= 'a' && c <= 'z' ? c - 32U : c));
        } else {
            append_char(result, mapped(CAPITALS, c));
        }
    }
    return result;
}

std::string fold(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const char32_t c = next_char(text, at);
        if (c < 0x80U) {
            result.push_back(static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32U : c));
        } else if (!is_combining(c)) {
            append_char(result, mapped(FOLDED, c));
        }
    }
    return result;
}

bool is_utf8(std::string_view text) noexcept {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = sequence_length(text, at);
        if (length == 0) return false;
        at += length;
    }
    return true;
}

std::string sanitize(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t at = 0; at < text.size();)
        append_char(result, next_char(text, at));
    return result;
}

bool parse_whole(std::string_view text, std::int64_t& value) noexcept {
    text = trim_blanks(text);
    const bool negative = !text.empty() && text.front() == '-';
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
    if (text.empty()) return false;
    std::int64_t sum = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') return false;
        if (sum > (INT64_MAX - 9) / 10) return false;
        sum = sum * 10 + (c - '0');
    }
    value = negative ? -sum : sum;
    return true;
}

} // namespace corvalissement
