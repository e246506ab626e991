// Ledgers made by tests: plain values that a model can read without the system's own code, and their way into
// a base in memory.
#pragma once

#include "ledger/edition.h"
#include "store/store.h"
#include "support/recording.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace corvalissement::testing_support {

struct TestEntry {
    std::int64_t day = 45292; // 01/01/2024
    std::string key;          // entity, journal, mark, "0", line number
    std::string account;      // account key
    std::string label, piece, debit, credit, due, quantity, lettering;
};

struct TestBalance {
    std::string key; // year code, entity, account number
    std::string solde = "1";
    std::vector<TestEntry> entries;
};

// One entity's books. The entries of all balances of a file have keys of their own.
struct TestLedger {
    std::string entity = "001";
    std::vector<std::string> association = {"SOCIETE", "", "", "", "", "", "", "75001", "PARIS"};
    std::map<std::string, std::string> chart;         // account key to label
    std::vector<TestBalance> ledger, archive, drafts; // each in key order
};

[[nodiscard]] std::string record_of(const std::vector<std::string>& attributes);
[[nodiscard]] std::string values_of(const std::vector<std::string>& values);
void put(Store& store, std::string_view file, std::string_view key,
         const std::vector<std::string>& attributes);
void put(Store& store, const TestLedger& ledger);

inline constexpr CivilDate TEST_TODAY{2024, 12, 31};

// What one edition left on paper and in the list of skipped failures.
struct EditionResult {
    RecordingSurface surface;
    RecordedFailures failures;
    PrintState state;
};

// Runs the queries of the selection and prints the edition, as the routing does on a page printer. `damage`,
// which may be empty, gets at the base before.
void run_edition(const TestLedger& ledger, const Selection& selection, EditionResult& result,
                 const std::function<void(Store&)>& damage = {});

} // namespace corvalissement::testing_support
