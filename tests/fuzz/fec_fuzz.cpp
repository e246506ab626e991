// Any bytes as a FEC. A fault is: any failure but bad input, a base changed by a refused file, a base whose
// records contradict each other, totals other than those of the summary, or a second import that is not
// the same as none. The first byte chooses the options.
#include "fec/fec_importer.h"
#include "fuzz/target.h"
#include "records/bad_input.h"
#include "support/base_check.h"

namespace {

using namespace corvalissement;
using namespace corvalissement::testing_base;
using fuzz::require;

// Debit less credit, of entries and drafts.
std::int64_t net_of(const Snapshot& base) {
    std::uint64_t net = 0; // sums of hostile amounts may wrap around, on both sides alike
    for (const char* file : {"DETAILECRITUREGENE", "DETAILECRITUREGENEARCHIVE", "BROUILLARDDETAIL"})
        if (const auto found = base.find(file); found != base.end())
            for (const auto& [key, text] : found->second) {
                const DynArray entry(text);
                net += static_cast<std::uint64_t>(whole(entry(entry::DEBIT)));
                net -= static_cast<std::uint64_t>(whole(entry(entry::CREDIT)));
            }
    return static_cast<std::int64_t>(net);
}

void check(const std::string& path, const FecOptions& options) {
    const auto store = make_memory_store();
    try {
        const FecSummary summary = import_fec(*store, options, {});
        const Snapshot base = snapshot(*store);
        const std::string found = fault_of_base(*store);
        require(found.empty(), found);
        require(summary.outside_bounds > 0 || net_of(base) == whole(summary.debit) - whole(summary.credit),
                "totals");
        require(import_fec(*store, options, {}).to_json() == summary.to_json(), "another summary");
        require(snapshot(*store) == base, "a second import changes the base");
    } catch (const BadInput& bad) {
        require(snapshot(*store).empty(), "a refused file changes the base");
        require(bad.file() == path || bad.file().empty(), "another file is named");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    // The name that the tax office asks for tells a closing date.
    const std::string path =
        fuzz::scratch() / ((data[0] & 16U) != 0 ? "123456789FEC20241231.txt" : "essai.txt");
    fuzz::put_bytes(path, fuzz::text_of(data + 1, size - 1));
    FecOptions options;
    options.paths = {path};
    options.entity = "001";
    options.name = "Essai";
    options.drafts = (data[0] & 1U) != 0;
    options.auxiliaries = (data[0] & 2U) != 0;
    options.outside_bounds = (data[0] & 4U) != 0;
    if ((data[0] & 8U) != 0) options.first_day = 45'292;
    check(path, options);
    return 0;
}
