// Replays the target of queries on the system's own queries and on mutations of them that never change.
#define LLVMFuzzerTestOneInput query_fuzz_one_input
#include "fuzz/query_fuzz.cpp"
#undef LLVMFuzzerTestOneInput

#include "fuzz/mutations.h"

#include <gtest/gtest.h>

namespace {

TEST(QueryFuzz, seeds_and_mutations) {
    const std::string seeds[] = {
        "SSELECT ASSOCIATION AVEC 1 = \"ETS]\" PAR 0",
        "SSELECT BALANCEGENE AVEC 0 = \"N0001401]\" AND AVEC LibCpteBalanceGene = \"ABC]\" PAR "
        "LibCpteBalanceGene",
        "SSELECT BALANCEGENE AVEC EntiteBalGene = \"001\" AND AVEC ExerBalGene = \"N0\" AND AVEC "
        "SoldeBalGene <> "
        "\"0\" AND AVEC 0 >= \"[0014000000000\" AND AVEC 0 <= \"[0014010000000\" OR AVEC 0 >= "
        "\"[0014010000001\" "
        "AND AVEC 0 <= \"[0026010000000\" PAR CpteBalGene PAR ExerBalGene PAR 0",
        "SSELECT BROUILLARDTETE AVEC SoldeBrouillardTete = \"0\" AND AVEC 0 = \"001]\" PAR 0",
    };
    const std::vector<std::string> tokens = {"\"",
                                             " AND",
                                             " OR",
                                             " AVEC 0 = \"N]\"",
                                             " PAR 3",
                                             "[",
                                             "]",
                                             "<>",
                                             ">",
                                             "<=",
                                             "0",
                                             "1",
                                             "N0",
                                             "001",
                                             "\xC3\xA9",
                                             "\xC3",
                                             " OR AVEC 0 < \"[0014010000001\""};
    std::mt19937 random(816);
    for (const std::string& seed : seeds)
        for (int i = 0; i < 4'000; ++i) {
            const std::string input = i == 0 ? seed : corvalissement::fuzz::mutated(seed, random, tokens);
            (void)query_fuzz_one_input(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
        }
}

} // namespace
