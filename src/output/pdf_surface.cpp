// The PDF surface: lays each page out as content and hands it to the spool when it ends, so that one page
// is all it holds; at the end the document is put together around the spool.
#include "output/grid_surface.h"
#include "output/page_spool.h"
#include "output/pdf_document.h"
#include "output/pdf_font.h"
#include "output/pdf_page.h"
#include "output/surfaces.h"
#include "platform/text.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <memory>
#include <new>
#include <system_error>
#include <utility>
#include <vector>

namespace corvalissement {

namespace {

constexpr double PEN_UNITS = 1440.0 / 300.0; // one unit of pen width: a dot of a printer of 300 an inch

class PdfSurface final : public GridSurface {
public:
    PdfSurface(std::string path, std::string device_name, std::string port)
        : GridSurface(std::move(path), std::move(device_name), std::move(port)),
          regular_(find_font("LiberationMono-Regular")), bold_(find_font("LiberationMono-Bold")) {}

    void describe(std::string_view title, std::string_view author, const CivilDate& day) override {
        metadata_ = {std::string(title), std::string(author), day};
    }

    void mark_account(std::string_view number, std::string_view label) override {
        std::string title = sanitize(trim_blanks(number));
        if (!trim_blanks(label).empty()) title += "  " + sanitize(trim_blanks(label));
        const std::int64_t y =
            a4(orientation()).height - std::llround((SHEET_TOP + CurrentY()) * HUNDREDTHS_PER_UNIT);
        const long page = std::max(1L, page_count());
        bookmarks_.push_back({std::move(title), static_cast<std::size_t>(page - 1), y});
    }

private:
    void begin_document() override {
        paper_ = a4(orientation());
        try {
            pages_ = std::make_unique<PageSpool>(file().folder());
        } catch (const std::system_error& failure) {
            file().fail_with_errno(failure.code().value());
        } catch (const std::bad_alloc&) {
            file().fail_with_errno(ENOMEM);
        }
    }

    void draw_text(std::string_view text) override {
        page_.text(paper_, CurrentX(), CurrentY(), text, {type().points, type().bold, type().underline});
    }

    void draw_line(double x1, double y1, double x2, double y2) override {
        page_.rule(paper_, x1, y1, x2, y2, pen_width() * PEN_UNITS);
    }

    void end_page() override {
        pages_->add(page_.take());
        if (const std::string reason = pages_->failure(); !reason.empty()) file().fail(reason);
    }

    void end_document() override {
        pages_->finish();
        const PdfDocument document{paper_, copies(), metadata_, std::move(bookmarks_), &regular_, &bold_};
        write_pdf(document, *pages_, file());
    }

    PdfFont regular_;
    PdfFont bold_;
    PdfPage page_{regular_, bold_};
    PaperSize paper_{};
    std::unique_ptr<PageSpool> pages_;
    std::vector<PdfBookmark> bookmarks_;
    PdfMetadata metadata_;
};

} // namespace

std::unique_ptr<PrintSurface> make_pdf_surface(std::string path, std::string device_name, std::string port) {
    if (device_name.empty()) device_name = "PDF";
    return std::make_unique<PdfSurface>(std::move(path), std::move(device_name), std::move(port));
}

} // namespace corvalissement
