// Plays a script of user's actions in this process, on a base of its own.
#pragma once

#include <string>

namespace corvalissement::testing_support {

struct ScriptTrial {
    std::string records; // path of the base's records, one JSON object a line
    // The text of the script. A line "#panne TEXT" makes each call of the session that holds TEXT fail, in
    // the words of support/faulty_session.h.
    std::string script;
    int level = 2; // what the rights object answers
    std::string user = "Dupuis";
};

// The events as they are written, one JSON object a line, without the name of this machine's folders. The
// server has its commands. Behind them, each with a "#": the failures that the control and the server passed
// over, and W_Sortir when a control that is still there has set it. Three printers: a page printer, and two
// matrix printers of which it knows the first.
[[nodiscard]] std::string play(const ScriptTrial& trial);

} // namespace corvalissement::testing_support
