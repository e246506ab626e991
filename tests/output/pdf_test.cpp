// The PDF is read back with the library that knows the format and compared, by text and position, with
// what the trace tells of the same drawing.
#define POINTERHOLDER_TRANSITION 4

#include "output/cells.h"
#include "output/surfaces.h"
#include "platform/text.h"
#include "support/output_trial.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <nlohmann/json.hpp>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFOutlineDocumentHelper.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <random>
#include <sstream>
#include <vector>

namespace corvalissement {
namespace {

// The surface lies 0.9 and 0.6 cm within the sheet, the base line of 10 points 0.22 cm below the row's top.
constexpr double CM = 567.0 / 20;
constexpr double LEFT = 0.9 * CM, TOP = 0.6 * CM, BASE_LINE = 0.022 * CM;

// A text or a rule on paper. Numbers in points, from the bottom left corner.
struct Thing {
    std::string what; // "/R text", "/B text", "rule"
    std::vector<double> numbers;
};

void expect_same(const Thing& seen, const Thing& expected) {
    EXPECT_EQ(seen.what, expected.what);
    ASSERT_EQ(seen.numbers.size(), expected.numbers.size());
    for (std::size_t i = 0; i < seen.numbers.size(); ++i)
        EXPECT_NEAR(seen.numbers[i], expected.numbers[i], 0.0051) << seen.what << ", number " << i;
}

std::string decoded(const std::string& codes) {
    std::string text;
    for (std::size_t i = 0; i + 1 < codes.size(); i += 2)
        append_char(text, static_cast<char32_t>(static_cast<unsigned char>(codes[i]) << 8U |
                                                static_cast<unsigned char>(codes[i + 1])));
    return text;
}

// Reads the operators that our pages use; any other is a fault.
class ContentReader final : public QPDFObjectHandle::ParserCallbacks {
public:
    using ParserCallbacks::handleObject;
    void handleObject(QPDFObjectHandle object) override {
        if (!object.isOperator()) return operands_.push_back(object);
        run(object.getOperatorValue());
        operands_.clear();
    }
    void handleEOF() override { EXPECT_TRUE(path_.empty()) << "a rule is not stroked"; }

    std::vector<Thing> things;

private:
    double number(std::size_t i) { return operands_.at(i).getNumericValue(); }

    void run(const std::string& name) {
        if (name == "BT") {
            x_ = y_ = 0;
        } else if (name == "Tf") {
            type_ = operands_.at(0).getName();
            size_ = number(1);
        } else if (name == "Td") {
            x_ += number(0);
            y_ += number(1);
        } else if (name == "Tj") {
            things.push_back({type_ + " " + decoded(operands_.at(0).getStringValue()), {size_, x_, y_}});
        } else if (name == "w") {
            pen_ = number(0);
        } else if (name == "m") {
            from_ = {number(0), number(1)};
        } else if (name == "l") {
            path_.push_back({"rule", {from_[0], from_[1], number(0), number(1), pen_}});
        } else if (name == "S") {
            things.insert(things.end(), path_.begin(), path_.end());
            path_.clear();
        } else {
            EXPECT_TRUE(name == "ET" || name == "J") << name;
        }
    }

    std::vector<QPDFObjectHandle> operands_;
    std::vector<Thing> path_;
    std::array<double, 2> from_{};
    std::string type_;
    double size_ = 0, x_ = 0, y_ = 0, pen_ = 0;
};

// The cells of a text, with the substitute for what the face lacks.
std::string cells_of(std::string_view text) {
    std::string cells;
    for (std::size_t at = 0; at < text.size();) {
        const char32_t cell = cell_of(next_char(text, at));
        append_char(cells, cell == U'漢' || cell == U'𝄞' ? SUBSTITUTE : cell);
    }
    return cells;
}

// What a page must show for one line of the trace.
Thing expected_of(const nlohmann::json& op, double height) {
    const auto across = [&](const char* key) { return LEFT + op[key].get<double>() / 20; };
    const auto up = [&](const char* key) { return height - TOP - op[key].get<double>() / 20; };
    if (op["op"] == "trait")
        return {"rule",
                {across("x1"), up("y1"), across("x2"), up("y2"), op["epaisseur"].get<double>() * 0.24}};
    const std::string text = op["texte"];
    const double size = op["taille"];
    const double leading = static_cast<double>(text.find_first_not_of(' ')) * size * 0.6;
    return {(op["gras"] ? "/B " : "/R ") + cells_of(trim_blanks(text)),
            {size, across("x") + leading, up("y") - BASE_LINE * size}};
}

std::string text_of(QPDFObjectHandle stream) {
    const auto data = stream.getStreamData();
    return {reinterpret_cast<const char*>(data->getBuffer()), data->getSize()};
}

class PdfTest : public Scratch {
protected:
    using Drawing = std::function<void(PrintSurface&)>;

