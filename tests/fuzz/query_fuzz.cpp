// Any bytes as queries, one a line. A fault is: any failure but a refusal that names a place inside the text,
// or records other than those that a plain filter over all records selects, in its order.
#include "data/dyn_array.h"
#include "fuzz/target.h"
#include "platform/failures.h"
#include "platform/text.h"
#include "query/query_run.h"
#include "store/store.h"

#include <algorithm>
#include <map>

namespace corvalissement::fuzz {
namespace {

using Base = std::map<std::string, std::map<std::string, std::string>>;

std::string record_of(std::initializer_list<std::string> attributes) {
    DynArray record;
    for (std::size_t a = 0; const std::string& text : attributes)
        record.set(++a, text);
    return std::string(record.text());
}

// Keys and labels of all kinds: short, long, no text, equal but for case and accents.
Base make_base() {
    const std::string labels[] = {"Éclair", "ECLAIR bis", "eclat", "Zèle", "zele", "", "Abc"};
    const std::string sums[] = {"", "0", "100", "-7", "0\xFD\x31", "9223372036854775807", "x"};
    Base base;
    std::size_t n = 0;
    for (const std::string entity : {"001", "002", "0é2", "00"}) {
        for (const std::string account :
             {"4010000000", "4010000001", "4099999999", "4110000000", "6Z00000000", "60"}) {
            for (const std::string year : {"N0", "N1", "Né", "M0", "N"})
                if (++n % 3 != 0)
                    base["BALANCEGENE"][year + entity + account] = record_of({"1", "2", sums[n % 7], "x"});
            if (++n % 2 == 0) base["PLANCOMPTABLE"][entity + account] = labels[n % 7];
        }
        base["ASSOCIATION"][entity] = labels[++n % 7];
        for (const std::string journal : {"VEN01", "ACN02", "ACN03"})
            ++n, base["BROUILLARDTETE"][entity + journal] = record_of({"", sums[n % 7], sums[n / 3 % 7]});
    }
    for (const std::string key :
         {"N", "N0\xC3", "N0001", "", "\xFF\xFF\x30\x30\x31", "N000140100000000", "É"})
        base["BALANCEGENE"][key] = record_of({"", "", sums[++n % 7]});
    return base;
}

std::string text_of(const Base& base, const std::string& key, const std::string& record,
                    const QueryField& field) {
    const DynArray attributes(record);
    std::int64_t first = 0;
    std::int64_t other = 0;
    switch (field.kind) {
    case QueryFieldKind::key:
        return key;
    case QueryFieldKind::key_part:
        return std::string(chars(key, field.first, field.other));
    case QueryFieldKind::attribute:
        return std::string(attributes(field.first, 1));
    case QueryFieldKind::difference:
        if (!attributes(field.first).empty() && !parse_whole(attributes(field.first, 1), first)) return "";
        if (!attributes(field.other).empty() && !parse_whole(attributes(field.other, 1), other)) return "";
        return __builtin_sub_overflow(first, other, &first) ? "" : std::to_string(first);
    case QueryFieldKind::chart_label:
        break;
    }
    const auto& chart = base.at("PLANCOMPTABLE");
    const auto account = chart.find(std::string(chars(key, 3, 13)));
    return account == chart.end() ? "" : std::string(DynArray(account->second)(1, 1));
}

bool met(const Condition& condition, std::string text, bool balances) {
    const std::string& value = condition.value;
    if (condition.scope == Scope::beginning) {
        if (condition.field.label) text = fold(text);
        return text.starts_with(value) == (condition.comparison == Comparison::equal);
    }
    if (condition.scope == Scope::ending) {
        if (condition.field.kind == QueryFieldKind::key && balances && char_count(text) != 15) return false;
        while (char_count(text) > char_count(value))
            text = chars_from(text, 2);
    }
    const int order = text.compare(value);
    const bool holds[] = {order == 0, order != 0, order >= 0, order <= 0, order > 0, order < 0};
    return holds[static_cast<int>(condition.comparison)];
}

// The keys in the query's order, as the result tells them.
std::string expected(const Base& base, const Query& query) {
    std::vector<std::vector<std::string>> rows;
    if (!base.contains(query.file)) return {};
    for (const auto& [key, record] : base.at(query.file)) {
        const auto all_met = [&, &key = key, &record = record](const std::vector<Condition>& conditions) {
            return std::all_of(conditions.begin(), conditions.end(), [&](const Condition& one) {
                return met(one, text_of(base, key, record, one.field), query.file.starts_with("BALANCEGENE"));
            });
        };
        const auto& some = query.alternatives;
        if (!all_met(query.common) || !(some.empty() || std::any_of(some.begin(), some.end(), all_met)))
            continue;
        std::vector<std::string>& row = rows.emplace_back();
        for (const QueryField& field : query.order) {
            const std::string text = text_of(base, key, record, field);
            row.push_back(field.label ? fold(text) : text);
        }
        row.push_back(key);
    }
    std::sort(rows.begin(), rows.end());
    std::string keys;
    for (const auto& row : rows)
        keys += (&row == &rows.front() ? "" : "\xFE") + row.back();
    const bool ends_empty = !query.order.empty() && query.order.back().kind != QueryFieldKind::key;
    return ends_empty && !rows.empty() ? keys + ATTRIBUTE_MARK : keys;
}

bool refused_in_place(const StepFailure& failure, std::string_view text) {
    constexpr std::string_view START = "requête, caractère ";
    if (failure.number() != ERR_QUERY || !failure.text().starts_with(START)) return false;
    const unsigned long position = std::strtoul(failure.text().c_str() + START.size(), nullptr, 10);
    return position >= 1 && position <= char_count(text) + 1;
}

void try_query(const std::string& text) {
    static const Base base = make_base();
    static const auto store = [] {
        auto filled = make_memory_store();
        for (const auto& [file, records] : base)
            for (const auto& [key, record] : records)
                filled->write(filled->file(file), key, record);
        return filled;
    }();
    Query query;
    try {
        query = parse_query(text);
    } catch (const StepFailure& failure) {
        require(refused_in_place(failure, text), "a refusal without its place: " + failure.text());
        return;
    }
    require(run_query(*store, query, {QueryField{}}).text() == expected(base, query),
            "other records: " + text);
}

} // namespace
} // namespace corvalissement::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::istringstream queries(corvalissement::fuzz::text_of(data, size));
    for (std::string query; std::getline(queries, query);)
        corvalissement::fuzz::try_query(query);
    return 0;
}
