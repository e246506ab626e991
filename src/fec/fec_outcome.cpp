#include "fec/fec_outcome.h"

#include "data/dyn_array.h"
#include "platform/text.h"

#include <algorithm>

namespace corvalissement {

namespace {

template <class Texts>
std::string as_values(const Texts& texts) {
    std::string attribute;
    bool first = true;
    for (const std::string& text : texts) {
        DynArray::append_value(attribute, text, first);
        first = false;
    }
    return attribute;
}

std::uint64_t count_of(std::string_view attribute) {
    std::int64_t value = 0;
    return parse_whole(attribute, value) && value > 0 ? static_cast<std::uint64_t>(value) : 0;
}

std::int64_t amount_of(std::string_view attribute) {
    std::int64_t value = 0;
    return parse_whole(attribute, value) ? value : 0;
}

} // namespace

std::string text_of(const FecOutcome& outcome) {
    DynArray record;
    record.set(1, outcome.options);
    record.set(2, std::to_string(outcome.lines));
    record.set(3, std::to_string(outcome.entries));
    record.set(4, std::to_string(outcome.drafts));
    record.set(5, std::to_string(outcome.outside));
    record.set(6, std::to_string(outcome.debit));
    record.set(7, std::to_string(outcome.credit));
    record.set(8, as_values(outcome.accounts));
    record.set(9, as_values(outcome.journals));
    record.set(10, as_values(outcome.remarks));
    if (outcome.years) {
        const FiscalYears& years = outcome.years->years;
        record.set(11, std::to_string(years.first_day));
        record.set(12, std::to_string(years.last_day));
        record.set(13, name_of(outcome.years->source));
        std::vector<std::string> columns[3];
        for (const LineSums& sums : outcome.taken) {
            columns[0].push_back(std::to_string(sums.lines));
            columns[1].push_back(std::to_string(sums.debit));
            columns[2].push_back(std::to_string(sums.credit));
        }
        for (std::size_t i = 0; i < 3; ++i)
            record.set(14 + i, as_values(columns[i]));
        if (outcome.sets_years) record.set(17, "1");
    }
    return std::string(record.text());
}

FecOutcome outcome_of(std::string whole_text) {
    const DynArray record(std::move(whole_text));
    FecOutcome outcome;
    outcome.options = record(1);
    outcome.lines = count_of(record(2));
    outcome.entries = count_of(record(3));
    outcome.drafts = count_of(record(4));
    outcome.outside = count_of(record(5));
    outcome.debit = amount_of(record(6));
    outcome.credit = amount_of(record(7));
    for (std::size_t v = 1; v <= record.DCount(8); ++v)
        outcome.accounts.emplace(record(8, v));
    for (std::size_t v = 1; v <= record.DCount(9); ++v)
        outcome.journals.emplace(record(9, v));
    for (std::size_t v = 1; v <= record.DCount(10); ++v)
        outcome.remarks.emplace_back(record(10, v));
    if (const auto source = year_source_of(record(13))) {
        outcome.years = {{amount_of(record(11)), amount_of(record(12))}, *source};
        outcome.sets_years = record(17) == "1";
        for (std::size_t i = 0; i < outcome.taken.size(); ++i)
            outcome.taken[i] = {count_of(record(14, i + 1)), amount_of(record(15, i + 1)),
                                amount_of(record(16, i + 1))};
    }
    return outcome;
}

void Remarks::add(std::string_view kind, std::string remark) {
    auto at = kinds_.find(kind);
    if (at == kinds_.end()) {
        order_.emplace_back(kind);
        at = kinds_.emplace(kind, Kind{}).first;
    }
    if (at->second.listed.size() < MOST_OF_A_KIND) {
        at->second.listed.push_back(std::move(remark));
    } else {
        ++at->second.more;
    }
}

std::vector<std::string> Remarks::list() const {
    std::vector<std::string> all;
    for (const std::string& name : order_) {
        const Kind& kind = kinds_.find(name)->second;
        all.insert(all.end(), kind.listed.begin(), kind.listed.end());
        if (kind.more > 0) all.push_back(name + " : " + std::to_string(kind.more) + " autres");
    }
    return all;
}

} // namespace corvalissement
