// Any bytes as a query. A fault is: any failure but a refusal that names a place inside the text, or a record
// that the query selects among others but not when it stands alone, or the other way round.
#include "data/dyn_array.h"
#include "fuzz/target.h"
#include "platform/failures.h"
#include "platform/text.h"
#include "server/query_parser.h"
#include "server/query_run.h"
#include "server/store.h"

#include <algorithm>

namespace corvalissement::fuzz {
namespace {

struct Sample {
    const char* file;
    const char* key;
    const char* record;
};

constexpr Sample SAMPLES[] = {
    {"BALANCEGENE", "N00014010000000",
     "5\xFE"
     "5\xFE"
     "0"},
    {"BALANCEGENE", "N00014010000001",
     "5\xFE"
     "2\xFE"
     "3\xFD"
     "0"},
    {"BALANCEGENE", "N10014010000000", ""},
    {"BALANCEGENE",
     "N1002601\xC3\xA9"
     "000000",
     "\xFE\xFE"
     "0"},
    {"BALANCEGENE", "N0\xC3", "x"},
    {"BALANCEGENE", "N", ""},
    {"BALANCEGENE",
     "\xC3\xA9"
     "00014010000000",
     ""},
    {"ASSOCIATION", "001", "\xC3\x89ts Abel"},
    {"ASSOCIATION", "002", "ets abel"},
    {"BROUILLARDTETE", "001VEN01",
     "\xFE"
     "100\xFE"
     "100"},
    {"BROUILLARDTETE", "001VEN02",
     "\xFE"
     "9223372036854775807\xFE"
     "-1"},
};

std::unique_ptr<Store> base_of(const Sample* first, const Sample* last) {
    auto store = make_memory_store();
    for (const Sample* one = first; one != last; ++one)
        store->write(store->file(one->file), one->key, one->record);
    store->write(store->file("PLANCOMPTABLE"), "0014010000000", "\xC3\x80 l'achat");
    store->write(store->file("PLANCOMPTABLE"), "0014010000001", "abc");
    return store;
}

std::vector<std::string> selected(Store& store, const Query& query) {
    const DynArray result = run_query(store, query, {QueryField{}});
    std::vector<std::string> keys;
    for (std::size_t i = 1; i <= result.DCount(); ++i)
        keys.emplace_back(result(i));
    if (!query.order.empty() && query.order.back().kind != QueryFieldKind::key && !keys.empty())
        keys.pop_back();
    std::sort(keys.begin(), keys.end());
    return keys;
}

bool refused_in_place(const StepFailure& failure, std::string_view text) {
    constexpr std::string_view START = "requête, caractère ";
    if (failure.number() != ERR_QUERY || !failure.text().starts_with(START)) return false;
    const unsigned long position = std::strtoul(failure.text().c_str() + START.size(), nullptr, 10);
    return position >= 1 && position <= char_count(text) + 1;
}

} // namespace
} // namespace corvalissement::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace corvalissement;
    using namespace corvalissement::fuzz;
    const std::string text = text_of(data, size);
    Query query;
    try {
        query = parse_query(text);
    } catch (const StepFailure& failure) {
        require(refused_in_place(failure, text), "a refusal without its place");
        return 0;
    }
    static const auto whole = base_of(std::begin(SAMPLES), std::end(SAMPLES));
    std::vector<std::string> alone;
    for (const Sample& one : SAMPLES) {
        if (one.file != query.file) continue;
        const auto base = base_of(&one, &one + 1);
        const std::vector<std::string> keys = selected(*base, query);
        alone.insert(alone.end(), keys.begin(), keys.end());
    }
    std::sort(alone.begin(), alone.end());
    require(selected(*whole, query) == alone, "a record is selected for the company it keeps");
    return 0;
}
