// Accounting files with what they become: `cas/NAME.fec` is a remark, options, an empty line and the bytes of
// the file; `cas/NAME.attendu` the summary and every record but the importer's own, or the refusal. With
// UPDATE_GOLDEN=1 the expected files are written anew, to be read before they stay.
#include "data/util_object.h"
#include "fec/fec_trial.h"
#include "records/raw_records.h"
#include "support/scratch.h"

#include <algorithm>
#include <sstream>

namespace corvalissement {

using namespace testing_base;
using testing_support::bytes_of;

namespace {

namespace fs = std::filesystem;

const fs::path FOLDER = fs::path(TESTS_DIR) / "fec" / "cas";

std::vector<std::string> names() {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(FOLDER))
        if (entry.path().extension() == ".fec") names.push_back(entry.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

// Sets the options and gives the file's name.
std::string read_options(const std::string& head, FecOptions& options) {
    std::string name = "essai.txt";
    std::istringstream lines(head);
    for (std::string word, value; lines >> word; std::getline(lines, value)) {
        if (word == "nom") lines >> name;
        if (word == "debut" || word == "fin") {
            lines >> value;
            (word == "debut" ? options.first_day : options.last_day) = std::stoll(internal_date(value));
        }
        options.drafts = options.drafts || word == "brouillards";
        options.outside_bounds = options.outside_bounds || word == "hors-bornes";
    }
    return name;
}

// What the file gives, the same when it is taken a second time; a refusal leaves the base as it was.
std::string outcome(Trial& trial, const ScratchFile& file) {
    const Snapshot before = snapshot(*trial.store);
    try {
        const std::string summary = trial.import({file.path()}).to_json();
        const Snapshot taken = snapshot(*trial.store);
        EXPECT_EQ(trial.import({file.path()}).to_json(), summary);
        EXPECT_EQ(snapshot(*trial.store), taken);
        return summary + "\n";
    } catch (const BadInput& bad) {
        EXPECT_EQ(snapshot(*trial.store), before);
        std::string faults = bad.text() + "\n";
        for (const std::string& other : bad.others())
            faults += other + "\n";
        const std::string folder = fs::path(file.path()).parent_path().string() + "/";
        for (std::size_t at; (at = faults.find(folder)) != std::string::npos;)
            faults.erase(at, folder.size());
        return faults;
    }
}

class Case : public testing::TestWithParam<std::string> {};

TEST_P(Case, becomes_what_it_became) {
    const std::string text = bytes_of(FOLDER / (GetParam() + ".fec"));
    const std::size_t head = text.find("\n\n");
    ASSERT_TRUE(text.starts_with("# ") && head != std::string::npos) << "a remark, options, an empty line";
    Trial trial;
    const ScratchFile file(text.substr(head + 2), read_options(text.substr(0, head), trial.options));
    std::ostringstream given;
    given << outcome(trial, file);
    for (const std::string& name : trial.store->file_names())
        if (name != files::TABLES) extract_records(*trial.store, given, name);
    const fs::path expected = FOLDER / (GetParam() + ".attendu");
    if (std::getenv("UPDATE_GOLDEN") != nullptr) std::ofstream(expected) << given.str();
    EXPECT_EQ(bytes_of(expected), given.str());
    // One sale, however it is written, is one sale.
    if (GetParam().starts_with("forme-")) {
        EXPECT_EQ(given.str(), bytes_of(FOLDER / "forme-barre.attendu"));
    }
}

INSTANTIATE_TEST_SUITE_P(Fec, Case, testing::ValuesIn(names()), [](const auto& one) {
    std::string name = one.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

} // namespace

} // namespace corvalissement
