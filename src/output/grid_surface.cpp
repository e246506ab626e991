#include "output/grid_surface.h"

#include "platform/failures.h"
#include "platform/text.h"

#include <cerrno>
#include <cmath>
#include <new>
#include <sstream>
#include <utility>

namespace corvalissement {

namespace {

constexpr int MOST_COPIES = 32767;
constexpr int WIDEST_PEN = 32767;
constexpr double LARGEST_TYPE = 1000.0;
constexpr double FURTHEST = 1'000'000.0; // units; 17 metres, beyond any paper

// What a user set, as he would write it: no zeros that he did not.
std::string shown(double value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

void require(bool accepted, const char* what, double value, const std::string& device) {
    if (!accepted) throw StepFailure(ERR_PROPERTY, std::string(what) + shown(value), device);
}

void require_place(double position, const std::string& device) {
    require(std::abs(position) <= FURTHEST, "Emplacement refusé par l'imprimante : ", position, device);
}

} // namespace

GridSurface::GridSurface(std::string path, std::string device_name, std::string port)
    : path_(std::move(path)), device_name_(std::move(device_name)), port_(std::move(port)) {}

void GridSurface::set_Orientation(int orientation) {
    const bool known = orientation == 1 || orientation == LANDSCAPE;
    require(known && (pages_ == 0 || orientation == orientation_),
            "Sens du papier refusé par l'imprimante : ", orientation, device_name_);
    orientation_ = orientation;
}

void GridSurface::set_Copies(int copies) {
    const bool possible = copies >= 1 && copies <= MOST_COPIES;
    require(possible && (pages_ == 0 || copies == copies_),
            "Nombre d'exemplaires refusé par l'imprimante : ", copies, device_name_);
    copies_ = copies;
}

void GridSurface::set_FontSize(double points) {
    require(points >= 1.0 && points <= LARGEST_TYPE, "Corps de caractère refusé par l'imprimante : ", points,
            device_name_);
    type_.points = points;
}

void GridSurface::set_DrawWidth(int width) {
    require(width >= 1 && width <= WIDEST_PEN, "Largeur de trait refusée par l'imprimante : ", width,
            device_name_);
    pen_width_ = width;
}

void GridSurface::set_CurrentX(double x) {
    require_place(x, device_name_);
    x_ = x;
}

void GridSurface::set_CurrentY(double y) {
    require_place(y, device_name_);
    y_ = y;
}

// Begins the document with the first ink. False when the output has failed and drawing is in vain.
bool GridSurface::enter_page() {
    if (ended_) throw StepFailure(ERR_OUTPUT, path_ + " : le document est déjà terminé", path_);
    if (pages_ == 0) {
        // Counted at once: should the file not come about for want of memory, the document is lost and never
        // begun anew behind what is missing.
        pages_ = 1;
        file_ = std::make_unique<OutputFile>(path_);
        if (!file_->failed()) begin_document();
    }
    if (file_ == nullptr) throw StepFailure(ERR_OUTPUT, path_ + " : mémoire insuffisante", path_);
    return !file_->failed();
}

// Puts something on the page. What the page could not take for want of memory fails the output as a whole: a
// document that lacks a line is none.
template <class Draw>
void GridSurface::draw(Draw&& action) {
    if (!enter_page()) return;
    try {
        std::forward<Draw>(action)();
    } catch (const std::bad_alloc&) {
        file_->fail_with_errno(ENOMEM);
    }
}

void GridSurface::Print(std::string_view text, LineEnd line_end) {
    if (!text.empty()) draw([&] { draw_text(text); });
    if (line_end == LineEnd::keep) {
        x_ += static_cast<double>(char_count(text)) * CHAR_UNITS_PER_POINT * type_.points;
    } else {
        x_ = 0.0;
        y_ += LINE_UNITS_PER_POINT * type_.points;
    }
}

void GridSurface::Line(double x1, double y1, double x2, double y2) {
    for (const double position : {x1, y1, x2, y2})
        require_place(position, device_name_);
    draw([&] { draw_line(x1, y1, x2, y2); });
    x_ = x2;
    y_ = y2;
}

void GridSurface::NewPage() {
    draw([this] { end_page(); });
    ++pages_;
    x_ = 0.0;
    y_ = 0.0;
    if (!file_->failed() || failure_told_) return;
    failure_told_ = true;
    throw StepFailure(ERR_OUTPUT, path_ + " : " + file_->reason(), path_);
}

void GridSurface::EndDoc() {
    if (ended_) return;
    ended_ = true;
    if (pages_ == 0) return;
    // Whichever way this ends, the file is let go, and with it what it may have left on the disk.
    struct LetGo {
        std::unique_ptr<OutputFile>& file;
        ~LetGo() { file.reset(); }
    } const let_go{file_};
    if (file_ == nullptr) throw StepFailure(ERR_OUTPUT, path_ + " : mémoire insuffisante", path_);
    try {
        if (!file_->failed()) end_page();
        if (!file_->failed()) end_document();
    } catch (const std::bad_alloc&) {
        file_->fail_with_errno(ENOMEM);
    }
    file_->commit();
}

} // namespace corvalissement
