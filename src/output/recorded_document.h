// A printed document kept page by page, to be looked at, searched, printed and saved. What is printed on a
// recording surface goes, page by page and compressed, into a file without a name; only the list of accounts
// and the place of each page stay in memory (some 60 bytes an account, 16 a page).
//
// Units are those of the print surface: 1/1440 inch from its origin, which lies SHEET_LEFT and SHEET_TOP from
// the corner of the sheet. One thread.
#pragma once

#include "output/page_spool.h"
#include "platform/print_surface.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvalissement {

// One thing on a page.
struct PageMark {
    enum class Kind : unsigned char { text, line, account };
    Kind kind = Kind::text;
    bool bold = false;
    bool underline = false;
    double points = 10.0; // type size of a text
    int pen_width = 1;    // of a line
    double x = 0.0;
    double y = 0.0;
    double x2 = 0.0; // end of a line
    double y2 = 0.0;
    std::string text;  // what is printed; of an account its number
    std::string label; // of an account
};

struct RecordedAccount {
    std::string number;
    std::string label;
    long page = 0; // from 0
    double y = 0.0;
};

// Where a text that was searched for stands: in units, and as a place to go on from.
struct FoundText {
    long page = 0;        // from 0
    std::size_t line = 0; // of the page, in the order of printing
    std::size_t at = 0;   // characters before it in that line
    double x = 0.0;
    double y = 0.0;
    double width = 0.0;
    double height = 0.0;
};

class RecordedDocument {
public:
    // Made by the recording surface.
    explicit RecordedDocument(const std::string& folder) : pages_(folder) {}

    [[nodiscard]] long page_count() const noexcept { return static_cast<long>(pages_.size()); }
    [[nodiscard]] bool landscape() const noexcept { return orientation_ == LANDSCAPE; }
    // Of the sheet.
    [[nodiscard]] double width() const noexcept;
    [[nodiscard]] double height() const noexcept;
    [[nodiscard]] int copies() const noexcept { return copies_; }
    [[nodiscard]] const std::string& title() const noexcept { return title_; }
    [[nodiscard]] const std::vector<RecordedAccount>& accounts() const noexcept { return accounts_; }

    // What stands on a page (from 0), in the order of printing. Throws StepFailure (ERR_OUTPUT) when the
    // file cannot be read.
    [[nodiscard]] std::vector<PageMark> page(long number);

    // The first place of `wanted` behind `after`, capitals and accents alike; back to the beginning behind
    // the end. It may run over texts that were printed one behind the other in a line. Nothing when no page
    // holds it.
    [[nodiscard]] std::optional<FoundText> find(std::string_view wanted,
                                                const std::optional<FoundText>& after);

    // A ledger that a failing step has made wrong: to be looked at, and not to be handed on.
    void set_incomplete() { incomplete_ = true; }
    [[nodiscard]] bool incomplete() const noexcept { return incomplete_; }

    // Prints the whole document once more, on a surface of any other kind.
    void replay(PrintSurface& surface);

private:
    friend class RecordingSurface;

    PageSpool pages_;
    std::vector<RecordedAccount> accounts_;
    std::string title_;
    std::string author_;
    CivilDate day_;
    int orientation_ = 1;
    int copies_ = 1;
    bool incomplete_ = false;
};

// A surface that records. `ended` gets the document from EndDoc, when something was printed; it may throw.
[[nodiscard]] std::unique_ptr<PrintSurface>
make_recording_surface(std::string device_name, std::string port,
                       std::function<void(std::shared_ptr<RecordedDocument>)> ended);

} // namespace corvalissement
