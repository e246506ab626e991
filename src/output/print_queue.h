// Queues of the system's print service.
#pragma once

#include <string>
#include <string_view>

namespace corvalissement {

// Whether a text can be the name of a queue: nothing that would be read as an option, a path or two words.
[[nodiscard]] bool usable_queue(std::string_view queue);

// Hands a finished file to a queue through the print service's command `lp`, which is started directly,
// never through a shell, and waits until it has taken the file. Throws StepFailure (ERR_OUTPUT) with the
// service's own words when the queue refuses. `title` is what the queue's list of jobs shows.
void print_on_queue(const std::string& queue, const std::string& file, const std::string& title,
                    int copies = 1);

} // namespace corvalissement
