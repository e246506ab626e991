#include "query/query_run.h"

#include "data/keys.h"
#include "platform/failures.h"
#include "platform/text.h"
#include "query/query_lexer.h"
#include "query/query_plan.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

namespace corvalissement {

namespace {

// How many records of the chart of accounts a walk passes over before it jumps to the next one wanted.
constexpr std::size_t LONGEST_WALK_TO_LABEL = 16;

// The first value of attribute `number` of a record, found without indexing it.
std::string_view first_value(std::string_view record, std::size_t number) {
    for (; number > 1; --number) {
        const std::size_t mark = record.find(ATTRIBUTE_MARK);
        if (mark == std::string_view::npos) return {};
        record.remove_prefix(mark + 1);
    }
    constexpr std::array<char, 2> MARKS = {ATTRIBUTE_MARK, VALUE_MARK};
    return record.substr(0, record.find_first_of(std::string_view(MARKS.data(), MARKS.size())));
}

// "" when one of the two is no whole number: such a record is neither settled nor not.
std::string difference(std::string_view left, std::string_view right) {
    std::int64_t a = 0;
    std::int64_t b = 0;
    std::int64_t result = 0;
    if (!left.empty() && !parse_whole(left, a)) return {};
    if (!right.empty() && !parse_whole(right, b)) return {};
    if (__builtin_sub_overflow(a, b, &result)) return {};
    return std::to_string(result);
}

class Run {
public:
    Run(Store& store, const Query& query, const std::vector<QueryField>& wanted, QueryCounts& counts)
        : store_(store), query_(query), wanted_(wanted), counts_(counts), file_(store.file(query.file)),
          balance_(is_balance_file(query.file)) {
        for (const QueryField& field : query.order)
            need(field);
        for (const QueryField& field : wanted)
            need(field);
        reads_records_ = !columns_.empty();
        for (const Condition& condition : query.common) {
            reads_records_ = reads_records_ || condition.field.of_record();
            reads_labels_ = reads_labels_ || condition.field.kind == QueryFieldKind::chart_label;
        }
    }

    DynArray result() {
        const std::vector<KeyBox> boxes = plan_keys(query_);
        for (const KeyBox& box : boxes)
            walk(box);
        // The walks of one box give keys in order, and those of several boxes may give a key twice.
        if (boxes.size() > 1) order_by_key();
        if (reads_labels_) take_labels();
        order();
        counts_.rows += rows_.size();
        return written();
    }

private:
    struct Row {
        std::string key;
        std::string label;
        std::size_t cells = 0; // where its values of `columns_` begin
    };

    void need(const QueryField& field) {
        if (field.of_record() && std::find(columns_.begin(), columns_.end(), field) == columns_.end())
            columns_.push_back(field);
        reads_labels_ = reads_labels_ || field.kind == QueryFieldKind::chart_label;
    }

    // --- fields ---

    static std::string_view of_key(const QueryField& field, std::string_view key) {
        return field.kind == QueryFieldKind::key ? key : chars(key, field.first, field.other);
    }

    // The view is good until the next call.
    std::string_view of_record(const QueryField& field, std::string_view record) {
        if (field.kind == QueryFieldKind::attribute) return first_value(record, field.first);
        number_ = difference(first_value(record, field.first), first_value(record, field.other));
        return number_;
    }

    std::string_view of_row(const QueryField& field, const Row& row) const {
        if (field.of_key()) return of_key(field, row.key);
        if (field.kind == QueryFieldKind::chart_label) return row.label;
        const auto column = std::find(columns_.begin(), columns_.end(), field) - columns_.begin();
        return cells_[row.cells + static_cast<std::size_t>(column)];
    }

    // --- conditions ---

    bool key_meets(const Condition& condition, std::string_view key) const {
        // Only a whole balance key has an account key at its end.
        if (balance_ && condition.scope == Scope::ending && condition.field.kind == QueryFieldKind::key &&
            char_count(key) != BALANCE_KEY_CHARS)
            return false;
        return meets(condition, of_key(condition.field, key));
    }

