// Failing steps. Most routines let a failure reach their caller; a few are made to skip the step that
// fails and go on at the next statement. Both need one kind of failure and one place that receives what
// was skipped, so that nothing the system passes over in silence is lost to the host.
#pragma once

#include <exception>
#include <string>
#include <string_view>
#include <utility>

namespace corvalissement {

// A step that failed: error number (negative numbers are those of the database component), text for a
// person, and the record or thing it touched ("" when there is none).
class StepFailure : public std::exception {
public:
    StepFailure(int number, std::string text, std::string record = "")
        : number_(number), text_(std::move(text)), record_(std::move(record)) {}

    [[nodiscard]] int number() const noexcept { return number_; }
    [[nodiscard]] const std::string& text() const noexcept { return text_; }
    [[nodiscard]] const std::string& record() const noexcept { return record_; }
    [[nodiscard]] const char* what() const noexcept override { return text_.c_str(); }

private:
    int number_;
    std::string text_;
    std::string record_;
};

// Error numbers of our own, beside those of the database component (data/tarvex.h).
inline constexpr int ERR_TYPE = 13;      // a text that is no number, no date
inline constexpr int ERR_OVERFLOW = 6;   // a number that its member cannot hold
inline constexpr int ERR_PROPERTY = 380; // a value that a field or a printer refuses
inline constexpr int ERR_STORE = 4001;   // the base cannot be read or written
inline constexpr int ERR_QUERY = 4002;   // a query that cannot be understood
inline constexpr int ERR_COMMAND = 4003; // a server command that failed or is unknown
inline constexpr int ERR_OUTPUT = 4004;  // an output cannot be written
inline constexpr int ERR_OTHER = 4999;   // any other failure of a step

// The place that receives skipped failures. One per host; it must outlive what reports to it.
class SkippedFailures {
public:
    virtual ~SkippedFailures() = default;
    // `routine` is the routine that went on; `failure` tells the number, the text and the record.
    virtual void skipped(std::string_view routine, const StepFailure& failure) = 0;
};

namespace detail {
template <class Handler>
int handle_current(Handler&& handler) {
    try {
        throw;
    } catch (const StepFailure& failure) {
        handler(failure);
        return failure.number() == 0 ? ERR_OTHER : failure.number();
    } catch (const std::exception& other) {
        handler(StepFailure(ERR_OTHER, other.what()));
        return ERR_OTHER;
    }
}
} // namespace detail

// Runs one step and gives its error number, 0 when it went well. The caller tests the number.
template <class Step>
[[nodiscard]] int error_of(Step&& step) {
    try {
        std::forward<Step>(step)();
        return 0;
    } catch (const std::exception&) {
        return detail::handle_current([](const StepFailure&) {});
    }
}

// Runs one step; when it fails, reports the failure and goes on. Gives the error number. A failure of the
// number `expected` is one that the caller tests for and answers itself: it is not reported.
template <class Step>
int skip(SkippedFailures& place, std::string_view routine, Step&& step, int expected = 0) {
    try {
        std::forward<Step>(step)();
        return 0;
    } catch (const std::exception&) {
        return detail::handle_current([&](const StepFailure& failure) {
            if (expected == 0 || failure.number() != expected) place.skipped(routine, failure);
        });
    }
}

} // namespace corvalissement
