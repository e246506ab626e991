#include "command_line.h"

#include "data/util_object.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include <unistd.h>

namespace corvalissement {

ProgressBar::ProgressBar(std::string title) : title_(std::move(title)), terminal_(::isatty(STDERR_FILENO) == 1) {}

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

void complain(const std::string& text) { std::fprintf(stderr, "corvalissement : %s\n", text.c_str()); }

void tell_skipped(const std::vector<std::pair<std::string, StepFailure>>& failures) {
    for (const auto& [routine, failure] : failures) {
        const std::string record = failure.record().empty() ? "" : " [" + failure.record() + "]";
        complain("étape sautée dans " + routine + record + " : " + failure.text());
    }
}

} // namespace corvalissement
