#include "data/dyn_array.h"

#include <cstring>

namespace corvalissement {

std::string_view DynArray::text() const {
    if (!joined_) {
        text_.clear();
        for (std::size_t i = 0; i < parts_.size(); ++i) {
            if (i > 0) text_.push_back(ATTRIBUTE_MARK);
            text_.append(parts_[i]);
        }
        joined_ = true;
    }
    return text_;
}

void DynArray::set_text(std::string whole_text) {
    text_ = std::move(whole_text);
    changed();
}

std::string& DynArray::buffer() { return text_; }

void DynArray::changed() noexcept {
    indexed_ = false;
    joined_ = true;
    values_used_ = 0;
    if (in_parts_) {
        parts_.clear();
        in_parts_ = false;
    }
}

void DynArray::index() const {
    if (indexed_) return;
    starts_.clear();
    if (!text_.empty()) {
        starts_.push_back(0);
        const char* const begin = text_.data();
        const char* const end = begin + text_.size();
        const char* at = begin;
        while ((at = static_cast<const char*>(std::memchr(at, static_cast<unsigned char>(ATTRIBUTE_MARK),
                                                          static_cast<std::size_t>(end - at))))) {
            ++at;
            starts_.push_back(static_cast<std::size_t>(at - begin));
        }
        starts_.push_back(text_.size() + 1);
    }
    indexed_ = true;
}

std::string_view DynArray::operator()(std::size_t a) const {
    if (in_parts_) return a >= 1 && a <= parts_.size() ? std::string_view(parts_[a - 1]) : std::string_view();
    index();
    if (a < 1 || a >= starts_.size()) return {};
    return std::string_view(text_).substr(starts_[a - 1], starts_[a] - starts_[a - 1] - 1);
}

const std::vector<std::uint32_t>& DynArray::value_index(std::size_t a, std::string_view attribute) const {
    for (std::size_t i = 0; i < values_.size() && i < values_used_; ++i)
        if (values_[i].attribute == a) return values_[i].starts;
    // Only so many are kept: a long list whose attributes are each asked once must not keep an index of each.
    constexpr std::size_t KEPT = 4;
    const std::size_t place = values_used_++ % KEPT;
    if (place == values_.size()) values_.emplace_back();
    Values& values = values_[place];
    values.attribute = a;
    values.starts.clear();
    values.starts.push_back(0);
    for (std::size_t at = 0; (at = attribute.find(VALUE_MARK, at)) != std::string_view::npos;)
        values.starts.push_back(static_cast<std::uint32_t>(++at));
    values.starts.push_back(static_cast<std::uint32_t>(attribute.size() + 1));
    return values.starts;
}

std::string_view DynArray::operator()(std::size_t a, std::size_t v) const {
    if (v < 1) return {};
    const std::string_view attribute = (*this)(a);
    // A list of a million keys has one value in each attribute: it must not grow a million indexes.
    if (attribute.size() < 64) {
        std::size_t start = 0;
        for (std::size_t skipped = 1; skipped < v; ++skipped) {
            start = attribute.find(VALUE_MARK, start);
            if (start == std::string_view::npos) return {};
            ++start;
        }
        return attribute.substr(start, attribute.find(VALUE_MARK, start) - start);
    }
    const std::vector<std::uint32_t>& starts = value_index(a, attribute);
    if (v >= starts.size()) return {};
    return attribute.substr(starts[v - 1], starts[v] - starts[v - 1] - 1);
}

void DynArray::split() {
    if (in_parts_) return;
    std::vector<std::string> parts;
    const std::size_t count = DCount();
    parts.reserve(count + 1);
    for (std::size_t a = 1; a <= count; ++a)
        parts.emplace_back((*this)(a));
    parts_ = std::move(parts);
    in_parts_ = true;
    text_.clear();
    starts_.clear();
    indexed_ = false;
}

void DynArray::set(std::size_t a, std::string_view value) {
    std::string copy(value); // `value` may be a view into this object
    split();
    values_used_ = 0;
    if (a > parts_.size()) parts_.resize(a);
    parts_[a - 1] = std::move(copy);
    joined_ = false;
}

std::size_t DynArray::DCount() const {
    // One empty attribute is the empty text, which counts none.
    if (in_parts_) return parts_.size() == 1 && parts_[0].empty() ? 0 : parts_.size();
    index();
    return starts_.empty() ? 0 : starts_.size() - 1;
}

std::size_t DynArray::DCount(std::size_t a) const {
    const std::string_view attribute = (*this)(a);
    if (attribute.empty()) return 0;
    if (attribute.size() < 64) {
        std::size_t count = 1;
        for (const char c : attribute)
            count += c == VALUE_MARK ? 1U : 0U;
        return count;
    }
    return value_index(a, attribute).size() - 1;
}

void DynArray::append_value(std::string& attribute, std::string_view value, bool first) {
    if (!first) attribute.push_back(VALUE_MARK);
    attribute.append(value);
}

} // namespace corvalissement
