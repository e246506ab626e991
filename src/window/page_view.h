// Pages of a recorded document on a paint device: on the screen at any zoom, as thumbnails, and on the
// printers of the system.
#pragma once

#include "output/recorded_document.h"

#include <QWidget>

class QPainter;
class QPrinter;

namespace corvalissement {

// Draws the marks of a page. One unit of the painter is 1/1440 inch, its origin the corner of the sheet; the
// paper is not filled.
void paint_page(QPainter& painter, const std::vector<PageMark>& marks);

// Prints the pages that the printer's settings ask for, each as often as they say. Throws StepFailure
// (ERR_OUTPUT) when the printer takes no page.
void print_document(RecordedDocument& document, QPrinter& printer);

// One page as a sheet of paper. The widget has the size of the sheet at its zoom.
class PageView final : public QWidget {
public:
    explicit PageView(std::shared_ptr<RecordedDocument> document, QWidget* parent = nullptr);

    [[nodiscard]] long page() const noexcept { return page_; }
    // REQUIRES a page of the document, from 0. `found` is a text on it to be shown as the one searched for.
    void show_page(long page, const std::optional<FoundText>& found = std::nullopt);

    // Pixels a unit. 96 / 1440 is the size of the paper on an ordinary screen.
    [[nodiscard]] double zoom() const noexcept { return zoom_; }
    void set_zoom(double zoom);

    // Where the text last searched for stands, in pixels; an empty rectangle for none.
    [[nodiscard]] QRect found_place() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::shared_ptr<RecordedDocument> document_;
    std::vector<PageMark> marks_;
    std::optional<FoundText> found_;
    long page_ = 0;
    double zoom_ = 96.0 / 1440.0;
};

} // namespace corvalissement
