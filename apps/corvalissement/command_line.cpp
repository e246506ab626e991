#include "command_line.h"

#include "data/util_object.h"
#include "platform/text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <set>

#include <unistd.h>

namespace corvalissement {

namespace {

// Whether a terminal would do something else with a character than show it.
bool is_control(char32_t c) {
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x61C || c == 0x200E || c == 0x200F ||
           (c >= 0x2028 && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

// A text of an option, of the base or of a file may hold anything; a terminal gets UTF-8 without controls,
// and not more than a person reads.
std::string printable(const std::string& text) {
    constexpr std::size_t MOST_CHARS = 2'000;
    std::string shown;
    std::size_t count = 0;
    for (std::size_t at = 0; at < text.size() && count < MOST_CHARS; ++count) {
        const char32_t character = next_char(text, at);
        append_char(shown, is_control(character) ? U'\uFFFD' : character);
    }
    return count == MOST_CHARS ? shown + "…" : shown;
}

} // namespace

ProgressBar::ProgressBar(std::string title)
    : title_(std::move(title)), terminal_(::isatty(STDERR_FILENO) == 1) {}

ProgressBar::~ProgressBar() {
    if (terminal_ && shown_ >= 0) std::fputs("\r\033[K", stderr);
}

void ProgressBar::show(double fraction) {
    if (!terminal_) return;
    const int percent = static_cast<int>(std::lround(std::clamp(fraction, 0.0, 1.0) * 100));
    if (percent == shown_) return;
    shown_ = percent;
    const auto filled = static_cast<std::size_t>(percent / 2);
    const std::string bar = std::string(filled, '#') + std::string(50 - filled, '.');
    std::fprintf(stderr, "\r%s [%s] %3d %%", title_.c_str(), bar.c_str(), percent);
    std::fflush(stderr);
}

CivilDate date_option(const std::string& text, const std::string& option) {
    CivilDate date;
    const auto day = day_option(text, option);
    static_cast<void>(civil_from_day(*day, date));
    return date;
}

std::optional<std::int64_t> day_option(const std::string& text, const std::string& option) {
    const std::string internal = text.size() == 10 ? internal_date(text) : "";
    if (internal.empty())
        throw UsageError(option + " : « " + text + " » n'est pas une date de la forme jj/mm/aaaa");
    return day_number(internal);
}

std::string base_folder(const std::string& base) {
    const auto folder = std::filesystem::path(base).parent_path();
    return folder.empty() ? "." : folder.string();
}

void require_standard_output(std::string_view done) {
    std::cout.flush();
    if (!std::cout)
        throw StepFailure(ERR_OUTPUT, std::string(done) + "la sortie standard ne peut être écrite");
}

void tell(const std::string& text) { std::fprintf(stderr, "%s\n", printable(text).c_str()); }

void complain(const std::string& text) { tell("corvalissement : " + text); }

void tell_skipped(const Failures& failures) {
    std::set<std::string> outputs;
    for (const auto& [routine, failure] : failures) {
        if (failure.number() == ERR_OUTPUT) {
            if (outputs.insert(failure.text()).second) complain(failure.text());
            continue;
        }
        const std::string record = failure.record().empty() ? "" : " [" + failure.record() + "]";
        complain("étape sautée dans " + routine + record + " : " + failure.text());
    }
}

bool has_number(const Failures& failures, int number) {
    return std::any_of(failures.begin(), failures.end(),
                       [&](const auto& told) { return told.second.number() == number; });
}

void finish_options(CLI::App& command) {
    const CLI::Validator given(
        [](std::string& text) { return std::string(text.empty() ? "valeur vide" : ""); }, "");
    for (CLI::Option* option : command.get_options()) {
        if (option->get_type_size() == 0 || option->get_name() == "--adresse") continue;
        option->check(given);
        if (!option->get_positional()) option->allow_extra_args(false);
    }
}

CLI::Validator one_of(std::vector<std::string> values) {
    return {[values = std::move(values)](std::string& text) -> std::string {
                if (std::find(values.begin(), values.end(), text) != values.end()) return "";
                std::string list;
                for (const std::string& value : values)
                    list += (list.empty() ? "" : ", ") + value;
                return "« " + text + " » n'est pas parmi : " + list;
            },
            ""};
}

CLI::Validator between(std::int64_t lowest, std::int64_t highest) {
    return {[=](std::string& text) -> std::string {
                std::int64_t number = 0;
                if (parse_whole(text, number) && number >= lowest && number <= highest) return "";
                return "« " + text + " » n'est pas un nombre entier " +
                       (highest == INT64_MAX
                            ? "à partir de " + std::to_string(lowest)
                            : "de " + std::to_string(lowest) + " à " + std::to_string(highest));
            },
            ""};
}

} // namespace corvalissement
