// A surface that passes every operation on to another, which it owns. What changes one operation of a
// surface derives from it.
#pragma once

#include "platform/print_surface.h"

#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace corvalissement {

class ForwardingSurface : public PrintSurface {
public:
    explicit ForwardingSurface(std::unique_ptr<PrintSurface> inner) : inner_(std::move(inner)) {}
    [[nodiscard]] std::string DeviceName() const override { return inner_->DeviceName(); }
    [[nodiscard]] std::string Port() const override { return inner_->Port(); }
    void set_Orientation(int orientation) override { inner_->set_Orientation(orientation); }
    void set_Copies(int copies) override { inner_->set_Copies(copies); }
    void set_FontName(std::string_view name) override { inner_->set_FontName(name); }
    void set_FontSize(double points) override { inner_->set_FontSize(points); }
    void set_FontBold(bool bold) override { inner_->set_FontBold(bold); }
    void set_FontUnderline(bool underline) override { inner_->set_FontUnderline(underline); }
    void set_DrawWidth(int width) override { inner_->set_DrawWidth(width); }
    void set_CurrentX(double x) override { inner_->set_CurrentX(x); }
    void set_CurrentY(double y) override { inner_->set_CurrentY(y); }
    [[nodiscard]] double CurrentX() const override { return inner_->CurrentX(); }
    [[nodiscard]] double CurrentY() const override { return inner_->CurrentY(); }
    void Print(std::string_view text, LineEnd line_end) override { inner_->Print(text, line_end); }
    void Line(double x1, double y1, double x2, double y2) override { inner_->Line(x1, y1, x2, y2); }
    void NewPage() override { inner_->NewPage(); }
    void EndDoc() override { inner_->EndDoc(); }
    [[nodiscard]] long page_count() const override { return inner_->page_count(); }
    void describe(std::string_view title, std::string_view author, const CivilDate& day) override {
        inner_->describe(title, author, day);
    }
    void mark_account(std::string_view number, std::string_view label) override {
        inner_->mark_account(number, label);
    }

protected:
    [[nodiscard]] PrintSurface& inner() noexcept { return *inner_; }

private:
    std::unique_ptr<PrintSurface> inner_;
};

} // namespace corvalissement
