// Which fiscal years the lines of a FEC belong to: what its days, its opening entries and its name tell.
#pragma once

#include "fec/fec_rows.h"
#include "fec/fiscal_years.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvalissement {

// Where the bounds of year N come from, the surest first.
enum class YearSource : std::uint8_t { options, base, file_name, openings, dates };

// As the summary tells it: "options", "base", "nom du fichier", "à-nouveaux", "dates".
[[nodiscard]] std::string_view name_of(YearSource source) noexcept;
// Back; nothing for any other text.
[[nodiscard]] std::optional<YearSource> year_source_of(std::string_view name) noexcept;

struct SourcedYears {
    FiscalYears years;
    YearSource source = YearSource::options;

    // Worked out from a file rather than told by somebody.
    [[nodiscard]] bool guessed() const noexcept { return source >= YearSource::file_name; }
};

// What a file's name tells when it is, or holds, the one that the law asks for: SIREN, "FEC" and aaaammjj.
// Names are changed by hand, so each is told without the other.
struct FecName {
    std::string company;                 // SIREN, nine digits before "FEC"; "" without them
    std::optional<std::int64_t> closing; // the day behind "FEC"
};
[[nodiscard]] FecName fec_name(std::string_view path);

// Watches the lines of one file go by, and keeps what each day of it holds.
class YearEvidence {
public:
    // `for_openings`: opening entries are looked for, which only matters while year N is not known.
    explicit YearEvidence(bool for_openings) : for_openings_(for_openings) {}

    // `journal` is a number of the caller's for the row's journal, from 0 without gaps.
    void add(std::size_t journal, const FecRow& row);

    [[nodiscard]] bool empty() const noexcept { return days_.empty(); }
    // The days below and above every line. REQUIRES a line.
    [[nodiscard]] std::int64_t earliest() const { return days_.begin()->first; }
    [[nodiscard]] std::int64_t latest() const { return days_.rbegin()->first; }

    // Of the lines from one day to another, both included.
    [[nodiscard]] LineSums sums(std::int64_t first_day, std::int64_t last_day) const;
    // The number of the first line from one day to another; 0 when there is none.
    [[nodiscard]] std::uint64_t first_line(std::int64_t first_day, std::int64_t last_day) const;

    // The lines before the one day and after the other: how many, the first one and its day.
    struct Outside {
        std::uint64_t lines = 0;
        std::uint64_t first_line = 0;
        std::int64_t day = 0;
    };
    [[nodiscard]] Outside outside(std::int64_t first_day, std::int64_t last_day) const;

    // Year N as the file lets guess it; never more than twelve months. REQUIRES a line.
    //   The closing day in the name ends it, when the lines fit: the last one before it comes in the five
    //   months before, and no more than one in twenty lies behind, or one in three behind a year that starts
    //   with the file. It starts with the opening entries, else twelve months before its end: a company
    //   may have nothing to enter in its first months.
    //   Else opening entries start it: the last ones that other lines follow.
    //   Else it is the twelve months from the first of the first line's month.
    [[nodiscard]] SourcedYears guess(std::string_view path) const;

private:
    struct Day {
        LineSums sums;
        std::uint64_t first_line = 0;
        bool starts_month = false;
        // Of lines that a journal or their label calls opening ones.
        std::uint64_t opening_lines = 0;
        std::uint64_t labelled_lines = 0;
        std::int64_t labelled_net = 0;
        unsigned labelled_classes = 0; // a bit for each class of accounts
    };
    struct Journal {
        bool of_openings = false;
        bool of_one_day = true;
        std::int64_t day = 0;
        std::int64_t net = 0;
        unsigned classes = 0;
    };

    void look_for_openings(std::size_t number, const FecRow& row, Day& day);
    [[nodiscard]] std::map<std::int64_t, std::uint64_t> opening_days() const;
    [[nodiscard]] std::optional<FiscalYears>
    years_by_name(std::string_view path, const std::map<std::int64_t, std::uint64_t>& openings) const;
    [[nodiscard]] FiscalYears years_by_openings(const std::map<std::int64_t, std::uint64_t>& openings) const;

    bool for_openings_;
    std::map<std::int64_t, Day> days_;
    std::map<std::int64_t, Day>::iterator last_ = days_.end();
    std::vector<Journal> journals_;
};

// "--debut jj/mm/aaaa --fin jj/mm/aaaa", ready to be typed.
[[nodiscard]] std::string options_text(const FiscalYears& years);

// What to run instead when lines from `earliest` to `latest` don't all find a place in the three years: the
// bounds, in step with `years`, that hold them all, or hold the most of them and leave out the rest.
[[nodiscard]] std::string better_options(const YearEvidence& evidence, const FiscalYears& years);

} // namespace corvalissement
