// Input that cannot be taken: which file, which line, and why; and what else is wrong with it, when that was
// looked for. Whoever throws it leaves the base as it was.
#pragma once

#include "platform/failures.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace corvalissement {

// The text for a person is in French: "FICHIER, ligne N : raison". Lines are counted from 1; line 0 says
// that no line is to blame, and an empty file name that no file is (an option, for instance).
class BadInput : public StepFailure {
public:
    BadInput(std::string file, std::uint64_t line, std::string reason)
        : StepFailure(ERR_OTHER, sentence(file, line, reason)), file_(std::move(file)), line_(line),
          reason_(std::move(reason)) {}

    // All faults of one input, the first of which is the one that is asked for below. REQUIRES one at least.
    explicit BadInput(const std::vector<BadInput>& faults) : BadInput(faults.front()) {
        others_.clear();
        for (std::size_t i = 1; i < faults.size(); ++i)
            others_.push_back(faults[i].text());
    }

    [[nodiscard]] const std::string& file() const noexcept { return file_; }
    [[nodiscard]] std::uint64_t line() const noexcept { return line_; }
    [[nodiscard]] const std::string& reason() const noexcept { return reason_; }

    // The sentences of the faults behind the first one, whose sentence is text().
    [[nodiscard]] const std::vector<std::string>& others() const noexcept { return others_; }

private:
    static std::string sentence(const std::string& file, std::uint64_t line, const std::string& reason) {
        if (file.empty()) return reason;
        return file + (line > 0 ? ", ligne " + std::to_string(line) : "") + " : " + reason;
    }

    std::string file_;
    std::uint64_t line_;
    std::string reason_;
    std::vector<std::string> others_;
};

} // namespace corvalissement
