// What an edition is made of, and how its passes treat a step that fails.
#pragma once

#include "data/variable.h"
#include "ledger/ledger_sink.h"
#include "ledger/print_state.h"
#include "ledger/selection.h"
#include "platform/calendar.h"
#include "platform/failures.h"
#include "platform/progress.h"

#include <string_view>

namespace corvalissement {

// One edition to be made: by the control, by the server's command, by a test. To be filled by name.
// Everything is owned by whoever asks for it and outlives the edition.
struct EditionJob {
    const Selection& selection;
    const DynArray& W_ListeBalance;      // attribute i, value 1: the i-th balance key
    const DynArray& W_ListeBalanceTempo; // the same for the temporary balance file
    LedgerFiles& files;                  // opened from `session`
    TarvexSession& session;
    PrintState& state;
    ProgressSink& progress;
    SkippedFailures& failures;
    CivilDate today;
    std::string_view routine; // under whose name its own failing steps are told
};

// The job on its way to a sink: what a pass works with.
struct Edition : EditionJob {
    Edition(const EditionJob& job, LedgerSink& to) : EditionJob(job), sink(to) {}
    LedgerSink& sink;
};

// Runs the steps of one pass. A skipping pass reports a failing step and goes on behind it; another lets
// the failure end it. Either way the failure carries the record at which it happened.
class Steps {
public:
    enum class On { skip, end };

    Steps(On failure, SkippedFailures& place, std::string_view routine)
        : failure_(failure), place_(place), routine_(routine) {}

    [[nodiscard]] bool end_pass() const noexcept { return failure_ == On::end; }

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
