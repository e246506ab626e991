// From an entry's record to the line that says it, and the rule that adds consecutive entries of an income or
// expense account into one line. Used by the ledger pass and by both details of the merged pass.
#pragma once

#include "ledger/edition.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace corvalissement {

class EntryLine {
public:
    // `steps` tells what happens to a value that cannot be read: left out, or the pass ends.
    EntryLine(Edition& edition, Steps& steps) : edition_(edition), steps_(steps) {}

    // Gives one entry that survives the range, the filter and the checks to the sink, or holds it back for
    // merging. `index` is its place in the balance record, from 1, and `in_range_count` gives the number of
    // the record's dates up to the end date; it is asked for accounts of classes 6 and 7 only.
    template <class Count>
    void print(const TarvexRecord& entry, std::string_view entry_key, std::size_t index,
               Count&& in_range_count) {
        if (!hold_or_print(entry, entry_key)) return;
        if (index == in_range_count()) print_held();
    }

    // Prints the line held back, if any: the entries of a balance key have run out.
    void print_held();

    // Forgets the line: a new balance key begins.
    void start_key() noexcept { held_ = false; }

private:
    // True when the entry's account is one of those whose lines merge.
    bool hold_or_print(const TarvexRecord& entry, std::string_view entry_key);
    bool continues_held(const TarvexRecord& entry, std::string_view entry_key) const;
    bool merge(const TarvexRecord& entry);
    void remember(const TarvexRecord& entry, std::string_view entry_key);
    void compose(LedgerLine& line, const TarvexRecord& entry, std::string_view entry_key);
    void send(const LedgerLine& line);

    std::optional<CivilDate> entry_date(std::string_view date, std::string_view entry_key);
    std::optional<CivilDate> date_of(std::string_view date, std::string_view entry_key);
    std::optional<std::int64_t> amount_of(std::string_view attribute, std::string_view entry_key,
                                          double& accumulator);

    Edition& edition_;
    Steps& steps_;

    LedgerLine held_line_;
    bool held_ = false;
    bool held_both_sides_ = false;

    LedgerLine line_; // of an entry printed at once

    // The entry date last read: entries come in date order.
    std::string last_date_text_;
    std::optional<CivilDate> last_date_;
};

} // namespace corvalissement
