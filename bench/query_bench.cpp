// Queries over an entity of 100,000 accounts in an embedded base, beside nine smaller ones.
#include "data/tarvex.h"
#include "query/query_run.h"
#include "store/store.h"

#include <benchmark/benchmark.h>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace {

using namespace corvalissement;

constexpr std::size_t ACCOUNTS = 100'000;

std::unique_ptr<Store> make_accounts(const std::string& path) {
    std::filesystem::remove(path);
    auto store = open_embedded_store(path, OpenMode::create);
    const FileId balances = store->file("BALANCEGENE");
    const FileId chart = store->file("PLANCOMPTABLE");
    Transaction whole(*store);
    for (std::size_t entity = 1; entity <= 10; ++entity)
        for (std::size_t i = 0; i < (entity == 5 ? ACCOUNTS : 1'000); ++i) {
            const std::string code = std::string("00") + std::to_string(entity % 10);
            const std::string account = code + std::to_string(4'000'000'000 + i * 9'973);
            store->write(balances, "N0" + account,
                         "1\xFE"
                         "1\xFE"
                         "0\xFE\xFE\xFE\xFE\xFE"
                         "45292\xFE"
                         "001VEN100001");
            store->write(chart, account, "Client numéro " + std::to_string(i * 7'919 % ACCOUNTS));
        }
    whole.commit();
    return store;
}

Store& accounts() {
    static const std::string path =
        (std::filesystem::temp_directory_path() / ("query-bench-" + std::to_string(::getpid()))).string();
    static const auto store = make_accounts(path);
    static const int removed = std::atexit([] { std::filesystem::remove(path); });
    static_cast<void>(removed);
    return *store;
}

void run(benchmark::State& state, const std::string& query, const std::string& file) {
    Store& store = accounts();
    const std::string request = query_request(query, file, "0");
    QueryCounts counts;
    for (auto _ : state) {
        counts = QueryCounts();
        store.begin_reading();
        benchmark::DoNotOptimize(run_request(store, request, &counts));
        store.end_reading();
    }
    state.counters["rows"] = static_cast<double>(counts.rows);
    state.counters["keys"] = static_cast<double>(counts.keys);
    state.counters["labels"] = static_cast<double>(counts.labels);
}

void BeginningOfNumber(benchmark::State& state) {
    run(state, "SSELECT BALANCEGENE AVEC 0 = \"N000540123]\"", "BALANCEGENE");
}
void WholeEntity(benchmark::State& state) {
    run(state, "SSELECT BALANCEGENE AVEC EntiteBalGene = \"005\" AND AVEC ExerBalGene = \"N0\" PAR 0",
        "BALANCEGENE");
}
void WholeEntityAllYears(benchmark::State& state) {
    run(state, "SSELECT BALANCEGENE AVEC EntiteBalGene = \"005\" PAR CpteBalGene PAR ExerBalGene PAR 0",
        "BALANCEGENE");
}
void UnsettledAccounts(benchmark::State& state) {
    run(state,
        "SSELECT BALANCEGENE AVEC EntiteBalGene = \"005\" AND AVEC ExerBalGene = \"N0\" AND AVEC "
        "SoldeBalGene <> \"0\" "
        "PAR 0",
        "BALANCEGENE");
}
void AccountRange(benchmark::State& state) {
    run(state,
        "SSELECT BALANCEGENE AVEC EntiteBalGene = \"005\" AND AVEC ExerBalGene = \"N0\" AND AVEC 0 >= "
        "\"[0054100000000\" AND AVEC 0 <= \"[0054109999999\" PAR 0",
        "BALANCEGENE");
}
void LabelAll(benchmark::State& state) {
    run(state,
        "SSELECT BALANCEGENE AVEC 0 = \"N0005]\" AND AVEC LibCpteBalanceGene = \"]\" PAR LibCpteBalanceGene",
        "BALANCEGENE");
}
void LabelBeginning(benchmark::State& state) {
    run(state,
        "SSELECT BALANCEGENE AVEC 0 = \"N0005]\" AND AVEC LibCpteBalanceGene = \"CLIENT NUMERO 123]\" PAR "
        "LibCpteBalanceGene",
        "BALANCEGENE");
}

} // namespace

BENCHMARK(BeginningOfNumber)->Unit(benchmark::kMillisecond);
BENCHMARK(WholeEntity)->Unit(benchmark::kMillisecond);
BENCHMARK(WholeEntityAllYears)->Unit(benchmark::kMillisecond);
BENCHMARK(UnsettledAccounts)->Unit(benchmark::kMillisecond);
BENCHMARK(AccountRange)->Unit(benchmark::kMillisecond);
BENCHMARK(LabelAll)->Unit(benchmark::kMillisecond);
BENCHMARK(LabelBeginning)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
