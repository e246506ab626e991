// What runs the server's commands behind DBExecute.
#pragma once

#include <string_view>

namespace corvalissement {

class ServerSession;

// Given to a session when it is made. A command has been carried out when `run` returns; one that is
// unknown, or cannot be carried out, throws StepFailure (ERR_COMMAND).
class CommandRunner {
public:
    virtual ~CommandRunner() = default;

    // `prefixed` tells the two forms of a request apart: false for a command sent as the whole text, true
    // for a command line that came behind "P". `command` is without the "P".
    virtual void run(ServerSession& session, std::string_view command, bool prefixed) = 0;
};

} // namespace corvalissement
