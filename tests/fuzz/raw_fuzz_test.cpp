// Replays the target of raw records on the seeds and on mutations of them that never change.
#define LLVMFuzzerTestOneInput raw_fuzz_one_input
#include "fuzz/raw_fuzz.cpp"
#undef LLVMFuzzerTestOneInput

#include "fuzz/mutations.h"

#include <gtest/gtest.h>

namespace {

TEST(RawFuzz, seeds_and_mutations) {
    const std::string seeds[] = {
        "{\"fichier\":\"BALANCEGENE\",\"cle\":\"N00014010000000\",\"attributs\":[\"\", \"0\", "
        "[\"45292\",\"45293\"]]}\n",
        "{\"cle\":\"a\",\"attributs\":[],\"fichier\":\"F\"}\n{\"cle\":\"a\",\"attributs\":[[\"\",\"\"],\"\"],"
        "\"fichier\":\"F\"}\n",
        "{\"fichier\":\"\\u00e9\",\"cle\":\"\\ud83d\\ude00\",\"attributs\":[\"\\u0000\\n\",[]]}\r\n\n",
    };
    const std::vector<std::string> tokens = {
        "\"",       "[",       "]",    "{",   "}",  ",",    ":",        "\\",
        "\\u0000",  "\\ud800", "null", "1e5", "\n", "\xFE", "\xC3\xA9", "[\"a\",\"b\"]",
        "\"cle\":", "[[[["};
    std::mt19937 random(815);
    for (const std::string& seed : seeds)
        for (int i = 0; i < 3'000; ++i) {
            const std::string input = i == 0 ? seed : corvalissement::fuzz::mutated(seed, random, tokens);
            (void)raw_fuzz_one_input(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
        }
}

} // namespace
