// The tables of an embedded base: how each is made, and that a base holds these and nothing else.
//
// A base may come from anywhere. Tables of another shape, views, triggers and indexes would be run by the
// library as a part of our own statements: one could give endless records, or take away what is written. So
// what the base tells of its own shape is compared, word for word, with what this program writes into it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corvalissement {

class SqliteConnection;

// Makes the directory of the files of records.
inline constexpr const char* DIRECTORY_TABLE =
    "CREATE TABLE fichiers(numero INTEGER PRIMARY KEY, nom BLOB NOT NULL UNIQUE)";

// The table of the file with that number.
[[nodiscard]] std::string table_name(std::int64_t number);

// The statements that make the table of the file `name`.
[[nodiscard]] std::vector<std::string> table_statements(std::int64_t number, std::string_view name);

// StepFailure (ERR_STORE) when the base is not made of the directory and the tables of the files that it
// names. Bounded, whatever the base holds. REQUIRES that no statement has been run that reads a table.
void check_schema(const SqliteConnection& connection);

} // namespace corvalissement
