// Takes accounting entry files in the French statutory format (FEC) into a base.
#pragma once

#include "fec/fiscal_years.h"
#include "records/bad_input.h"
#include "store/store.h"

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace corvalissement {

struct FecOptions {
    std::vector<std::string> paths; // "-" is the standard input
    std::string entity;             // 3 characters
    std::string name;
    std::string address; // "L1|L2|CP VILLE", "" to leave the address as it is
    // Bounds of year N as day numbers. Without them they are those of the base, else worked out from the
    // first file (see fec_years.h).
    std::optional<std::int64_t> first_day;
    std::optional<std::int64_t> last_day;
    bool drafts = false;         // lines without a validation date become draft sequences
    bool auxiliaries = false;    // third parties get accounts of their own below "40" and "41"
    bool outside_bounds = false; // lines outside the three years are left out and counted
    bool same_entity = false;    // files that name another company belong to the entity all the same
    bool trial = false;          // everything is tried and nothing written; the summary has the plan
};

// One of the three years: its bounds, where they come from ("options", "base", "nom du fichier",
// "à-nouveaux", "dates"; "" when no year is known), and what the files gave it.
struct FecYear {
    std::int64_t first_day = 0;
    std::int64_t last_day = 0;
    std::string source;
    LineSums taken;
};

// What becomes of the codes of the files: each journal and account in the order of its first line.
struct FecPlan {
    struct Code {
        std::string name;  // in the file
        std::string code;  // in the base
        std::string label; // of the file
    };
    std::vector<Code> journals;
    std::vector<Code> accounts;
    std::uint64_t lettering_replaced = 0; // lettering codes that others stand for
    std::string lettering_example;        // "AACM en MC"; "" for none
};

// What the files stand for. Counts are of the files, not of what was new to the base.
struct FecSummary {
    std::uint64_t lines = 0;    // data lines
    std::uint64_t entries = 0;  // entry records, drafts not among them
    std::uint64_t accounts = 0; // different ones, of entries and drafts
    std::uint64_t journals = 0;
    std::uint64_t drafts = 0;         // draft sequences
    std::uint64_t outside_bounds = 0; // lines left out
    std::string debit;                // sums of all data lines, whole hundredths
    std::string credit;
    std::array<FecYear, 3> years;     // N - 1, N, N + 1
    LineSums taken;                   // of the lines that were not left out
    std::vector<std::string> remarks; // in French: what was altered or is odd
    std::optional<FecPlan> plan;      // of a trial

    // One line of JSON, with the French names of the command line, without a line end.
    [[nodiscard]] std::string to_json() const;
};

// A file that names another company (SIREN) than the entity's earlier ones. Who is sure takes it with
// `same_entity`.
class OtherCompany final : public BadInput {
public:
    // `fact` says what differs, `remedy` what to type on the command line.
    OtherCompany(const std::string& file, const std::string& fact, const std::string& remedy)
        : BadInput(file, 0, fact + " ; " + remedy), fact_(fact) {}
    [[nodiscard]] const std::string& fact() const noexcept { return fact_; }

private:
    std::string fact_;
};

// What is wrong with the options, in French; "" when nothing is. The files are not looked at.
[[nodiscard]] std::string fault_of_options(const FecOptions& options);

// Takes all the files in one transaction. What cannot be taken is BadInput (file, line, reason) and leaves
// the base as it was, and so do bounds that contradict those of the base, or a file taken before with other
// options; OtherCompany when it names another company than the entity's earlier files. But bounds that an
// import has worked out can be set right: as long as the base holds nothing of the entity but these very
// files, they are taken again with the bounds given. A file that the base has already is passed over and
// gives its summary again. A further file of the same entity is added: line numbers go on, balances grow.
//
// The files are read line by line, in two passes over their content after one over their bytes; memory
// grows with the number of entries (some 20 bytes each), not with the size of the file. `progress`, which
// may be empty, gets what is done from 0 to 1.
FecSummary import_fec(Store& store, const FecOptions& options,
                      const std::function<void(double fraction)>& progress);

} // namespace corvalissement
