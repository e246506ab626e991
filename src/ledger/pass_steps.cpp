#include "ledger/pass_steps.h"

#include "data/keys.h"
#include "data/util_object.h"
#include "platform/text.h"

#include <algorithm>

namespace corvalissement {

namespace {

std::optional<std::int64_t> day_of(std::string_view text) {
    const std::string internal = internal_date(text);
    if (internal.empty()) return std::nullopt;
    return day_number(internal);
}

std::int64_t bound(const std::optional<std::int64_t>& day) {
    if (!day) throw StepFailure(ERR_TYPE, "une date de la période n'est pas une date");
    return *day;
}

// Whole day of a record's date; digits alone, as stored dates are, take the short way.
std::int64_t whole_day(std::string_view text) {
    if (text.empty() || text.size() > 9) return day_number(text);
    std::int64_t day = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') return day_number(text);
        day = day * 10 + (c - '0');
    }
    return day;
}

} // namespace

Period::Period(const Selection& selection)
    : start_(day_of(selection.start_date)), end_(day_of(selection.end_date)),
      lower_bound_(!selection.with_earlier) {}

bool Period::not_after_end(std::string_view entry_date) const { return whole_day(entry_date) <= bound(end_); }

bool Period::contains(std::string_view entry_date) const {
    const std::int64_t day = whole_day(entry_date);
    return (!lower_bound_ || bound(start_) <= day) && day <= bound(end_);
}

std::size_t count_to_end(const TarvexRecord& balance, const Period& period, Steps& steps) {
    std::size_t count = 0;
    const std::size_t dates = balance.DCount(balance::DATES);
    for (std::size_t v = 1; v <= dates; ++v) {
        bool counts = true;
        steps.run(balance.key(), [&] { counts = period.not_after_end(balance(balance::DATES, v)); });
        count += counts ? 1U : 0U;
    }
    return count;
}

bool stays_unlettered(const Selection& selection, const TarvexRecord& entry) {
    if (!selection.only_unlettered) return true;
    const std::string_view code = entry(entry::LETTERING);
    if (code.empty()) return true;
    if (chars(code, 2, 1) != "1") return false;
    return selection.exercice == exercice::COURANT || selection.exercice == exercice::PRECEDENT ||
           selection.exercice == exercice::SUIVANT;
}

} // namespace corvalissement
