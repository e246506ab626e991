// The floor of an edition: reads the entry records of year N of an entity by key, in the order of the
// edition, and does nothing with them. Prints records, bytes and CPU seconds.
//
//   read_floor BASE ENTITY
#include "commands/session.h"
#include "data/keys.h"

#include <cstdio>
#include <ctime>

using namespace corvalissement;

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "read_floor BASE ENTITY\n");
        return 2;
    }
    try {
        ServerSession session(open_embedded_store(argv[1], OpenMode::must_exist));
        std::string work;
        const DynArray keys = session.DBSelect(query_request("SSELECT BALANCEGENE AVEC EntiteBalGene = \"" +
                                                                 std::string(argv[2]) +
                                                                 "\" AND AVEC ExerBalGene = \"N0\" PAR 0",
                                                             files::BALANCEGENE, "0"),
                                               "", work);
        const auto balances = session.DBOpen(files::BALANCEGENE);
        const auto entries = session.DBOpen(files::DETAILECRITUREGENE);
        TarvexRecord balance;
        TarvexRecord entry;
        std::size_t records = 0;
        std::size_t bytes = 0;
        const std::clock_t start = std::clock();
        const ReadingScope reading(session);
        for (std::size_t i = 1; i <= keys.DCount(); ++i) {
            balances->DBRead(keys(i, 1), balance);
            const std::size_t count = balance.DCount(balance::ENTRIES);
            for (std::size_t v = 1; v <= count; ++v) {
                entries->DBRead(balance(balance::ENTRIES, v), entry);
                bytes += entry.text().size();
            }
            records += count;
        }
        const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        std::printf("%zu %zu %.3f\n", records, bytes, seconds);
        return 0;
    } catch (const StepFailure& failure) {
        std::fprintf(stderr, "%s\n", failure.text().c_str());
        return 1;
    }
}
