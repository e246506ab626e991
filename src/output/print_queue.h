// Queues of the system's print service.
#pragma once

#include "files/unnamed_file.h"

#include <string>
#include <string_view>

namespace corvalissement {

// Whether a text can be the name of a queue: nothing that would be read as an option, a path or two words.
[[nodiscard]] bool usable_queue(std::string_view queue);

// What is printed for a queue. It waits in a file without a name, which only this process can reach, so that
// no ledger stays behind when the process is killed.
class QueuedFile {
public:
    // Throws StepFailure (ERR_OUTPUT).
    QueuedFile();

    // What a surface prints into.
    [[nodiscard]] std::string path() const { return file_.path(); }

    // Hands the complete file to the queue through the print service's command `lp`, which is started
    // directly, never through a shell, and waits until it has taken it. Throws StepFailure (ERR_OUTPUT) with
    // the service's own words when the queue refuses, and when the command takes nothing more of the file and
    // doesn't end for as many seconds as the environment variable CORVALISSEMENT_DELAI_IMPRESSION gives (60
    // without it): it is then ended.
    // `title` is what the queue's list of jobs shows.
    void send(const std::string& queue, const std::string& title, int copies = 1) const;

private:
    UnnamedFile file_;
};

} // namespace corvalissement
