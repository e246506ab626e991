// Bytes as a base and a selection, and the edition of them on paper. A fault is: a crash, a ledger that is
// not what the model says (rows, rules, and totals that are the sums of the stored entries chosen), a failure
// where no record is damaged, or a text page that depends on how its texts were fed.
#include "data/dyn_array.h"
#include "fuzz/target.h"
#include "output/surfaces.h"
#include "platform/text.h"
#include "support/base_check.h"
#include "support/edition_check.h"

namespace corvalissement::fuzz {
namespace {

using namespace testing_support;

// Up to four records gone, or one attribute of them made something else.
void damage(Store& store, Random& random) {
    const std::vector<std::string> names = store.file_names();
    for (int count = 1 + random.below(4); count > 0; --count) {
        const std::string& name =
            names[static_cast<std::size_t>(random.below(static_cast<int>(names.size())))];
        const auto records = testing_base::records_of(store, name);
        if (records.empty()) continue;
        const auto& [key, text] = *std::next(records.begin(), random.below(static_cast<int>(records.size())));
        if (random.one_in(4)) {
            store.erase(store.file(name), key);
            continue;
        }
        DynArray record(text);
        std::string value;
        for (int length = random.below(12); length > 0; --length)
            value.push_back(static_cast<char>(random.below(256)));
        record.set(1 + static_cast<std::size_t>(random.below(11)), value);
        store.write(store.file(name), key, record.text());
    }
}

enum class Fed { whole, in_characters };

std::string text_page(const RecordingSurface& printed, Fed fed) {
    const std::string path = scratch() / "page.txt";
    const auto page = make_text_surface(path);
    for (long number = 1; const auto& text : printed.texts) {
        for (; number < text.page; ++number)
            page->NewPage();
        page->set_FontSize(10);
        page->set_CurrentX(text.x);
        page->set_CurrentY(text.y);
        for (std::size_t at = 0, start = 0; fed == Fed::in_characters && at < text.text.size(); start = at) {
            static_cast<void>(next_char(text.text, at));
            page->Print(std::string_view(text.text).substr(start, at - start), LineEnd::keep);
        }
        if (fed == Fed::whole) page->Print(text.text, LineEnd::end);
    }
    page->EndDoc();
    return bytes_of(path);
}

} // namespace
} // namespace corvalissement::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace corvalissement;
    using namespace corvalissement::fuzz;
    Random random(text_of(data, size));
    const bool damaged = random.below(4) == 1;
    const TestLedger ledger = random_ledger(random);
    Selection selection = random_selection(random);
    selection.with_drafts = random.below(2) == 1;
    EditionResult printed;
    std::string fault;
    if (damaged)
        run_edition(ledger, selection, printed, [&](Store& store) { damage(store, random); });
    else
        fault = fault_of_edition(ledger, selection, printed);
    require(fault.empty(), fault);
    require(text_page(printed.surface, Fed::whole) == text_page(printed.surface, Fed::in_characters),
            "the page depends on how it was fed");
    return 0;
}
