// What all the surfaces of this folder share: the settings, the print position and how it moves, the count
// of pages, and the file that appears when the document ends. A surface derived from it only draws.
//
// A failure of the output (no such folder, disk full) is kept: it is thrown once by the first NewPage that
// finds it, so that a long edition can end early, and by EndDoc. In between printing goes on without effect.
#pragma once

#include "files/output_file.h"
#include "platform/print_surface.h"

#include <memory>
#include <string>
#include <string_view>

namespace corvalissement {

class GridSurface : public PrintSurface {
public:
    GridSurface(std::string path, std::string device_name, std::string port);

    [[nodiscard]] std::string DeviceName() const final { return device_name_; }
    [[nodiscard]] std::string Port() const final { return port_; }

    // Values that no printer has are refused with StepFailure (ERR_PROPERTY) and change nothing: an
    // orientation other than 1 and 2, copies outside 1..32767, both once the document has begun; a type
    // size outside 1..1000 points, a pen width outside 1..32767, a position further than 1,000,000 units.
    void set_Orientation(int orientation) final;
    void set_Copies(int copies) final;
    void set_FontSize(double points) final;
    void set_DrawWidth(int width) final;
    void set_CurrentX(double x) final;
    void set_CurrentY(double y) final;

    // Every family is shown in the one fixed-pitch face that the surface has, so a name changes nothing.
    void set_FontName(std::string_view name) final { static_cast<void>(name); }
    void set_FontBold(bool bold) final { type_.bold = bold; }
    void set_FontUnderline(bool underline) final { type_.underline = underline; }

    [[nodiscard]] double CurrentX() const final { return x_; }
    [[nodiscard]] double CurrentY() const final { return y_; }

    void Print(std::string_view text, LineEnd line_end) final;
    void Line(double x1, double y1, double x2, double y2) final;

    // Takes the position to 0, 0; type, pen and settings stay. The page begun counts at once, also when
    // nothing follows on it.
    void NewPage() final;

    // The first call ends the document, whatever comes of it; a further one does nothing, and printing
    // after it fails.
    void EndDoc() final;

    [[nodiscard]] long page_count() const final { return pages_; }

protected:
    struct TypeFace {
        double points = 10.0;
        bool bold = false;
        bool underline = false;
    };

    [[nodiscard]] const TypeFace& type() const noexcept { return type_; }
    [[nodiscard]] int pen_width() const noexcept { return pen_width_; }
    [[nodiscard]] int orientation() const noexcept { return orientation_; }
    [[nodiscard]] int copies() const noexcept { return copies_; }
    [[nodiscard]] OutputFile& file() noexcept { return *file_; } // from begin_document to end_document

    // Called in this order: begin_document; for each page its drawings and end_page; end_document, behind
    // which the file is committed. After a failure of file() none of them is called any more.
    virtual void begin_document() {}
    virtual void draw_text(std::string_view text) = 0; // never empty; at the print position
    virtual void draw_line(double x1, double y1, double x2, double y2) = 0;
    virtual void end_page() = 0;
    virtual void end_document() = 0;

private:
    [[nodiscard]] bool enter_page();
    template <class Draw>
    void draw(Draw&& action);

    std::string path_;
    std::string device_name_;
    std::string port_;
    std::unique_ptr<OutputFile> file_; // there from the first ink on until EndDoc
    TypeFace type_;
    double x_ = 0.0;
    double y_ = 0.0;
    int pen_width_ = 1;
    int orientation_ = 1;
    int copies_ = 1;
    long pages_ = 0;
    bool failure_told_ = false;
    bool ended_ = false;
};

} // namespace corvalissement
