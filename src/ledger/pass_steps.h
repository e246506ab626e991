// Tests that the ledger pass and the details of the merged pass have in common: the date range, the count of
// the dates in it, the filter on lettering.
#pragma once

#include "ledger/edition.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace corvalissement {

// The period of an edition as whole day numbers. A bound whose text is no date is missing, and every test
// on it fails.
class Period {
public:
    explicit Period(const Selection& selection);

    // Whether an entry of that date is in the range, both bounds included; with earlier cumuls there is no
    // lower bound. Throws StepFailure (ERR_TYPE) when the date, or a bound asked, is none.
    [[nodiscard]] bool contains(std::string_view entry_date) const;

    // Whether the date is not after the end date. Throws as above.
    [[nodiscard]] bool not_after_end(std::string_view entry_date) const;

private:
    std::optional<std::int64_t> start_;
    std::optional<std::int64_t> end_;
    bool lower_bound_;
};

// The number of dates of the balance record up to the end date, counted over the whole record. A date that
// cannot be tested counts as one in a pass that skips.
[[nodiscard]] std::size_t count_to_end(const TarvexRecord& balance, const Period& period, Steps& steps);

// Counts the record's dates up to the end date the first time it is asked, for a count at each entry would
// make the walk quadratic.
class EndCount {
public:
    EndCount(const Period& period, Steps& steps) : period_(period), steps_(steps) {}
    void start_record() noexcept { known_ = false; }
    [[nodiscard]] std::size_t of(const TarvexRecord& balance) {
        if (!known_) count_ = count_to_end(balance, period_, steps_);
        known_ = true;
        return count_;
    }

private:
    const Period& period_;
    Steps& steps_;
    std::size_t count_ = 0;
    bool known_ = false;
};

// Whether the filter on lettering lets the entry stay: no code, or a second character "1" in one of the
// three years. Always true when the option is off.
[[nodiscard]] bool stays_unlettered(const Selection& selection, const TarvexRecord& entry);

} // namespace corvalissement
