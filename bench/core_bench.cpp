// The paths that an edition takes for every entry: a record's attributes, a value of a balance record, the
// entry line.
#include "data/amounts.h"
#include "data/keys.h"
#include "data/util_object.h"
#include "ledger/entry_line.h"
#include "ledger/paper.h"

#include <benchmark/benchmark.h>

namespace corvalissement {

namespace {

constexpr const char* RECORD = "\xFE"
                               "45292\xFE"
                               "0014010000000\xFE"
                               "Facture n° 1234 de janvier\xFE"
                               "FA-1234\xFE"
                               "123456\xFE\xFE"
                               "45322\xFE"
                               "100\xFE\xFE"
                               "AB";

class SilentSurface final : public PrintSurface {
public:
    [[nodiscard]] std::string DeviceName() const override { return "banc"; }
    [[nodiscard]] std::string Port() const override { return ""; }
    void set_Orientation(int) override {}
    void set_Copies(int) override {}
    void set_FontName(std::string_view) override {}
    void set_FontSize(double) override {}
    void set_FontBold(bool) override {}
    void set_FontUnderline(bool) override {}
    void set_DrawWidth(int) override {}
    void set_CurrentX(double) override {}
    void set_CurrentY(double) override {}
    [[nodiscard]] double CurrentX() const override { return 0; }
    [[nodiscard]] double CurrentY() const override { return 0; }
    void Print(std::string_view text, LineEnd) override { benchmark::DoNotOptimize(text.data()); }
    void Line(double, double, double, double) override {}
    void NewPage() override {}
    void EndDoc() override {}
    [[nodiscard]] long page_count() const override { return 1; }
};

class NoSession final : public TarvexSession {
public:
    [[nodiscard]] std::shared_ptr<TarvexFile> DBOpen(std::string_view) override { return nullptr; }
    [[nodiscard]] DynArray DBSelect(std::string_view, std::string_view, std::string&) override { return {}; }
    void DBExecute(std::string_view, std::string_view, std::string&) override {}
};

class NoReport final : public SkippedFailures {
public:
    void skipped(std::string_view, const StepFailure&) override {}
};

void record_attributes(benchmark::State& state) {
    DynArray record;
    for (auto _ : state) {
        record.buffer().assign(RECORD);
        record.changed();
        for (std::size_t a = 2; a <= 11; ++a)
            benchmark::DoNotOptimize(record(a));
    }
}
BENCHMARK(record_attributes);

void value_of_long_attribute(benchmark::State& state) {
    std::string values;
    const auto count = static_cast<std::size_t>(state.range(0));
    for (std::size_t v = 0; v < count; ++v)
        DynArray::append_value(values, "001VEN000001N0000", v == 0);
    DynArray balance;
    balance.set(balance::ENTRIES, values);
    std::size_t v = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(balance(balance::ENTRIES, v++ % count + 1));
}
BENCHMARK(value_of_long_attribute)->Arg(1000)->Arg(1'000'000);

void entry_line(benchmark::State& state) {
    Selection selection;
    DynArray keys;
    LedgerFiles files;
    PrintState print_state;
    SilentSurface surface;
    NoProgress progress;
    NoReport failures;
    NoSession session;
    const EditionJob job{.selection = selection,
                         .W_ListeBalance = keys,
                         .W_ListeBalanceTempo = keys,
                         .files = files,
                         .session = session,
                         .state = print_state,
                         .progress = progress,
                         .failures = failures,
                         .today = {},
                         .routine = "banc"};
    Paper paper(surface, PieceSide::right);
    Edition edition(job, paper);
    Steps steps(Steps::On::skip, failures, "banc");
    EntryLine line(edition, steps);
    TarvexRecord record;
    record.set_text(RECORD);
    for (auto _ : state)
        line.print(record, "001VEN000001N0000", 1, [] { return std::size_t{0}; });
}
BENCHMARK(entry_line);

void amount(benchmark::State& state) {
    std::string text(11, ' ');
    double value = 0;
    for (auto _ : state) {
        write_amount(text.data(), value += 12345);
        benchmark::DoNotOptimize(text.data());
    }
}
BENCHMARK(amount);

} // namespace

} // namespace corvalissement
