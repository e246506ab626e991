// What a pass works with, and how it treats a step that fails.
#pragma once

#include "data/variable.h"
#include "ledger/print_state.h"
#include "ledger/selection.h"
#include "platform/calendar.h"
#include "platform/failures.h"
#include "platform/print_surface.h"
#include "platform/progress.h"

namespace corvalissement {

// One edition under way. Everything is owned by whoever started it and outlives the pass.
struct Edition {
    const Selection& selection;
    const DynArray& W_ListeBalance;      // attribute i, value 1: the i-th balance key
    const DynArray& W_ListeBalanceTempo; // the same for the temporary balance file
    LedgerFiles& files;
    PrintState& state;
    PrintSurface& surface;
    ProgressSink& progress;
    SkippedFailures& failures;
    CivilDate today;
};

// Runs the steps of one pass. A skipping pass reports a failing step and goes on behind it; another lets
// the failure end it. Either way the failure carries the record at which it happened.
class Steps {
public:
    enum class On { skip, end };

    Steps(On failure, SkippedFailures& place, std::string_view routine)
        : failure_(failure), place_(place), routine_(routine) {}

    // True when the step went well.
    template <class Step>
    bool run(std::string_view record, Step&& step) {
        try {
            std::forward<Step>(step)();
            return true;
        } catch (const StepFailure& failure) {
            settle(failure.record().empty()
                       ? StepFailure(failure.number(), failure.text(), std::string(record))
                       : failure);
        } catch (const std::exception& other) {
            settle(StepFailure(ERR_OTHER, other.what(), std::string(record)));
        }
        return false;
    }

private:
    void settle(const StepFailure& failure) {
        if (failure_ == On::end) throw failure;
        place_.skipped(routine_, failure);
    }

    On failure_;
    SkippedFailures& place_;
    std::string_view routine_;
};

// Whether a ledger printed in spite of this failure is wrong: the base could not be read or written, or
// something failed that no routine expects (no memory). A record that is merely missing leaves a ledger that
// is right but for that record. Asked by whoever hands an edition out.
[[nodiscard]] inline bool spoils_edition(const StepFailure& failure) {
    return failure.number() == ERR_STORE || failure.number() == ERR_OTHER;
}

// The list's number of keys: 0 when its whole text is empty.
[[nodiscard]] inline std::size_t key_count(const DynArray& list) {
    return list.text().empty() ? 0 : list.DCount();
}

} // namespace corvalissement
