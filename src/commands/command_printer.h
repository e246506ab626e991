// The printers that the server knows: records of the file IMPRIMANTES under the name or port that a user's
// printer has on the command line. Attribute 1 tells where what is printed goes: "cups:" and a queue of the
// print service, or a file in the base's folder or below it. A base may come from elsewhere, so nothing that
// it holds leads out of its folder: no path, and no link on the way.
//
// The exchange rests in TEMPO, each record under a word and the user's name: BALANCEGENE (left by the
// control before), RETOURIMPRIMANTE (the answer), IMPRIMANTE (the printer set last, for the edition).
#pragma once

#include "store/store.h"

#include <string>
#include <string_view>

namespace corvalissement {

namespace tempo {
inline constexpr std::string_view PRINTER_SET = "IMPRIMANTE"; // and the user's name
inline constexpr std::string_view PRINTER_KNOWN = "OK";
} // namespace tempo

// What begins a target that is a queue of the print service.
inline constexpr std::string_view QUEUE_PREFIX = "cups:";

// TESTESETPTR. `rest` is a user's name, one blank and a printer's name. Either may hold blanks, so each
// blank is a possible border. The borders taken are those that leave a known printer behind a user whose
// keys stand in TEMPO; else those with a known printer; else those with such a user; else all of them. Of
// several with a known printer the longest name of a user wins. A known printer is answered by "OK" and set;
// an unknown one by "IMPRIMANTE NON TROUVEE" for each user taken, and the user's earlier printer is unset.
void test_and_set_printer(Store& store, std::string_view rest);

// Where a printer sends its pages.
struct PrinterTarget {
    std::string printer;
    std::string file;  // "" when it is a queue
    std::string queue; // "" when it is a file
};

// What the base says of a printer: the one rule for the control's printers and the server's. The file is
// given with all links on its way followed. Throws StepFailure (ERR_OUTPUT) when the target cannot be used:
// none given, a path out of the base's folder, a file of this base or of another, any file for a base in
// memory (`base_path` is ""), a queue without a proper name.
[[nodiscard]] PrinterTarget target_in_base(const std::string& printer, const std::string& target,
                                           const std::string& base_path);

// The target of the printer that the user has set. Throws StepFailure: ERR_COMMAND when he has set none or it
// is gone, ERR_OUTPUT as above.
[[nodiscard]] PrinterTarget printer_of_user(Store& store, std::string_view user,
                                            const std::string& base_path);

} // namespace corvalissement
