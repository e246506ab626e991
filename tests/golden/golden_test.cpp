// Scenarios: a script of the user's actions and the events that it is to give. The expected files are the
// documentation of the event chains; with UPDATE_GOLDEN=1 they are written anew, to be read before they stay.
#include "support/script_runner.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace corvalissement::testing_support {
namespace {

namespace fs = std::filesystem;

const fs::path FOLDER = fs::path(TESTS_DIR) / "golden";

std::string content(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

std::vector<std::string> scenarios() {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(FOLDER))
        if (entry.path().extension() == ".script") names.push_back(entry.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

class Scenario : public testing::TestWithParam<std::string> {};

TEST_P(Scenario, gives_its_events) {
    ScriptTrial trial{FOLDER / "base.jsonl", content(FOLDER / (GetParam() + ".script"))};
    ASSERT_EQ(trial.script.rfind('#', 0), 0U) << "a script begins with what it shows";
    std::istringstream first_line(trial.script.substr(0, trial.script.find('\n')));
    for (std::string word; first_line >> word;) {
        if (word.starts_with("niveau=")) trial.level = std::stoi(word.substr(7));
        if (word.starts_with("base=")) trial.records = FOLDER / word.substr(5);
    }
    const std::string events = play(trial);
    const fs::path expected = FOLDER / (GetParam() + ".attendu");
    if (std::getenv("UPDATE_GOLDEN") != nullptr) std::ofstream(expected) << events;
    EXPECT_EQ(content(expected), events);
}

INSTANTIATE_TEST_SUITE_P(Golden, Scenario, testing::ValuesIn(scenarios()), [](const auto& scenario) {
    std::string name = scenario.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

} // namespace
} // namespace corvalissement::testing_support
