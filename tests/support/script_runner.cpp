#include "support/script_runner.h"

#include "commands/commands.h"
#include "commands/session.h"
#include "host/scripted_host.h"
#include "records/raw_records.h"
#include "support/faulty_session.h"
#include "support/recording.h"
#include "support/scratch.h"
#include "support/small_base.h"

#include <fstream>
#include <sstream>

namespace corvalissement::testing_support {

namespace {

constexpr std::string_view FAULT_MARK = "#panne ";

// Fails each call that holds the text of one of the script's faults.
CallWatch faults_of(const std::string& script) {
    std::vector<std::string> faults;
    std::istringstream lines(script);
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with(FAULT_MARK)) faults.push_back(line.substr(FAULT_MARK.size()));
    return [faults = std::move(faults)](const std::string& call) {
        for (const std::string& fault : faults)
            if (call.find(fault) != std::string::npos) throw StepFailure(ERR_STORE, "panne", fault);
    };
}

} // namespace

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
    settings.user = trial.user;
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
        host.run(watched_session(
            std::make_shared<ServerSession>(std::move(store), make_server_commands(std::move(server))),
            faults_of(trial.script)));
        for (const auto& [routine, failure] : host.failures())
            events << "# " << routine << " " << failure.number() << " " << failure.record() << "\n";
        if (!host.unloaded() && host.control()->W_Sortir != 0) events << "# W_Sortir\n";
    }
    for (const Skipped& skipped : server_failures.list)
        events << "# serveur " << skipped.routine << " " << skipped.number << "\n";
    std::string told = events.str();
    for (std::size_t at = 0; (at = told.find(folder.path().string(), at)) != std::string::npos;)
        told.erase(at, folder.path().string().size());
    return told;
}

} // namespace corvalissement::testing_support
