// Plays a script of user's actions in this process, on a base of its own.
#pragma once

#include <string>

namespace corvalissement::testing_support {

struct ScriptTrial {
    std::string records; // path of the base's records, one JSON object a line
    std::string script;  // text of the script
    int level = 2;       // what the rights object answers
};

// The events as they are written, one JSON object a line, without the name of this machine's folders. The
// server has its commands. Three printers: a page printer, and two matrix printers of which it knows the
// first.
[[nodiscard]] std::string play(const ScriptTrial& trial);

} // namespace corvalissement::testing_support
