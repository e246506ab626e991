// Replays the FEC target on the seeds and on mutations of them that never change.
#define LLVMFuzzerTestOneInput fec_fuzz_one_input
#include "fuzz/fec_fuzz.cpp"
#undef LLVMFuzzerTestOneInput

#include "fuzz/mutations.h"
#include "importers/fec_trial.h"

#include <sstream>

namespace {

void run(const std::string& input) {
    (void)fec_fuzz_one_input(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
}

TEST(FecFuzz, seeds_and_mutations) {
    std::vector<std::string> seeds;
    for (const char* name : {"sales-journal-2024-pipe-dot-decimals.txt", "mini-2025-tab-foreign-currency.txt",
                             "minimal-2026-tab-valid.txt", "bad-unbalanced-entries.txt"}) {
        std::ostringstream text;
        text << std::ifstream(std::string(DATA_DIR) + "/fec/" + name, std::ios::binary).rdbuf();
        seeds.push_back(text.str());
    }
    seeds.push_back(
        fec({{.number = "0", .debit = "1", .lettering = "A1", .auxiliary = "C1", .valid = ""},
             {.journal = "\"V\"", .account = "707 é", .credit = "\"1,00\"", .valid = ""},
             {.journal = "ACHATS", .number = "7", .date = "20250301", .debit = "-3", .credit = "4"}}));
    const std::vector<std::string> tokens = {"\r",
                                             "\r\r\n",
                                             "\n",
                                             "|",
                                             "\t",
                                             "\"",
                                             "\"\"",
                                             "-",
                                             ",",
                                             "9999999999999",
                                             "\xE9",
                                             "\xC2\x85",
                                             "\x80",
                                             std::string(1, '\0'),
                                             "20240230",
                                             "00000000",
                                             "Montant|Sens",
                                             "\xEF\xBB\xBF",
                                             "411",
                                             "40",
                                             "A1",
                                             "||||\n"};
    std::mt19937 random(4711);
    for (const std::string& seed : seeds)
        for (char options = 0; options < 16; ++options) {
            run(options + seed);
            for (int i = 0; i < 25; ++i)
                run(options + fuzz::mutated(seed, random, tokens));
        }
}

} // namespace
