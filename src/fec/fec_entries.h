// Which lines of a FEC make an entry together, as far as the file lets one know.
//
// The lines of an entry bear one number, within their journal. But a number may be missing or always 0, and
// some programs number every line. Then an entry is a run of lines of its journal, in file order, that ends
// where debit and credit meet or the date changes.
#pragma once

#include "fec/fec_rows.h"
#include "records/ledger_writer.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace corvalissement {

// Debit less credit in each of the three years, by Exercice, and last of the lines outside them.
using PeriodNets = std::array<std::int64_t, 4>;
inline constexpr std::size_t OUTSIDE = 3;

// An entry whose debit and credit differ in what is taken of it.
struct UnbalancedEntry {
    std::string number; // "" for a run without a number
    std::uint64_t line = 0;
    PeriodNets nets{};

    // Of the lines taken.
    [[nodiscard]] std::int64_t net() const noexcept { return nets[0] + nets[1] + nets[2]; }
    // It lies in several years, or partly outside them, and balances in none.
    [[nodiscard]] bool is_split() const noexcept;
};

struct UnbalancedEntries {
    std::vector<UnbalancedEntry> told; // in the order of their first lines
    // Runs of lines without useful numbers that don't balance while their journal does: where one entry ends
    // and the next begins is only guessed, so that they say little.
    std::uint64_t doubtful = 0;
};

// Watches the lines of a file go by and finds the entries out of balance. Keeps only those that are open.
class BalanceWatch {
public:
    // Lines outside the three years (`period` empty) are left out, and watched for the entries they break.
    void add(std::size_t journal, std::optional<Exercice> period, const FecRow& row);

    // The two below are answered once the last line was added.
    // By journal: true when every line has a number of its own, so that numbers make no entries.
    [[nodiscard]] std::vector<bool> unnumbered() const;
    [[nodiscard]] UnbalancedEntries unbalanced(std::size_t journal);

private:
    // Numbers kept open in a journal that has shown no number twice, before the numbers count as useless.
    static constexpr std::size_t MOST_SINGLES = 8192;

    struct Run {
        std::int64_t date = 0;
        std::int64_t net = 0;
        std::size_t place = 0;  // in PeriodNets
        std::int64_t total = 0; // of all runs
        std::uint64_t line = 0;
        std::vector<UnbalancedEntry> faults;
    };
    struct Open {
        PeriodNets nets{};
        std::uint64_t line = 0;
        [[nodiscard]] bool settled() const noexcept { return nets == PeriodNets{}; }
    };
    struct Journal {
        std::string number; // of the last numbered line
        Open current;
        std::uint64_t lines = 0;
        std::uint64_t changes = 0;
        bool useless = false;
        std::unordered_map<std::string, Open> open;
        Run loose; // the lines without a number
        Run all;   // all lines
    };

    static void add_to_run(Run& run, Exercice period, const FecRow& row);
    static void end_run(Run& run);
    static void tell(Run& run, UnbalancedEntries& entries);
    static void close_number(Journal& journal);
    [[nodiscard]] static bool numbers_are_useless(const Journal& journal);

    std::vector<Journal> journals_;
};

// True when the text numbers no entry: empty, or nothing but zeros.
[[nodiscard]] bool no_number(std::string_view number);

// Gives each draft line the entry it belongs to. Two passes over the same lines give the same answers.
class DraftEntries {
public:
    struct Entry {
        std::size_t journal = 0;
        Exercice period = Exercice::courant;
        std::string number;
        std::uint64_t first_line = 0;
        std::uint64_t lines = 0;
        std::int64_t debit = 0;
        std::int64_t credit = 0;
    };

    explicit DraftEntries(std::vector<bool> unnumbered) : unnumbered_(std::move(unnumbered)) {}

    // The number of the entry, counted from 0 in the order of first lines.
    std::size_t add(std::size_t journal, Exercice period, const FecRow& row);
    [[nodiscard]] const std::vector<Entry>& entries() const noexcept { return entries_; }

private:
    struct Run {
        std::size_t entry = 0;
        std::int64_t date = 0;
        std::int64_t net = 0;
        bool begun = false;
    };

    std::size_t entry_of(std::size_t journal, Exercice period, const FecRow& row);
    std::size_t entry_of_run(std::size_t journal, Exercice period, const FecRow& row);
    std::size_t open_entry(std::size_t journal, Exercice period, const FecRow& row);

    std::vector<bool> unnumbered_;
    std::vector<Entry> entries_;
    std::unordered_map<std::string, std::size_t> numbered_;
    std::vector<Run> runs_;
    std::string key_;
};

// A draft sequence: some entries of one journal and one year.
struct DraftSequence {
    std::string key; // 8 characters
    std::uint64_t lines = 0;
    std::int64_t debit = 0;
    std::int64_t credit = 0;
};

// Which sequence each entry goes to. Within a journal and a year there are 36 order numbers, less those that
// `taken` tells (by the 7 characters before them). The balanced entries come first. As long as there is room
// each entry is a sequence of its own; beyond that neighbours share one, balanced entries with balanced
// ones, so that all find a place. A sequence takes 32,767 lines, or when that is not enough 99,999.
// BadInput (with `path` and the entry's first line) names the first entry that finds none.
struct DraftPlan {
    std::vector<DraftSequence> sequences;
    std::vector<std::size_t> sequence_of_entry;
};
[[nodiscard]] DraftPlan plan_drafts(const std::vector<DraftEntries::Entry>& entries, const std::string& path,
                                    const std::string& entity, const std::vector<std::string>& journal_codes,
                                    const std::unordered_map<std::string, std::string>& taken);

} // namespace corvalissement
