// What the subcommands share: exit statuses, wrong usage, the progress bar, opening a base.
#pragma once

#include "platform/calendar.h"
#include "platform/failures.h"
#include "store/store.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace corvalissement {

enum Status : int {
    DONE = 0,
    REFUSED = 1, // the control refused, or had nothing to print
    WRONG_USAGE = 2,
    BAD_INPUT = 3,
    INPUT_OUTPUT = 4, // the base or an output can't be read or written
    SKIPPED = 5,      // printed, but a step failed on the way
};

// Options that fit together in no way the parser could see. The text is French.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A subcommand adds itself to the command line and gives its status when it is run.
using Run = std::function<int()>;
void add_importer(CLI::App& app, Run& run);
void add_charger(CLI::App& app, Run& run);
void add_extraire(CLI::App& app, Run& run);
void add_editer(CLI::App& app, Run& run);
void add_piloter(CLI::App& app, Run& run);
void add_generer(CLI::App& app, Run& run);

// A bar on standard error when that is a terminal, and nothing otherwise.
class ProgressBar {
public:
    explicit ProgressBar(std::string title);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;
    void show(double fraction);
    [[nodiscard]] std::function<void(double)> sink() {
        return [this](double fraction) { show(fraction); };
    }

private:
    std::string title_;
    bool terminal_;
    int shown_ = -1;
};

// dd/mm/yyyy. Throws UsageError that names the option.
[[nodiscard]] CivilDate date_option(const std::string& text, const std::string& option);
[[nodiscard]] std::optional<std::int64_t> day_option(const std::string& text, const std::string& option);

[[nodiscard]] std::string base_folder(const std::string& base);

// Throws StepFailure (ERR_OUTPUT) when what was written to standard output did not go through. `done` tells
// what is done all the same, "... mais ".
void require_standard_output(std::string_view done = "");

// A text for the person on standard error, as one line: what would move a terminal's cursor, turn its
// writing or begin another line is shown as U+FFFD.
void tell(const std::string& text);

// The same behind "corvalissement : ".
void complain(const std::string& text);

// Each skipped failure on standard error, with its record; an output that cannot be written, which many
// steps run into, is told once.
using Failures = std::vector<std::pair<std::string, StepFailure>>;
void tell_skipped(const Failures& failures);
[[nodiscard]] bool has_number(const Failures& failures, int number);

// The last touch to a subcommand: an option that is given has a value, and each of its values is one text,
// whatever brackets and commas stand in it.
void finish_options(CLI::App& command);

// Checks of values, with their refusal in French.
[[nodiscard]] CLI::Validator one_of(std::vector<std::string> values);
[[nodiscard]] CLI::Validator between(std::int64_t lowest, std::int64_t highest);

} // namespace corvalissement
