#include "output/surfaces.h"

#include "support/output_trial.h"

#include <functional>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>
#include <vector>

namespace corvalissement {
namespace {

constexpr auto KEEP = LineEnd::keep;
constexpr auto END = LineEnd::end;

class SurfaceTest : public Scratch {
protected:
    using Drawing = std::function<void(PrintSurface&)>;

    // What the surface of that ending leaves for a drawing.
    std::string printed(const std::string& ending, const Drawing& draw) {
        const auto surface = make_surface(path("out" + ending));
        draw(*surface);
        surface->EndDoc();
        return content_of(path("out" + ending));
    }

    std::vector<std::string> trace(const Drawing& draw) {
        std::istringstream lines(printed(".jsonl", draw));
        std::vector<std::string> result;
        for (std::string line; std::getline(lines, line);)
            result.push_back(line);
        return result;
    }
};

TEST_F(SurfaceTest, the_trace_tells_each_operation_at_its_position) {
    const std::vector<std::string> expected{
        R"({"op":"texte","page":1,"x":0,"y":226.8,"taille":10,"gras":false,"souligne":false,"texte":"Date : "})",
        R"({"op":"texte","page":1,"x":840,"y":226.8,"taille":10,"gras":false,"souligne":true,"texte":"é"})",
        R"({"op":"texte","page":1,"x":0,"y":447.93,"taille":14,"gras":true,"souligne":false,"texte":"ab"})",
        R"({"op":"texte","page":1,"x":336,"y":447.93,"taille":14,"gras":true,"souligne":false,"texte":" "})",
        R"({"op":"texte","page":1,"x":0,"y":1067.094,"taille":10.5,"gras":true,"souligne":false,"texte":"c"})",
        R"({"op":"trait","page":1,"x1":56.7,"y1":2891.7,"x2":15309,"y2":2891.7,"epaisseur":3})",
        R"({"op":"texte","page":1,"x":15309,"y":2891.7,"taille":10.5,"gras":true,"souligne":false,"texte":"d"})",
        R"({"op":"texte","page":2,"x":0,"y":0,"taille":10.5,"gras":true,"souligne":false,"texte":"e"})",
        R"({"op":"trait","page":2,"x1":-0.001,"y1":0,"x2":0.5,"y2":-12.34,"epaisseur":3})",
        R"({"op":"fin","pages":2,"copies":2,"orientation":2})",
    };
    EXPECT_EQ(trace([](PrintSurface& surface) {
                  surface.set_Copies(2);
                  surface.set_Orientation(LANDSCAPE);
                  surface.set_CurrentY(0.4 * 567);
                  surface.Print("Date : ", KEEP);
                  surface.set_FontUnderline(true);
                  surface.Print("é", END);
                  surface.set_FontUnderline(false);
                  surface.set_FontSize(14);
                  surface.set_FontBold(true);
                  surface.Print("ab", KEEP);
                  surface.Print(" ", END);
                  surface.Print("", END);
                  surface.set_FontSize(10.5);
                  surface.Print("", KEEP);
                  surface.Print("c", END);
                  surface.set_DrawWidth(3);
                  surface.Line(0.1 * 567, 5.1 * 567, 27 * 567.0, 5.1 * 567);
                  surface.Print("d", KEEP);
                  surface.NewPage();
                  surface.Print("e", END);
                  surface.Line(-0.0006, -0.0002, 0.49996, -12.34);
              }),
              expected);
}

TEST_F(SurfaceTest, the_text_of_a_trace_comes_back_whole) {
    std::string hard = "a\"b\\c\x7F/é€𝄞\xE2\x80\xA8";
    for (char control = 1; control < ' '; ++control)
        hard += control;
    hard += '\0';
    const auto lines = trace([&](PrintSurface& surface) {
        surface.Print(hard, KEEP);
        surface.Print("x\xFF\xC3", KEEP);
        surface.Print("y", KEEP);
    });
    EXPECT_EQ(nlohmann::json::parse(lines[0])["texte"], hard);
    EXPECT_EQ(nlohmann::json::parse(lines[1])["texte"], "x\uFFFD\uFFFD");
    EXPECT_EQ(nlohmann::json::parse(lines[2])["x"], (11 + 31 + 1 + 3) * 120);
}

TEST_F(SurfaceTest, the_text_grid_overlays_cells_row_by_row) {
    EXPECT_EQ(printed(".txt",
                      [](PrintSurface& surface) {
                          surface.set_CurrentY(1000);
                          surface.Print("third", END);
                          surface.set_CurrentY(100);
                          surface.Print("first  ", KEEP);
                          surface.set_CurrentX(59);
                          surface.Print("F   \u00A0é\u200BX\t", END); // blanks leave "irst" as it is
                          surface.set_CurrentY(500.4);
                          surface.Print(" ", END);
                          surface.set_CurrentY(500);
                          surface.set_CurrentX(-130);
                          surface.set_FontSize(14);
                          surface.Print("abc", END);
                          surface.set_CurrentY(100.6);
                          surface.Print(" ", END);
                          surface.Line(0, 2000, 500, 2000);
                          surface.NewPage();
                          surface.NewPage();
                          surface.Print("\x01", END);
                      }),
              "Firsté\uFFFDX\uFFFD\n"
              "\n" // half a unit further down is the same row, more is another
              "bc\n"
              "third\n"
              "\f\f\uFFFD\n");
}

TEST_F(SurfaceTest, a_document_begins_with_the_first_ink) {
    for (const char* ending : {".pdf", ".txt", ".jsonl"}) {
        const auto surface = make_surface(path(std::string("none") + ending));
        surface->set_Copies(3);
        surface->describe("title", "author", {});
        surface->mark_account("1", "2");
        surface->Print("", END);
        EXPECT_EQ(surface->page_count(), 0);
        surface->EndDoc();
        EXPECT_EQ(entries(), 0U) << ending;

        const auto abandoned = make_surface(path(std::string("none") + ending));
        abandoned->Print(" ", KEEP);
        abandoned->NewPage();
        EXPECT_EQ(abandoned->page_count(), 2);
    }
    EXPECT_EQ(entries(), 0U);
}

TEST_F(SurfaceTest, a_document_ends_once) {
    const auto surface = make_surface(path("A.JSONL"), "Laser", "LPT1:");
    EXPECT_EQ(surface->DeviceName() + surface->Port(), "LaserLPT1:");
    surface->NewPage();
    surface->EndDoc();
    const std::string complete = content_of(path("A.JSONL"));
    surface->EndDoc();
    EXPECT_EQ(failure_of([&] { surface->Print("more", END); }).number(), ERR_OUTPUT);
    EXPECT_EQ(complete, "{\"op\":\"fin\",\"pages\":2,\"copies\":1,\"orientation\":1}\n");
    EXPECT_EQ(content_of(path("A.JSONL")), complete);
}

TEST_F(SurfaceTest, values_that_no_printer_has_are_refused) {
    const auto surface = make_surface(path("a.txt"));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const Drawing refused[] = {
        [](PrintSurface& s) { s.set_Copies(0); },
        [](PrintSurface& s) { s.set_Copies(32768); },
        [](PrintSurface& s) { s.set_Orientation(3); },
        [](PrintSurface& s) { s.set_FontSize(0); },
        [](PrintSurface& s) { s.set_DrawWidth(0); },
        [&](PrintSurface& s) { s.set_CurrentX(nan); },
        [](PrintSurface& s) { s.set_CurrentY(1e7); },
        [&](PrintSurface& s) { s.Line(0, 0, nan, 0); },
        [](PrintSurface& s) { s.Print("x", KEEP), s.set_Copies(2); },
    };
    for (const Drawing& set : refused)
        EXPECT_EQ(failure_of([&] { set(*surface); }).number(), ERR_PROPERTY);
    surface->set_Copies(1);
    EXPECT_EQ(surface->CurrentX(), 120);
}

TEST_F(SurfaceTest, another_ending_is_refused_with_the_name) {
    for (const char* name : {"a", "a.ps", "pdf", "a.pdf.gz", ""})
        EXPECT_EQ(failure_of([&] { static_cast<void>(make_surface(name)); }).record(), name);
}

// Whichever byte the disk fills at: one failure on the way at most, one at the end, and nothing is left.
TEST_F(SurfaceTest, a_full_disk_leaves_nothing_half_written) {
    constexpr int LINES = 2400;
    for (const std::string ending : {".pdf", ".txt", ".jsonl"}) {
        int failed_pages = 0;
        const Drawing draw = [&](PrintSurface& surface) {
            for (int i = 0; i < LINES; ++i) {
                surface.Print(std::to_string(i * 7919L) + std::string(60, 'x'), END);
                if (i % 40 == 39) failed_pages += error_of([&] { surface.NewPage(); }) == 0 ? 0 : 1;
            }
            EXPECT_EQ(surface.page_count(), 1 + LINES / 40);
        };
        const std::size_t size = printed(ending, draw).size();
        EXPECT_EQ(failed_pages, 0);
        std::filesystem::remove(path("out" + ending));
        for (const std::size_t room : {0UL, size / 9, size / 2, size - 1}) {
            const FullDisk full(room);
            const auto surface = make_surface(path("out" + ending));
            failed_pages = 0;
            draw(*surface);
            EXPECT_LE(failed_pages, 1) << ending << room;
            EXPECT_EQ(failure_of([&] { surface->EndDoc(); }).text(),
                      path("out" + ending) + " : le fichier devient trop grand")
                << room;
            EXPECT_EQ(entries(), 0U) << ending << room;
        }
    }
}

} // namespace
} // namespace corvalissement
