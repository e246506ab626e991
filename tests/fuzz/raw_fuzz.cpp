// Any bytes as raw records. A fault is: any failure but bad input, a base changed by refused input, or a
// base that is another one after extract and load.
#include "importers/bad_input.h"
#include "importers/base_check.h"
#include "importers/raw_records.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace corvalissement;
    const auto fault = [](const char* text) {
        std::fprintf(stderr, "fault: %s\n", text);
        std::abort();
    };
    const auto store = make_memory_store();
    std::istringstream input(std::string(reinterpret_cast<const char*>(data), size));
    try {
        load_records(*store, input, "essai", {});
    } catch (const BadInput&) {
        if (!testing_base::snapshot(*store).empty()) fault("refused input changes the base");
        return 0;
    }
    std::stringstream text;
    extract_records(*store, text, std::nullopt);
    const auto copy = make_memory_store();
    load_records(*copy, text, "copie", {});
    if (testing_base::snapshot(*copy) != testing_base::snapshot(*store)) fault("another base comes back");
    return 0;
}
