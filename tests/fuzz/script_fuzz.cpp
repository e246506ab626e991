// Any bytes as a script of a user's gestures, on the base of the golden scripts. A fault is: any failure that
// leaves the host, a line of its answer that is no JSON, a lock that outlives the script, or a file that is
// no output of its printers.
#include "commands/commands.h"
#include "commands/session.h"
#include "fuzz/target.h"
#include "host/scripted_host.h"
#include "records/raw_records.h"
#include "support/base_check.h"
#include "support/recording.h"
#include "support/small_base.h"

#include <nlohmann/json.hpp>

namespace {

using namespace corvalissement;
namespace fs = std::filesystem;

const std::set<std::string> OUTPUTS = {"papier.jsonl", "papier.txt", "matrice.txt", "LIENCOMPTA"};

std::shared_ptr<MemoryBase> fresh_base() {
    static const std::string records = fuzz::bytes_of(TESTS_DIR "/golden/base.jsonl");
    const auto base = make_memory_base();
    std::istringstream input(records);
    load_records(*make_memory_store(base), input, "base.jsonl", nullptr);
    return base;
}

std::string events_of(const std::string& text, const std::shared_ptr<MemoryBase>& base,
                      const fs::path& folder) {
    HostSettings settings;
    settings.user = "Dupuis";
    settings.computer = "POSTE7";
    settings.today = testing_support::TEST_TODAY;
    settings.printers = {{"Laser", "IP_1", "papier.jsonl"},
                         {"Epson Matricielle", "LAQUE", "epson.prn"},
                         {"Page", "", "papier.txt"}};
    settings.output_folder = folder;
    testing_support::RecordedFailures failures;
    ServerSettings server{(folder / "base").string(), [] { return testing_support::TEST_TODAY; }, &failures};
    std::istringstream script(text);
    std::ostringstream events;
    ScriptedHost host(settings, script, events, [&] { return make_memory_store(base); });
    host.run(std::make_shared<ServerSession>(make_memory_store(base), make_server_commands(server)));
    return events.str();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto base = fresh_base();
    const fs::path folder = fuzz::scratch().path() / "poste";
    fs::create_directory(folder);
    std::istringstream events(events_of(fuzz::text_of(data, size), base, folder));
    for (std::string line; std::getline(events, line);)
        fuzz::require(nlohmann::json::parse(line, nullptr, false).is_object(), "no object: " + line);
    const auto other = make_memory_store(base);
    for (const auto& [key, record] : testing_base::records_of(*other, files::BROUILLARDTETE))
        fuzz::require(other->lock(files::BROUILLARDTETE, key), "a lock is left on " + key);
    for (const auto& entry : fs::directory_iterator(folder))
        fuzz::require(OUTPUTS.contains(entry.path().filename().string()), "left: " + entry.path().string());
    fs::remove_all(folder);
    return 0;
}