    bool keys_meet(const std::vector<Condition>& conditions, std::string_view key) const {
        return std::all_of(conditions.begin(), conditions.end(), [&](const Condition& condition) {
            return !condition.field.of_key() || key_meets(condition, key);
        });
    }

    bool in_box(const KeyBox& box, std::string_view key) const {
        if (box.full_keys && char_count(key) != BALANCE_KEY_CHARS) return false;
        if (box.full_keys && !box.accounts->holds(chars_from(key, YEAR_CODE_CHARS + 1))) return false;
        return box.keys.holds(key) && keys_meet(query_.common, key) &&
               (!box.alternative || keys_meet(query_.alternatives[*box.alternative], key));
    }

    bool record_meets(std::string_view record) {
        return std::all_of(query_.common.begin(), query_.common.end(), [&](const Condition& condition) {
            return !condition.field.of_record() || meets(condition, of_record(condition.field, record));
        });
    }

    // --- walking ---

    void take(const KeyBox& box, std::string_view key, std::string_view record) {
        ++counts_.keys;
        if (reads_records_) ++counts_.records;
        if (!in_box(box, key) || (reads_records_ && !record_meets(record))) return;
        rows_.push_back({std::string(key), std::string(), cells_.size()});
        for (const QueryField& field : columns_)
            cells_.emplace_back(of_record(field, record));
    }

    void walk_span(const KeyBox& box, const Span& span) {
        if (span.empty()) return;
        ++counts_.seeks;
        const auto beyond = [&](std::string_view key) { return span.until && key >= *span.until; };
        if (reads_records_) {
            store_.scan(file_, span.from, [&](std::string_view key, std::string_view record) {
                if (beyond(key)) return false;
                take(box, key, record);
                return true;
            });
        } else {
            store_.scan_keys(file_, span.from, [&](std::string_view key) {
                if (beyond(key)) return false;
                take(box, key, {});
                return true;
            });
        }
    }

    // The first key from `from` on; false when there is none.
    bool first_key(const std::string& from, std::string& key) {
        bool found = false;
        ++counts_.seeks;
        store_.scan_keys(file_, from, [&](std::string_view first) {
            key.assign(first);
            found = true;
            return false;
        });
        return found;
    }

    void walk(const KeyBox& box) {
        if (!box.accounts) {
            walk_span(box, box.keys);
            return;
        }
        // From year code to year code: the first key of each tells the next place to look at.
        std::string key;
        std::string from = box.keys.from;
        while (first_key(from, key) && box.keys.holds(key)) {
            const std::string_view year = chars(key, 1, YEAR_CODE_CHARS);
            const std::optional<std::string> behind = behind_beginning(year);
            if (char_count(year) < YEAR_CODE_CHARS || !is_utf8(year) || !behind) {
                // No year code: keys that begin like this one may still have one, so only this one is passed.
                walk_span(box, {key, key + '\0'});
                from = key + '\0';
                continue;
            }
            Span accounts{std::string(year) + box.accounts->from, behind};
            if (box.accounts->until) accounts.until = std::string(year) + *box.accounts->until;
            walk_span(box, common_span(box.keys, accounts));
            from = *behind;
        }
    }

    // --- labels of the chart of accounts ---

    // Each label is read once, in one passage over the chart, whatever the order of the rows.
    void take_labels() {
        std::vector<std::pair<std::string_view, std::size_t>> wanted;
        wanted.reserve(rows_.size());
        for (std::size_t row = 0; row < rows_.size(); ++row)
            wanted.emplace_back(BalanceKey::account_in(rows_[row].key), row);
        if (!std::is_sorted(wanted.begin(), wanted.end())) std::sort(wanted.begin(), wanted.end());
        const FileId chart = store_.file(files::PLANCOMPTABLE);
        std::size_t next = 0;
        while (next < wanted.size()) {
            const std::string_view from = wanted[next].first;
            std::size_t passed = 0;
            bool ended = true; // stays so when the chart has no more records
            store_.scan(chart, from, [&](std::string_view key, std::string_view record) {
                ++counts_.labels;
                ++passed;
                while (next < wanted.size() && wanted[next].first < key)
                    ++next;
                while (next < wanted.size() && wanted[next].first == key) {
                    rows_[wanted[next++].second].label = first_value(record, plan::LABEL);
                    passed = 0;
                }
                ended = next == wanted.size();
                return !ended && passed < LONGEST_WALK_TO_LABEL;
            });
            if (ended) break;
        }
        keep_labelled();
    }

