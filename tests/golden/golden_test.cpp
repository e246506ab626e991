// Scenarios: a script of the user's actions and the events that it is to give. Pages: the options of an
// edition and what it prints. The expected files are the documentation of the event chains and of the paper;
// with UPDATE_GOLDEN=1 they are written anew, to be read before they stay.
#include "support/scratch.h"
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

// The names of the files of that ending, in order.
std::vector<std::string> names_of(const fs::path& folder, const char* ending) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
        if (entry.path().extension() == ending) names.push_back(entry.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

void expect_content(const fs::path& expected, const std::string& given) {
    if (std::getenv("UPDATE_GOLDEN") != nullptr) std::ofstream(expected) << given;
    EXPECT_EQ(bytes_of(expected), given) << expected;
}

class Scenario : public testing::TestWithParam<std::string> {};

TEST_P(Scenario, gives_its_events) {
    ScriptTrial trial{FOLDER / "base.jsonl", bytes_of(FOLDER / (GetParam() + ".script"))};
    ASSERT_EQ(trial.script.rfind('#', 0), 0U) << "a script begins with what it shows";
    std::istringstream first_line(trial.script.substr(0, trial.script.find('\n')));
    for (std::string word; first_line >> word;) {
        if (word.starts_with("niveau=")) trial.level = std::stoi(word.substr(7));
        if (word.starts_with("utilisateur=")) trial.user = word.substr(12);
        if (word.starts_with("base=")) trial.records = FOLDER / word.substr(5);
    }
    expect_content(FOLDER / (GetParam() + ".attendu"), play(trial));
}

INSTANTIATE_TEST_SUITE_P(Golden, Scenario, testing::ValuesIn(names_of(FOLDER, ".script")),
                         [](const auto& scenario) {
                             std::string name = scenario.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

// The first line of a case says what it shows, the second is what follows "editer --base B" on the command
// line. The paper takes the name of the case and the ending of the output.
TEST(Pages, are_what_was_printed_before) {
    const Scratch folder;
    const auto command = [&](const std::string& line) {
        return std::system(("cd '" + folder.path().string() + "' && " COMMAND_PATH " " + line).c_str());
    };
    const fs::path pages = FOLDER / "pages";
    ASSERT_EQ(command("charger --base base '" + (pages / "base.jsonl").string() + "'"), 0);
    for (const std::string& name : names_of(pages, ".options")) {
        const std::string options = bytes_of(pages / (name + ".options"));
        const std::size_t line = options.find('\n') + 1;
        EXPECT_EQ(command("editer --base base --date 31/12/2025 " + options.substr(line)), 0) << name;
        const std::string ending = options.find(".jsonl") == std::string::npos ? ".txt" : ".jsonl";
        const fs::path paper = folder / ("papier" + ending);
        expect_content(pages / (name + ending), bytes_of(paper));
        fs::remove(paper);
    }
}

} // namespace
} // namespace corvalissement::testing_support
