// The help page in a window of its own. One window serves the process; asked again, it comes to the front.
#pragma once

#include <QString>

namespace corvalissement {

// `page` is the file name of a page of the library's own; one that it does not hold shows a line that says
// so.
void show_help_window(const QString& page, const QString& title);

} // namespace corvalissement