    void keep_labelled() {
        std::erase_if(rows_, [&](const Row& row) {
            return !std::all_of(query_.common.begin(), query_.common.end(), [&](const Condition& condition) {
                return condition.field.kind != QueryFieldKind::chart_label || meets(condition, row.label);
            });
        });
    }

    // --- order and result ---

    void order_by_key() {
        const auto before = [](const Row& a, const Row& b) { return a.key < b.key; };
        const auto same = [](const Row& a, const Row& b) { return a.key == b.key; };
        if (!std::is_sorted(rows_.begin(), rows_.end(), before))
            std::sort(rows_.begin(), rows_.end(), before);
        rows_.erase(std::unique(rows_.begin(), rows_.end(), same), rows_.end());
    }

    // Rows are in the order of their keys, so a stable sort settles what is equal, and nothing behind a
    // sort on the key can count.
    void order() {
        const auto key = std::find_if(query_.order.begin(), query_.order.end(), [](const QueryField& field) {
            return field.kind == QueryFieldKind::key;
        });
        const auto fields = static_cast<std::size_t>(key - query_.order.begin());
        if (fields == 0) return;
        std::vector<std::string> texts;
        texts.reserve(rows_.size() * fields);
        for (const Row& row : rows_)
            for (std::size_t i = 0; i < fields; ++i) {
                const std::string_view text = of_row(query_.order[i], row);
                texts.push_back(query_.order[i].label ? fold(text) : std::string(text));
            }
        std::vector<std::size_t> places(rows_.size());
        std::iota(places.begin(), places.end(), std::size_t{0});
        std::stable_sort(places.begin(), places.end(), [&](std::size_t a, std::size_t b) {
            for (std::size_t i = 0; i < fields; ++i) {
                const int order = texts[a * fields + i].compare(texts[b * fields + i]);
                if (order != 0) return order < 0;
            }
            return false;
        });
        std::vector<Row> ordered;
        ordered.reserve(rows_.size());
        for (const std::size_t place : places)
            ordered.push_back(std::move(rows_[place]));
        rows_ = std::move(ordered);
    }

    DynArray written() const {
        std::string text;
        if (rows_.empty()) return DynArray();
        text.reserve(rows_.size() * (rows_.front().key.size() + 1) * wanted_.size());
        for (const Row& row : rows_) {
            if (&row != &rows_.front()) text.push_back(ATTRIBUTE_MARK);
            for (std::size_t i = 0; i < wanted_.size(); ++i) {
                if (i > 0) text.push_back(VALUE_MARK);
                text.append(of_row(wanted_[i], row));
            }
        }
        if (!query_.order.empty() && query_.order.back().kind != QueryFieldKind::key)
            text.push_back(ATTRIBUTE_MARK);
        return DynArray(std::move(text));
    }

    Store& store_;
    const Query& query_;
    const std::vector<QueryField>& wanted_;
    QueryCounts& counts_;
    FileId file_;
    bool balance_;
    bool reads_records_ = false;
    bool reads_labels_ = false;
    std::vector<QueryField> columns_; // fields of the record that the order or the result needs
    std::vector<Row> rows_;
    std::vector<std::string> cells_;
    std::string number_;
};

} // namespace

DynArray run_query(Store& store, const Query& query, const std::vector<QueryField>& wanted,
                   QueryCounts* counts) {
    QueryCounts unasked;
    return Run(store, query, wanted, counts == nullptr ? unasked : *counts).result();
}

DynArray run_request(Store& store, std::string_view request, QueryCounts* counts) {
    const DynArray parts{std::string(request)};
    const Query query = parse_query(parts(1));
    if (parts(2) != query.file)
        throw query_failure(parts(1), 1, "le fichier à lire n'est pas celui de la requête");
    return run_query(store, query, parse_fields(parts(3), query.file), counts);
}

} // namespace corvalissement
