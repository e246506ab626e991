// What a test puts in the place of paper, and of the host's list of skipped failures.
#pragma once

#include "platform/failures.h"
#include "platform/print_surface.h"

#include <string>
#include <vector>

namespace corvalissement::testing_support {

// The code points of valid UTF-8, each as its bytes.
[[nodiscard]] std::vector<std::string> characters(const std::string& text);

struct Skipped {
    std::string routine;
    int number;
    std::string record;
    bool operator==(const Skipped&) const = default;
};

class RecordedFailures final : public SkippedFailures {
public:
    void skipped(std::string_view routine, const StepFailure& failure) override {
        list.push_back({std::string(routine), failure.number(), failure.record()});
    }
    std::vector<Skipped> list;
};

// A row of text on paper: everything printed at one height, each piece in its column, blanks at the end left
// out. `bold` is the first and last column (from 1) of bold ink, "" for none.
struct PaperRow {
    long page = 0;
    double y = 0;
    std::string text;
    std::string bold;
    bool operator==(const PaperRow& other) const; // wherever on the page
};

struct PaperRule {
    long page = 0;
    double x1 = 0, y1 = 0, x2 = 0, y2 = 0;
};

std::ostream& operator<<(std::ostream& out, const Skipped& skipped);
std::ostream& operator<<(std::ostream& out, const PaperRow& row);

// Keeps every text and every rule, with the page and the print position at which they fell.
class RecordingSurface final : public PrintSurface {
public:
    struct Text {
        long page;
        double x, y, points;
        bool bold, underline;
        std::string text;
        LineEnd line_end;
    };

    [[nodiscard]] std::string DeviceName() const override { return device_name; }
    [[nodiscard]] std::string Port() const override { return port; }
    void set_Orientation(int value) override { orientation = value; }
    void set_Copies(int value) override;
    void set_FontName(std::string_view) override {}
    void set_FontSize(double points) override { points_ = points; }
    void set_FontBold(bool bold) override { bold_ = bold; }
    void set_FontUnderline(bool underline) override { underline_ = underline; }
    void set_DrawWidth(int width) override { draw_width = width; }
    void set_CurrentX(double x) override { x_ = x; }
    void set_CurrentY(double y) override { y_ = y; }
    [[nodiscard]] double CurrentX() const override { return x_; }
    [[nodiscard]] double CurrentY() const override { return y_; }
    void Print(std::string_view text, LineEnd line_end) override;
    void Line(double x1, double y1, double x2, double y2) override;
    void NewPage() override;
    void EndDoc() override { ++documents_ended; }
    [[nodiscard]] long page_count() const override { return page_; }

    // The rows with ink, from the first page's top to the last page's bottom.
    [[nodiscard]] std::vector<PaperRow> rows() const;

    std::string device_name = "Laser";
    std::string port = "IP_1";
    bool refuses_copies = false;
    int fail_at_print = 0; // the Print that fails, counted from 1; 0 for none
    int orientation = 0;
    int copies = 0;
    int draw_width = 0;
    int documents_ended = 0;
    std::vector<Text> texts;
    std::vector<PaperRule> rules;

private:
    long page_ = 1;
    int prints_ = 0;
    double x_ = 0, y_ = 0, points_ = 10;
    bool bold_ = false, underline_ = false;
};

} // namespace corvalissement::testing_support
