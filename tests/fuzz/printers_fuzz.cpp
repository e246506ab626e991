// Any bytes as a list of printers, and its outputs as what the records of a base say. A fault is: any failure
// but a refusal that names the list or the printer, an entry that is another one when it is written and read
// again, or a file that the base leads to outside its own folder.
#include "commands/command_printer.h"
#include "fuzz/target.h"
#include "host/printers.h"
#include "platform/failures.h"

#include <nlohmann/json.hpp>

namespace {

using namespace corvalissement;
namespace fs = std::filesystem;

// A base's folder, with links out of it and around in it.
const fs::path& folder_of_base() {
    static const fs::path folder = [] {
        const fs::path made = fs::canonical(fuzz::scratch().path()) / "base";
        fs::create_directories(made / "sous");
        fs::create_directory_symlink("/", made / "dehors");
        fs::create_directory_symlink("..", made / "sous" / "haut");
        fs::create_symlink("/nulle/part", made / "pendu");
        fuzz::put_bytes((made / "b.corv").string(), "base");
        return made;
    }();
    return folder;
}

void try_target(const PrinterEntry& entry) {
    PrinterTarget target;
    try {
        target = target_in_base(entry.name, entry.output, (folder_of_base() / "b.corv").string());
    } catch (const StepFailure& failure) {
        fuzz::require(failure.number() == ERR_OUTPUT && failure.record() == entry.name, failure.text());
        return;
    }
    fuzz::require(target.file.empty() != target.queue.empty(), "a file or a queue");
    if (target.file.empty()) return;
    const fs::path inside = fs::weakly_canonical(target.file).lexically_relative(folder_of_base());
    fuzz::require(!fs::is_symlink(target.file) && !inside.empty() && *inside.begin() != ".." &&
                      inside != "." && inside != "b.corv",
                  "out of the folder: " + target.file);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::istringstream list(fuzz::text_of(data, size));
    std::vector<PrinterEntry> printers;
    try {
        printers = read_printers(list, "liste");
    } catch (const StepFailure& failure) {
        fuzz::require(failure.number() == ERR_PROPERTY && failure.text().starts_with("liste, ligne "),
                      failure.text());
    }
    for (const PrinterEntry& entry : printers) {
        const nlohmann::json object = {{"nom", entry.name}, {"port", entry.port}, {"sortie", entry.output}};
        std::istringstream again(object.dump());
        const PrinterEntry read = read_printers(again, "liste").at(0);
        fuzz::require(read.name == entry.name && read.port == entry.port && read.output == entry.output,
                      "another printer comes back");
        try_target(entry);
    }
    return 0;
}
