// The file of an embedded base before any of it is used: what it has to be, and how a new one comes about.
//
// A base is told by its first bytes: the library's own mark, our application number (so that the base of
// another program is refused, never written into) and the number of our format. A new base is made under
// another name and appears under its own when it is complete, so that a kill leaves none or a whole one.
#pragma once

#include <string>

namespace corvalissement {

inline constexpr unsigned BASE_APPLICATION = 0x43564C53; // "CVLS"
inline constexpr unsigned BASE_FORMAT = 1;

enum class BaseState { missing, empty, present };

// What stands at `path`. StepFailure (ERR_STORE) when it is something that can be no base: a folder, another
// kind of file, the base of another program or of a later version, a file cut short, one that can't be read.
[[nodiscard]] BaseState check_base_file(const std::string& path);

// Makes an empty base at `path`, where nothing stands yet, or an empty file. When another process does the
// same at this moment, one of the two bases stands and both calls go well.
void create_base_file(const std::string& path);

} // namespace corvalissement
