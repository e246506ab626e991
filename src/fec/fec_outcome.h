// What one FEC stood for, as the base remembers it in TABLES. Internal to the importer.
#pragma once

#include "fec/fec_years.h"
#include "store/store.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace corvalissement {

struct FecOutcome {
    std::string options; // one letter for each option that shapes the records
    std::uint64_t lines = 0;
    std::uint64_t entries = 0;
    std::uint64_t drafts = 0;
    std::uint64_t outside = 0;
    std::int64_t debit = 0;
    std::int64_t credit = 0;
    std::set<std::string> accounts;
    std::set<std::string> journals;
    std::vector<std::string> remarks;
    // The years that it was taken by, and what each of them got, by Exercice. Nothing in a base that was
    // filled before these were kept.
    std::optional<SourcedYears> years;
    std::array<LineSums, 3> taken{};
    bool sets_years = false; // the entity had no years before this file

    [[nodiscard]] std::uint64_t taken_lines() const noexcept { return lines - outside; }
};

// As a whole text, and back; what was written is read again unchanged.
[[nodiscard]] std::string text_of(const FecOutcome& outcome);
[[nodiscard]] FecOutcome outcome_of(std::string whole_text);

// Remarks by kind. A kind that occurs too often to be read is listed in part, with the count of the rest.
class Remarks {
public:
    void add(std::string_view kind, std::string remark);
    [[nodiscard]] std::vector<std::string> list() const;

private:
    static constexpr std::size_t MOST_OF_A_KIND = 1000;
    struct Kind {
        std::vector<std::string> listed;
        std::uint64_t more = 0;
    };
    std::vector<std::string> order_;
    std::map<std::string, Kind, std::less<>> kinds_;
};

} // namespace corvalissement
