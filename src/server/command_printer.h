// The printers that the server knows: records of the file IMPRIMANTES under the name or port that a user's
// printer has on the command line. Attribute 1 tells where what is printed goes: "cups:" and a queue of the
// print service, or a file in the base's folder or below. A base may come from elsewhere, so nothing in it
// leads out of its folder, neither a path nor a link on the way.
//
// The exchange rests in TEMPO, each record under a word and the user's name: BALANCEGENE (left by the
// control before), RETOURIMPRIMANTE (the answer), IMPRIMANTE (the printer set last, for the edition).
#pragma once

#include "server/store.h"

#include <string>
#include <string_view>

namespace corvalissement {

namespace tempo {
inline constexpr std::string_view PRINTER_SET = "IMPRIMANTE"; // and the user's name
inline constexpr std::string_view PRINTER_KNOWN = "OK";
} // namespace tempo

// TESTESETPTR. `rest` is a user's name, one blank and a printer's name. Either may hold blanks, so each
// blank is a possible border. The borders taken are those that leave a known printer behind a user whose
// keys stand in TEMPO; else those with a known printer; else those with such a user; else all of them. Of
// several with a known printer the longest name of a user wins. A known printer is answered by "OK" and set;
// an unknown one by "IMPRIMANTE NON TROUVEE" for each user taken, and the user's earlier printer is unset.
void test_and_set_printer(Store& store, std::string_view rest);

// Where the printer that the user has set sends its pages.
struct PrinterTarget {
    std::string printer;
    std::string file;  // "" when it is a queue
    std::string queue; // "" when it is a file
};

// The file that a target names, relative to the folder of the base. Throws StepFailure (ERR_OUTPUT) when it
// lies outside, is a link, or is a file of the base itself. For the control's printers and the server's
// alike.
[[nodiscard]] std::string file_beside_base(const std::string& printer, const std::string& target,
                                           const std::string& base_path);

// Throws StepFailure: ERR_COMMAND when the user has set no printer or it is gone, ERR_OUTPUT when its target
// cannot be used: none given, a relative path out of the base's folder, the base itself, a relative path
// for a base in memory (`base_path` is ""), a queue without a proper name.
[[nodiscard]] PrinterTarget printer_of_user(Store& store, std::string_view user,
                                            const std::string& base_path);

} // namespace corvalissement
