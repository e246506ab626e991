#include "window/page_view.h"

#include "output/sheet.h"
#include "platform/failures.h"
#include "platform/text.h"
#include "window/qt_text.h"

#include <QFontDatabase>
#include <QPageLayout>
#include <QPaintEvent>
#include <QPainter>
#include <QPrinter>

#include <algorithm>
#include <cmath>

namespace corvalissement {

namespace {

constexpr double UNITS_PER_POINT = 20.0;
constexpr double UNITS_PER_INCH = 1440.0;
constexpr double UNITS_PER_PEN_DOT = 1440.0 / 300.0;

// A fixed-pitch face whose character is three fifths of its size wide, as the page is laid out for; one that
// is wider or narrower is stretched to it.
QFont page_font(double points) {
    QFont font(QStringLiteral("Liberation Mono"));
    font.setStyleHint(QFont::Monospace);
    font.setFixedPitch(true);
    font.setHintingPreference(QFont::PreferNoHinting);
    font.setPixelSize(std::max(1, static_cast<int>(std::lround(points * UNITS_PER_POINT))));
    return font;
}

void paint_text(QPainter& painter, const PageMark& mark) {
    QFont font = page_font(mark.points);
    font.setBold(mark.bold);
    font.setUnderline(mark.underline);
    painter.setFont(font);
    painter.drawText(QPointF(mark.x, mark.y + BASE_LINE_UNITS_PER_POINT * mark.points),
                     shown_text(mark.text));
}

} // namespace

void paint_page(QPainter& painter, const std::vector<PageMark>& marks) {
    painter.translate(SHEET_LEFT, SHEET_TOP);
    for (const PageMark& mark : marks) {
        if (mark.kind == PageMark::Kind::text) {
            painter.setPen(Qt::black);
            paint_text(painter, mark);
        } else if (mark.kind == PageMark::Kind::line) {
            painter.setPen(QPen(Qt::black, mark.pen_width * UNITS_PER_PEN_DOT));
            painter.drawLine(QPointF(mark.x, mark.y), QPointF(mark.x2, mark.y2));
        }
    }
    painter.translate(-SHEET_LEFT, -SHEET_TOP);
}

void print_document(RecordedDocument& document, QPrinter& printer) {
    printer.setPageOrientation(document.landscape() ? QPageLayout::Landscape : QPageLayout::Portrait);
    // From the corner of the sheet: the page has margins of its own.
    printer.setFullPage(true);
    const long last = printer.toPage() > 0 ? std::min<long>(printer.toPage(), document.page_count())
                                           : document.page_count();
    const long first = std::max(1, printer.fromPage());
    const int rounds = printer.supportsMultipleCopies() ? 1 : printer.copyCount();
    QPainter painter;
    if (!painter.begin(&printer))
        throw StepFailure(ERR_OUTPUT, "L'imprimante « " + field_text(printer.printerName()) +
                                          " » n'accepte pas l'impression.");
    bool begun = false;
    for (int round = 0; round < rounds; ++round)
        for (long page = first; page <= last; ++page) {
            if (begun && !printer.newPage())
                throw StepFailure(ERR_OUTPUT,
                                  "L'impression s'est arrêtée à la page " + std::to_string(page) + ".");
            begun = true;
            painter.save();
            painter.scale(printer.resolution() / UNITS_PER_INCH, printer.resolution() / UNITS_PER_INCH);
            paint_page(painter, document.page(page - 1));
            painter.restore();
        }
    if (!painter.end()) throw StepFailure(ERR_OUTPUT, "L'impression n'a pu être terminée.");
}

PageView::PageView(std::shared_ptr<RecordedDocument> document, QWidget* parent)
    : QWidget(parent), document_(std::move(document)) {
    setObjectName(QStringLiteral("Page"));
    show_page(0);
    set_zoom(zoom_);
}

void PageView::show_page(long page, const std::optional<FoundText>& found) {
    marks_ = document_->page(page);
    page_ = page;
    found_ = found;
    setAccessibleName(tr("Page %1 sur %2").arg(page + 1).arg(document_->page_count()));
    QString text;
    double row = -1.0;
    for (const PageMark& mark : marks_) {
        if (mark.kind != PageMark::Kind::text) continue;
        if (mark.y != row && !text.isEmpty()) text += QLatin1Char('\n');
        row = mark.y;
        text += shown_text(mark.text);
    }
    setAccessibleDescription(text);
    update();
}

void PageView::set_zoom(double zoom) {
    zoom_ = zoom;
    setFixedSize(static_cast<int>(document_->width() * zoom_), static_cast<int>(document_->height() * zoom_));
    update();
}

QRect PageView::found_place() const {
    if (!found_) return {};
    return QRectF((SHEET_LEFT + found_->x) * zoom_, (SHEET_TOP + found_->y) * zoom_, found_->width * zoom_,
                  found_->height * zoom_)
        .toAlignedRect();
}

// Paper is white and ink black whatever the colours of the desktop.
void PageView::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(event->rect(), Qt::white);
    if (const QRect place = found_place(); !place.isEmpty()) painter.fillRect(place, QColor(255, 232, 120));
    painter.scale(zoom_, zoom_);
    paint_page(painter, marks_);
}

} // namespace corvalissement
