// The embedded store as an edition uses it: 1,000,000 entries of 2,000 accounts, read by key in the order of
// the balance records; and the cost of a durable write.
#include "commands/session.h"
#include "store/store.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using namespace corvalissement;

constexpr std::size_t ENTRIES = 1'000'000;
constexpr std::size_t ACCOUNTS = 2'000;

struct EntryBase {
    std::string path;
    std::vector<std::string> keys; // in the order of an edition: account by account, then by date
    std::unique_ptr<Store> store;
};

// Line numbers run over the whole entity in file order, so an account's entries lie far apart.
EntryBase make_entries() {
    EntryBase base;
    base.path =
        (std::filesystem::temp_directory_path() / ("store-bench-" + std::to_string(::getpid()))).string();
    std::filesystem::remove(base.path);
    base.store = open_embedded_store(base.path, OpenMode::create);
    const FileId file = base.store->file("DETAILECRITUREGENE");
    base.keys.resize(ENTRIES);
    Transaction whole(*base.store);
    for (std::size_t i = 0; i < ENTRIES; ++i) {
        char key[32];
        std::snprintf(key, sizeof key, "001VEN1%05zu%08zu", i % 100'000, i);
        base.keys[i % ACCOUNTS * (ENTRIES / ACCOUNTS) + i / ACCOUNTS] = key;
        base.store->write(file, key,
                          "1\xFE"
                          "45292\xFE"
                          "0014010000000\xFE"
                          "Facture du mois, libellé moyen\xFE"
                          "PIECE12345\xFE"
                          "123456\xFE\xFE"
                          "45322\xFE\xFE\xFE"
                          "AB");
    }
    whole.commit();
    return base;
}

EntryBase& entries() {
    static EntryBase base = make_entries();
    static const int removed = std::atexit([] { std::filesystem::remove(base.path); });
    static_cast<void>(removed);
    return base;
}

void ReadEntriesByKey(benchmark::State& state) {
    EntryBase& base = entries();
    const FileId file = base.store->file("DETAILECRITUREGENE");
    std::string record;
    std::size_t bytes = 0;
    for (auto _ : state) {
        base.store->begin_reading();
        for (const std::string& key : base.keys) {
            if (!base.store->read(file, key, record)) state.SkipWithError("an entry is missing");
            bytes += record.size();
        }
        base.store->end_reading();
    }
    benchmark::DoNotOptimize(bytes);
    state.SetItemsProcessed(static_cast<std::int64_t>(ENTRIES) * state.iterations());
}

// The same through the session, with four attributes looked at.
void ReadEntriesIntoASlot(benchmark::State& state) {
    EntryBase& base = entries();
    ServerSession session(open_embedded_store(base.path, OpenMode::must_exist));
    const auto file = session.DBOpen("DETAILECRITUREGENE");
    TarvexRecord slot;
    std::size_t bytes = 0;
    for (auto _ : state) {
        const ReadingScope reading(session);
        for (const std::string& key : base.keys) {
            file->DBRead(key, slot);
            bytes += slot(2).size() + slot(4).size() + slot(6).size() + slot(11).size();
        }
    }
    benchmark::DoNotOptimize(bytes);
    state.SetItemsProcessed(static_cast<std::int64_t>(ENTRIES) * state.iterations());
}

void ScanEntries(benchmark::State& state) {
    EntryBase& base = entries();
    std::size_t bytes = 0;
    for (auto _ : state)
        base.store->scan(base.store->file("DETAILECRITUREGENE"), "",
                         [&](std::string_view, std::string_view record) {
                             bytes += record.size();
                             return true;
                         });
    benchmark::DoNotOptimize(bytes);
    state.SetItemsProcessed(static_cast<std::int64_t>(ENTRIES) * state.iterations());
}

void DurableWrite(benchmark::State& state) {
    EntryBase& base = entries();
    const FileId file = base.store->file("TEMPO");
    std::size_t written = 0; // a record written again unchanged would cost no flush
    for (auto _ : state)
        base.store->write(file, "BALANCEGENEX", std::to_string(++written));
}

void OpenBase(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(open_embedded_store(entries().path, OpenMode::must_exist));
}

} // namespace

BENCHMARK(ReadEntriesByKey)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(ReadEntriesIntoASlot)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(ScanEntries)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(DurableWrite)->Unit(benchmark::kMicrosecond);
BENCHMARK(OpenBase)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
