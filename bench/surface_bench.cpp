// Cost of a printed page on each surface: head, title box, 24 entry lines and rules of a ledger page, 44
// texts and 60 rules in all. CPU time counts every thread. `rss_kb` is the largest memory the process has
// held so far, so that a run of one case (--benchmark_filter) tells what that case needs.
#include "output/surfaces.h"

#include "platform/text.h"

#include <array>
#include <benchmark/benchmark.h>
#include <filesystem>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace corvalissement;

constexpr double CM = 567.0;
constexpr int PAGES_AN_ACCOUNT = 4;
constexpr std::array COLUMNS_CM{0.1, 2.2, 3.1, 4.4, 10.9, 13.2, 15.8, 18.1, 20.6, 21.7, 24.2, 27.0};

// Entry lines, made before the clock starts; enough of them that no page is the copy of the one before.
std::vector<std::string> entry_lines() {
    constexpr int LINES = 997;
    std::vector<std::string> lines;
    unsigned state = 12345;
    for (int i = 0; i < LINES; ++i) {
        state = state * 1664525U + 1013904223U;
        const std::string number = std::to_string(100000 + state % 900000);
        const std::string amount = std::to_string(state % 9000000 + 1000000) + ",42";
        const bool debit = (state >> 16U) % 2 == 0;
        std::string line = " 0" + std::to_string(i % 9 + 1) + "/03/2024 VEN  " + number.substr(1) + " ";
        line += fit_right("Règlement façade n° " + number, 30) + " " + fit_right("FA" + number, 10);
        line += pad_right("", 13) + "31/12/2024 " + (debit ? amount : pad_right("", 10)) + "   AA  ";
        line += (debit ? pad_right("", 10) : amount) + "  " + amount;
        lines.push_back(pad_right(line, 129));
    }
    return lines;
}

void columns(PrintSurface& surface, double from, double to) {
    for (const double x : COLUMNS_CM)
        surface.Line(x * CM, from, x * CM, to);
}

void page_head(PrintSurface& surface, int page) {
    surface.set_CurrentY(0.4 * CM);
    surface.Print("Date : 01/03/2024" + std::string(105, ' ') + "Page : ", LineEnd::keep);
    surface.Print(std::to_string(page), LineEnd::end);
    surface.set_FontSize(14);
    surface.set_FontBold(true);
    surface.Print(std::string(38, ' ') + "GRAND LIVRE GENERAL", LineEnd::end);
    surface.set_FontBold(false);
    surface.set_FontSize(10);
    surface.set_FontUnderline(true);
    surface.Print("Entité juridique", LineEnd::keep);
    surface.set_FontUnderline(false);
    for (int i = 0; i < 14; ++i)
        surface.Print(" : Commune de Saint-Étienne", i % 2 == 0 ? LineEnd::keep : LineEnd::end);
    surface.set_CurrentY(5.2 * CM);
    surface.Print("   DATE    JO  LIGNE             LIBELLE", LineEnd::end);
    surface.set_DrawWidth(3);
    columns(surface, 5.1 * CM, 5.7 * CM);
}

void ledger_page(PrintSurface& surface, const std::vector<std::string>& lines, int page) {
    page_head(surface, page);
    if (page % PAGES_AN_ACCOUNT == 0) surface.mark_account(std::to_string(40000000 + page), "Fournisseurs");
    for (int i = 0; i < 24; ++i)
        surface.Print(lines[static_cast<std::size_t>(page * 24 + i) % lines.size()], LineEnd::end);
    for (int block = 0; block < 3; ++block) {
        columns(surface, (6.0 + 4.0 * block) * CM, (10.0 + 4.0 * block) * CM);
        for (int i = 0; i < 4; ++i)
            surface.Line(0.1 * CM, (6.0 + 4.0 * block + i) * CM, 27.0 * CM, (6.0 + 4.0 * block + i) * CM);
    }
}

double peak_kilobytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss);
}

void print_pages(benchmark::State& state, const std::string& ending) {
    const std::vector<std::string> lines = entry_lines();
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("surface_bench_" + std::to_string(::getpid()));
    std::filesystem::create_directory(folder);
    const std::string path = (folder / ("ledger" + ending)).string();
    for ([[maybe_unused]] auto run : state) {
        const auto surface = make_surface(path);
        surface->set_Orientation(LANDSCAPE);
        for (int page = 1; page <= state.range(0); ++page) {
            if (page > 1) surface->NewPage();
            ledger_page(*surface, lines, page);
        }
        surface->EndDoc();
    }
    state.counters["bytes_a_page"] =
        static_cast<double>(std::filesystem::file_size(path)) / static_cast<double>(state.range(0));
    state.counters["rss_kb"] = peak_kilobytes();
    state.SetItemsProcessed(state.iterations() * state.range(0));
    std::filesystem::remove_all(folder);
}

} // namespace

BENCHMARK_CAPTURE(print_pages, pdf, ".pdf")
    ->Arg(100)
    ->Arg(40000)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime();
BENCHMARK_CAPTURE(print_pages, text, ".txt")
    ->Arg(100)
    ->Arg(40000)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime();
BENCHMARK_CAPTURE(print_pages, trace, ".jsonl")
    ->Arg(100)
    ->Arg(40000)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime();

BENCHMARK_MAIN();
