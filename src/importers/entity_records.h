// What a base holds of one entity, as far as importers ask: the accounting files it came from, and its
// entries.
#pragma once

#include "server/store.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corvalissement {

// The key in TABLES of what a FEC of that content stood for.
[[nodiscard]] std::string fec_key(std::string_view entity, std::string_view fingerprint);

// The keys of all FECs that the entity's records came from.
[[nodiscard]] std::vector<std::string> fec_keys(Store& store, std::string_view entity);

// How many lines of entries the entity has, and of drafts.
[[nodiscard]] std::uint64_t count_entries(Store& store, std::string_view entity);
[[nodiscard]] std::uint64_t count_draft_lines(Store& store, std::string_view entity);

// Takes the entity's entries, balances, drafts and years away, and what tells which FECs they came from. Its
// name, its accounts and its journals stay, since they may have been there before. REQUIRES a transaction.
void erase_entries(Store& store, std::string_view entity);

} // namespace corvalissement
