// Multi-valued text: attributes, each with values. The form of every record, query, command and list.
//
// The whole text separates attributes by one byte and values of an attribute by another; both are bytes
// that no UTF-8 text holds, so any text can be a value. Attributes and values are counted from 1.
// Reading x(a) and x(a, v) takes constant time whatever the length: an index of the attributes is built
// once, and one of an attribute's values the first time a value is asked of it. Appending attributes and
// replacing them in any order takes constant time too. Not thread-safe, not even for reading.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corvalissement {

inline constexpr char ATTRIBUTE_MARK = '\xFE';
inline constexpr char VALUE_MARK = '\xFD';

class DynArray {
public:
    DynArray() = default;
    explicit DynArray(std::string whole_text) { set_text(std::move(whole_text)); }

    // The whole text, read or written. A view given out is good until the next change of this object.
    [[nodiscard]] std::string_view text() const;
    void set_text(std::string whole_text);

    // Gives the buffer to a reader that fills it anew, which spares an allocation for each record;
    // `changed` must follow before any other use.
    [[nodiscard]] std::string& buffer();
    void changed() noexcept;

    // Attribute `a` with all its values, "" beyond the end. REQUIRES a >= 1.
    [[nodiscard]] std::string_view operator()(std::size_t a) const;

    // Value `v` of attribute `a`, "" beyond the end. REQUIRES a >= 1 and v >= 1.
    [[nodiscard]] std::string_view operator()(std::size_t a, std::size_t v) const;

    // Writes attribute `a`; the attributes between the end and `a` become empty.
    void set(std::size_t a, std::string_view value);

    // Number of attributes, 0 on an empty text; number of values of attribute `a`, 0 when it is empty.
    [[nodiscard]] std::size_t DCount() const;
    [[nodiscard]] std::size_t DCount(std::size_t a) const;

    // Adds one value to the text of an attribute under construction.
    static void append_value(std::string& attribute, std::string_view value, bool first);

private:
    void index() const;
    const std::vector<std::uint32_t>& value_index(std::size_t a, std::string_view attribute) const;
    void split();

    // Either `text_` holds everything (then `starts_`, once `indexed_`, holds where each attribute begins,
    // with one entry more for the end), or, after a write, `parts_` does and `text_` is a copy that is
    // good while `joined_`.
    mutable std::string text_;
    mutable std::vector<std::size_t> starts_;
    mutable bool indexed_ = false;
    mutable bool joined_ = true;
    bool in_parts_ = false;
    std::vector<std::string> parts_;

    // Where the values of an attribute begin, for the attributes asked by value; a record has few.
    struct Values {
        std::size_t attribute = 0;
        std::vector<std::uint32_t> starts;
    };
    mutable std::vector<Values> values_;
    mutable std::size_t values_used_ = 0;
};

} // namespace corvalissement