    std::string print(const std::string& name, const Drawing& draw) {
        const auto surface = make_surface(path(name));
        draw(*surface);
        surface->EndDoc();
        return path(name);
    }

    static std::vector<Thing> things_on(QPDFPageObjectHelper page) {
        ContentReader reader;
        page.parseContents(&reader);
        return reader.things;
    }

    // Both outputs of one drawing, page by page: the rules in their order, then the texts in theirs.
    void expect_same_pages(const Drawing& draw) {
        QPDF pdf;
        pdf.processFile(print("a.pdf", draw).c_str());
        auto pages = QPDFPageDocumentHelper(pdf).getAllPages();
        const double height = pages.at(0).getMediaBox().getArrayItem(3).getNumericValue();
        std::vector<std::vector<Thing>> expected(pages.size());
        std::istringstream lines(content_of(print("a.jsonl", draw)));
        for (std::string line; std::getline(lines, line);) {
            const auto op = nlohmann::json::parse(line);
            if (op["op"] == "fin" ||
                (op["op"] == "texte" && trim_blanks(op["texte"].get<std::string>()).empty()))
                continue;
            expected.at(op["page"].get<std::size_t>() - 1).push_back(expected_of(op, height));
        }
        for (std::size_t i = 0; i < pages.size(); ++i) {
            const auto seen = things_on(pages[i]);
            std::stable_partition(expected[i].begin(), expected[i].end(),
                                  [](const Thing& thing) { return thing.what == "rule"; });
            ASSERT_EQ(seen.size(), expected[i].size()) << "page " << i + 1;
            for (std::size_t k = 0; k < seen.size(); ++k)
                expect_same(seen[k], expected[i][k]);
        }
    }
};

// Any drawing, over enough pages for several nodes of the page tree and several batches of the spool.
TEST_F(PdfTest, shows_what_the_trace_tells) {
    const std::vector<std::string> texts{
        "x",        "  é œ € ", "   ",         "()\\\\(", "Москва", "Łódź Ωμ",
        "a\u202Fb", "čĨĩŜ",     "漢\t\u200F!", "\xFF",    "𝄞𝄞",     std::string(150, '~'),
        "",         "a    b"};
    std::mt19937 random(20240101);
    const auto below = [&](unsigned limit) { return static_cast<int>(random() % limit); };
    for (const int orientation : {1, LANDSCAPE}) {
        const auto seed = random();
        expect_same_pages([&](PrintSurface& surface) {
            random.seed(seed);
            surface.set_Orientation(orientation);
            for (int i = 0; i < 4000; ++i) {
                switch (below(12)) {
                case 0:
                    surface.set_FontBold(below(2) == 0);
                    break;
                case 1:
                    surface.set_FontSize(8 + below(13) * 0.5);
                    break;
                case 2:
                    surface.set_CurrentX(below(16000)), surface.set_CurrentY(below(11000));
                    break;
                case 3:
                    surface.set_DrawWidth(1 + below(5));
                    break;
                case 4:
                    surface.Line(below(16000), below(9000), below(16000), below(9000) + 0.25);
                    break;
                case 5:
                    surface.NewPage();
                    break;
                default:
                    surface.Print(texts[static_cast<std::size_t>(below(14))],
                                  below(2) == 0 ? LineEnd::keep : LineEnd::end);
                }
            }
        });
    }
}

TEST_F(PdfTest, the_same_printing_gives_the_same_bytes) {
    const Drawing draw = [](PrintSurface& surface) {
        surface.describe("Grand livre", "Ville", {2024, 12, 31});
        for (int page = 0; page < 130; ++page) {
            surface.mark_account(std::to_string(page), "x");
            for (int i = 0; i < 30; ++i)
                surface.Print(std::to_string(page * 977 + i) + std::string(100, 'y'), LineEnd::end);
            surface.NewPage();
        }
    };
    EXPECT_EQ(content_of(print("a.pdf", draw)), content_of(print("b.pdf", draw)));
}

TEST_F(PdfTest, tells_of_its_accounts_and_copies) {
    QPDF pdf;
    pdf.processFile(print("a.pdf", [](PrintSurface& surface) {
                        surface.set_Copies(4);
                        surface.set_Orientation(LANDSCAPE);
                        surface.describe("Été", "Œuvre", {2024, 12, 31});
                        surface.mark_account("10", "");
                        surface.Print("a", LineEnd::end);
                        surface.NewPage();
                        surface.set_CurrentY(1000);
                        surface.mark_account("  4011", " Fournisseurs d'été  ");
                        surface.mark_account("4012", "€");
                    }).c_str());
    const auto entries = QPDFOutlineDocumentHelper(pdf).getTopLevelOutlines();
    const auto pages = pdf.getAllPages();
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(pdf.getRoot().getKey("/Outlines").getKey("/Count").getIntValue(), 3);
    const char* titles[] = {"10", "4011  Fournisseurs d'été", "4012  €"};
    for (std::size_t i = 0; i < 3; ++i) {
        auto entry = entries[i];
        EXPECT_EQ(entry.getTitle(), titles[i]);
        EXPECT_EQ(entry.getDestPage().getObjGen(), pages[i == 0 ? 0 : 1].getObjGen());
        EXPECT_NEAR(entry.getDest().getArrayItem(3).getNumericValue(), (i == 0 ? 595.28 : 545.28) - TOP,
                    0.01);
    }
    EXPECT_EQ(pdf.getRoot().getKey("/ViewerPreferences").getKey("/NumCopies").getIntValue(), 4);
    EXPECT_EQ(pdf.getRoot().getKey("/PageMode").getName(), "/UseOutlines");
    EXPECT_EQ(pdf.getTrailer().getKey("/Info").getKey("/Title").getUTF8Value(), "Été");
    EXPECT_EQ(pdf.getTrailer().getKey("/Info").getKey("/Author").getUTF8Value(), "Œuvre");
}

// What an archive asks of a document (PDF/A-2u) beyond what readers need.
TEST_F(PdfTest, is_fit_for_an_archive) {
    const std::string file = print("a.pdf", [](PrintSurface& surface) {
        surface.describe("<Été & \x01>", "Œuvre", {2024, 2, 29});
        for (int page = 0; page < 3; ++page, surface.NewPage())
            surface.Print("a", LineEnd::end);
    });
    const std::string bytes = content_of(file);
    for (std::size_t at = 0; (at = bytes.find("endstream", at)) != std::string::npos; ++at)
        EXPECT_EQ(bytes[at - 1], '\n') << at;
    QPDF pdf;
    pdf.processFile(file.c_str());
    for (auto page : pdf.getAllPages())
        EXPECT_TRUE(page.getKey("/Resources").getKey("/Font").hasKey("/R"));
    auto intent = pdf.getRoot().getKey("/OutputIntents").getArrayItem(0);
    EXPECT_EQ(intent.getKey("/S").getName(), "/GTS_PDFA1");
    EXPECT_EQ(intent.getKey("/DestOutputProfile").getDict().getKey("/N").getIntValue(), 1);
    const std::string profile = text_of(intent.getKey("/DestOutputProfile"));
    EXPECT_EQ(profile.substr(12, 8) + profile.substr(36, 4), "mntrGRAYacsp") << "a whole grey profile";
    auto information = pdf.getTrailer().getKey("/Info");
    EXPECT_EQ(information.getKey("/Title").getUTF8Value(), "<Été & \uFFFD>");
    EXPECT_EQ(information.getKey("/CreationDate").getStringValue(), "D:20240229000000Z");
    EXPECT_EQ(information.getKey("/ModDate").getStringValue(), "D:20240229000000Z");
    auto metadata = pdf.getRoot().getKey("/Metadata");
    EXPECT_FALSE(metadata.getDict().hasKey("/Filter"));
    const std::string packet = text_of(metadata);
    for (const char* told :
         {"<pdfaid:part>2<", "<pdfaid:conformance>U<", ">&lt;Été &amp; \uFFFD&gt;<", "<rdf:li>Œuvre<",
          "<xmp:CreateDate>2024-02-29T00:00:00Z<", "<xmp:ModifyDate>2024-02-29T00:00:00Z<"})
        EXPECT_NE(packet.find(told), std::string::npos) << told;
    EXPECT_NE(packet.find("<pdf:Producer>" + information.getKey("/Producer").getUTF8Value() + "<"),
              std::string::npos);
}

// Each code used has a glyph of its own in the embedded program (what the face lacks shows the substitute's),
// never glyph 0, and a line in the map by which a reader extracts it.
TEST_F(PdfTest, embeds_every_character_it_shows) {
    const std::string shown = "AéœŁΩΩ€М漢";
    QPDF pdf;
    pdf.processFile(
        print("a.pdf", [&](PrintSurface& surface) { surface.Print(shown, LineEnd::end); }).c_str());
    auto page = pdf.getAllPages().at(0);
    auto fonts = page.getKey("/Resources").getKey("/Font");
    EXPECT_FALSE(fonts.hasKey("/B")) << "a face that shows nothing";
    auto font = fonts.getKey("/R");
    auto descendant = font.getKey("/DescendantFonts").getArrayItem(0);
    EXPECT_EQ(descendant.getKey("/DW").getIntValue(), 600);
    const std::string glyphs = text_of(descendant.getKey("/CIDToGIDMap"));
    const std::string map = text_of(font.getKey("/ToUnicode"));
    EXPECT_LT(text_of(descendant.getKey("/FontDescriptor").getKey("/FontFile2")).size(), 40000U);
    for (std::size_t at = 0; at < shown.size();) {
        char32_t code = next_char(shown, at);
        if (code == U'漢') code = SUBSTITUTE;
        ASSERT_LT(2 * code + 1, glyphs.size());
        EXPECT_FALSE(glyphs[2 * code] == 0 && glyphs[2 * code + 1] == 0);
        char line[32];
        std::snprintf(line, sizeof line, "<%04X> <%04X>\n", static_cast<unsigned>(code),
                      static_cast<unsigned>(code));
        EXPECT_NE(map.find(line), std::string::npos) << line;
    }
}

TEST_F(PdfTest, underlines_the_whole_text) {
    QPDF pdf;
    pdf.processFile(print("a.pdf", [](PrintSurface& surface) {
                        surface.set_FontUnderline(true);
                        surface.set_CurrentX(100);
                        surface.Print(" été ", LineEnd::end);
                    }).c_str());
    const auto things = things_on(QPDFPageDocumentHelper(pdf).getAllPages().at(0));
    ASSERT_EQ(things.size(), 2U);
    EXPECT_NEAR(things[0].numbers[0], LEFT + 5.0, 0.01);
    EXPECT_NEAR(things[0].numbers[2], LEFT + 5.0 + 5 * 6.0, 0.01);
    EXPECT_LT(things[0].numbers[1], things[1].numbers[2]) << "below the base line";
}

TEST_F(PdfTest, a_missing_font_is_told_with_its_file) {
    put(path("LiberationMono-Regular.ttf"), "no font");
    ::setenv("CORVALISSEMENT_POLICES", path("").c_str(), 1);
    const StepFailure broken = failure_of([&] { static_cast<void>(make_pdf_surface(path("a.pdf"))); });
    std::filesystem::remove(path("LiberationMono-Regular.ttf"));
    const StepFailure missing = failure_of([&] { static_cast<void>(make_pdf_surface(path("a.pdf"))); });
    ::unsetenv("CORVALISSEMENT_POLICES");
    EXPECT_EQ(broken.number(), ERR_OUTPUT);
    EXPECT_EQ(missing.record(), path("LiberationMono-Regular.ttf"));
    EXPECT_EQ(broken.record(), missing.record());
}

} // namespace
} // namespace corvalissement
