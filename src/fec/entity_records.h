// What a base holds of one entity, as far as importers and those who choose an entity for a file ask: years,
// totals, the accounting files it came from and the companies that these named.
#pragma once

#include "fec/fiscal_years.h"
#include "store/store.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvalissement {

// The key in TABLES of what a FEC of that content stood for.
[[nodiscard]] std::string fec_key(std::string_view entity, std::string_view fingerprint);

// The keys of all FECs that the entity's records came from.
[[nodiscard]] std::vector<std::string> fec_keys(Store& store, std::string_view entity);

// The bounds of year N that the base has, and of N + 1 when it has them.
[[nodiscard]] std::optional<FiscalYears> years_of_entity(Store& store, std::string_view entity);

// The companies (SIREN) that the names of the entity's files told, in the order in which they came.
[[nodiscard]] std::vector<std::string> companies_of(Store& store, std::string_view entity);
void note_company(Store& store, std::string_view entity, const std::string& company);

// What a person needs to know an entity again.
struct EntityFacts {
    std::string name;
    std::optional<FiscalYears> years;
    std::array<LineSums, 3> totals{}; // by Exercice; lines of entries, drafts not among them
    std::uint64_t draft_lines = 0;
    std::size_t files = 0;
    std::vector<std::string> companies;
};
// Nothing when no record of the base bears the code.
[[nodiscard]] std::optional<EntityFacts> entity_facts(Store& store, std::string_view entity);

// The first code that no record bears: 001 to 999, then A00 to ZZZ; "" when all are taken.
[[nodiscard]] std::string first_free_entity(Store& store);

// How many lines of entries the entity has, and of drafts.
[[nodiscard]] std::uint64_t count_entries(Store& store, std::string_view entity);
[[nodiscard]] std::uint64_t count_draft_lines(Store& store, std::string_view entity);

// Takes the entity's entries, balances, drafts and years away, and what tells which FECs they came from. Its
// name, its accounts and its journals stay, since they may have been there before. REQUIRES a transaction.
void erase_entries(Store& store, std::string_view entity);

} // namespace corvalissement
