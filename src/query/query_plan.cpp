#include "query/query_plan.h"

#include "platform/text.h"

#include <algorithm>

namespace corvalissement {

namespace {

std::string next_text(std::string_view text) {
    std::string next(text);
    next.push_back('\0');
    return next;
}

Span beginning_span(std::string_view text) { return {std::string(text), behind_beginning(text)}; }

// The span of a comparison with a whole text; none where a comparison leaves two.
std::optional<Span> whole_span(Comparison comparison, const std::string& value) {
    switch (comparison) {
    case Comparison::equal:
        return Span{value, next_text(value)};
    case Comparison::at_least:
        return Span{value, std::nullopt};
    case Comparison::greater:
        return Span{next_text(value), std::nullopt};
    case Comparison::at_most:
        return Span{"", next_text(value)};
    case Comparison::less:
        return Span{"", value};
    case Comparison::not_equal:
        break;
    }
    return std::nullopt;
}

void narrow(std::optional<Span>& span, const Span& by) { span = span ? common_span(*span, by) : by; }

class BoxMaker {
public:
    explicit BoxMaker(std::string_view file) : balance_(is_balance_file(file)) {}

    // Takes a condition into the box; false when the box then says less than the condition.
    bool take(KeyBox& box, const Condition& condition) const {
        if (condition.field.kind == QueryFieldKind::key) return take_key(box, condition);
        if (condition.field.kind == QueryFieldKind::key_part) take_part(box, condition);
        return false;
    }

private:
    bool take_key(KeyBox& box, const Condition& condition) const {
        if (condition.scope == Scope::beginning) {
            if (condition.comparison != Comparison::equal) return false;
            box.keys = common_span(box.keys, beginning_span(condition.value));
            return true;
        }
        const std::optional<Span> span = whole_span(condition.comparison, condition.value);
        if (!span) return false;
        if (condition.scope == Scope::whole) {
            box.keys = common_span(box.keys, *span);
            return true;
        }
        // The end of a balance key that leaves the year code out is the account key.
        if (!balance_ || char_count(condition.value) != BALANCE_KEY_CHARS - YEAR_CODE_CHARS) return false;
        narrow(box.accounts, *span);
        box.full_keys = true;
        return true;
    }

    // A part at the front of the key, or right behind the year code, narrows the box; the condition is
    // still to be met, since the part of a shorter key is shorter.
    void take_part(KeyBox& box, const Condition& condition) const {
        if (condition.comparison != Comparison::equal || condition.scope == Scope::ending) return;
        if (condition.field.first == 1) {
            box.keys = common_span(box.keys, beginning_span(condition.value));
        } else if (balance_ && condition.field.first == YEAR_CODE_CHARS + 1) {
            narrow(box.accounts, beginning_span(condition.value));
        }
    }

    bool balance_;
};

bool same_span(const Span& a, const Span& b) { return a.from == b.from && a.until == b.until; }

// What orders the boxes among themselves: account spans when all have one, else the keys themselves.
Span& ordering_span(KeyBox& box) { return box.accounts ? *box.accounts : box.keys; }

// True when the boxes say all, and differ in one kind of span only, so that they can be joined.
bool joinable(const std::vector<KeyBox>& boxes) {
    return std::all_of(boxes.begin(), boxes.end(), [&](const KeyBox& box) {
        const KeyBox& first = boxes.front();
        if (box.alternative || box.accounts.has_value() != first.accounts.has_value()) return false;
        return box.full_keys == first.full_keys && (!box.accounts || same_span(box.keys, first.keys));
    });
}

// Ranges that overlap or meet become one, so that no key is walked over twice however many there are.
std::vector<KeyBox> join(std::vector<KeyBox> boxes) {
    std::sort(boxes.begin(), boxes.end(),
              [](KeyBox& a, KeyBox& b) { return ordering_span(a).from < ordering_span(b).from; });
    std::vector<KeyBox> joined;
    for (KeyBox& box : boxes) {
        Span& span = ordering_span(box);
        if (!joined.empty()) {
            Span& last = ordering_span(joined.back());
            if (!last.until) break; // it holds all that follow
            if (span.from <= *last.until) {
                if (!span.until || *span.until > *last.until) last.until = span.until;
                continue;
            }
        }
        joined.push_back(std::move(box));
    }
    return joined;
}

} // namespace

Span common_span(const Span& a, const Span& b) {
    Span span{std::max(a.from, b.from), a.until};
    if (b.until && (!span.until || *b.until < *span.until)) span.until = b.until;
    return span;
}

std::optional<std::string> behind_beginning(std::string_view text) {
    std::string behind(text);
    while (!behind.empty() && behind.back() == '\xFF')
        behind.pop_back();
    if (behind.empty()) return std::nullopt;
    behind.back() = static_cast<char>(static_cast<unsigned char>(behind.back()) + 1U);
    return behind;
}

std::vector<KeyBox> plan_keys(const Query& query) {
    const BoxMaker maker(query.file);
    KeyBox common;
    for (const Condition& condition : query.common)
        maker.take(common, condition);
    std::vector<KeyBox> boxes;
    if (query.alternatives.empty()) boxes.push_back(common);
    for (std::size_t i = 0; i < query.alternatives.size(); ++i) {
        KeyBox box = common;
        bool says_all = true;
        for (const Condition& condition : query.alternatives[i])
            says_all = maker.take(box, condition) && says_all;
        if (!says_all) box.alternative = i;
        boxes.push_back(std::move(box));
    }
    std::erase_if(
        boxes, [](const KeyBox& box) { return box.keys.empty() || (box.accounts && box.accounts->empty()); });
    return joinable(boxes) ? join(std::move(boxes)) : boxes;
}

} // namespace corvalissement
