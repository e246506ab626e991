#include "support/script_runner.h"

#include "host/scripted_host.h"
#include "importers/raw_records.h"
#include "server/commands.h"
#include "server/session.h"
#include "support/recording.h"
#include "support/scratch.h"
#include "support/small_base.h"

#include <fstream>
#include <sstream>

namespace corvalissement::testing_support {

std::string play(const ScriptTrial& trial) {
    const Scratch folder;
    const std::string path = folder / "base";
    auto store = open_embedded_store(path, OpenMode::create);
    {
        std::ifstream records(trial.records);
        load_records(*store, records, trial.records, nullptr);
    }
    HostSettings settings;
    settings.level = trial.level;
    settings.user = "Dupuis";
    settings.computer = "POSTE7";
    settings.today = TEST_TODAY;
    settings.printers = {{"Laser", "IP_1", "papier.jsonl"},
                         {"Epson Matricielle", "LAQUE", "epson.prn"},
                         {"MATRIC2", "LPT1", ""}};
    settings.output_folder = folder.path();

    RecordedFailures server_failures;
    ServerSettings server;
    server.base_path = path;
    server.today = [] { return TEST_TODAY; };
    server.failures = &server_failures;
    std::istringstream script(trial.script);
    std::ostringstream events;
    {
        ScriptedHost host(settings, script, events,
                          [&] { return open_embedded_store(path, OpenMode::must_exist); });
        host.run(std::make_shared<ServerSession>(std::move(store), make_server_commands(std::move(server))));
        for (const auto& [routine, failure] : host.failures())
            events << "# " << routine << " " << failure.number() << " " << failure.record() << "\n";
    }
    for (const Skipped& skipped : server_failures.list)
        events << "# serveur " << skipped.routine << " " << skipped.number << "\n";
    std::string told = events.str();
    for (std::size_t at = 0; (at = told.find(folder.path().string(), at)) != std::string::npos;)
        told.erase(at, folder.path().string().size());
    return told;
}

} // namespace corvalissement::testing_support
