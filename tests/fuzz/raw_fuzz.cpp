// Any bytes as raw records. A fault is: any failure but bad input, a base changed by refused input, or a
// base that is another one after extract and load.
#include "fuzz/target.h"
#include "records/bad_input.h"
#include "records/raw_records.h"
#include "support/base_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace corvalissement;
    using testing_base::snapshot;
    const auto store = make_memory_store();
    std::istringstream input(fuzz::text_of(data, size));
    try {
        load_records(*store, input, "essai", {});
    } catch (const BadInput&) {
        fuzz::require(snapshot(*store).empty(), "refused input changes the base");
        return 0;
    }
    std::stringstream text;
    extract_records(*store, text, std::nullopt);
    const auto copy = make_memory_store();
    load_records(*copy, text, "copie", {});
    fuzz::require(snapshot(*copy) == snapshot(*store), "another base comes back");
    return 0;
}
