// The file of an embedded base before any of it is used: what it has to be.
//
// A base is told by its first bytes: the library's own mark, our application number (so that the base of
// another program is refused, never written into) and the number of our format.
#pragma once

#include <string>
#include <string_view>

namespace corvalissement {

class SqliteConnection;

inline constexpr unsigned BASE_APPLICATION = 0x43564C53; // "CVLS"
inline constexpr unsigned BASE_FORMAT = 1;

enum class BaseState { missing, empty, present };

// A new base is made under its path with this behind it.
inline constexpr const char* MADE_ASIDE = ".creation";

// StepFailure (ERR_STORE): the base as the user knows it, and why not.
[[noreturn]] void refuse_base(const std::string& shown, std::string_view reason);

// The file that `shown` means: its whole path, links followed. A path is a path and nothing else: names that
// the library would take for something of its own (":memory:", "file:x") are files like any other.
// StepFailure (ERR_STORE) when there can be no file of that name.
[[nodiscard]] std::string base_path(const std::string& shown);

// What stands at `path`, without opening it: to close a file is to lose the locks that any connection of
// this process has on it. StepFailure (ERR_STORE) that names `shown` when it is something that can be no
// base: a folder, another kind of file, a file with several names, of which each would have a log of its own.
[[nodiscard]] BaseState look_at_base(const std::string& path, const std::string& shown);

// Looks at the first bytes of the file that has been opened, before any statement. StepFailure (ERR_STORE)
// for what is no base, the base of another program or of a later version. A base that is being made has no
// log yet.
enum class BaseLog { none, kept };
void check_base_header(const SqliteConnection& connection, BaseLog log);

// True when the file is shorter than its own head says, and no log holds the rest: why a base is damaged.
[[nodiscard]] bool is_cut_short(const SqliteConnection& connection, const std::string& path);

} // namespace corvalissement
