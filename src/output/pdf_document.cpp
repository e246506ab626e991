// The PDF library asks its users to say that they want no part of its former smart pointer.
#define POINTERHOLDER_TRANSITION 4

#include "output/pdf_document.h"

#include "output/pdf_page.h"
#include "platform/failures.h"
#include "platform/text.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <memory>
#include <new>
#include <qpdf/Pipeline.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjGen.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFWriter.hh>
#include <utility>

namespace corvalissement {

namespace {

using Handle = QPDFObjectHandle;

constexpr std::size_t KIDS_A_NODE = 100;
constexpr int FONT_LEVEL = 9;

// The writer's way out. It must not throw, because the library calls it from destructors too; the file
// keeps the failure.
class FilePipeline final : public Pipeline {
public:
    explicit FilePipeline(OutputFile& file) : Pipeline("sortie", nullptr), file_(file) {}
    void write(const unsigned char* data, std::size_t length) override {
        file_.write({reinterpret_cast<const char*>(data), length});
    }
    void finish() override {}

private:
    OutputFile& file_;
};

// Gives the writer the content of a page when it comes to it. The contents are numbered in one run, so
// the object's number tells the page.
class PageContents final : public Handle::StreamDataProvider {
public:
    explicit PageContents(PageSpool& pages) : pages_(pages) {}
    void set_first_object(int first) noexcept { first_object_ = first; }
    void provideStreamData(const QPDFObjGen& object, Pipeline* out) override {
        const std::string bytes = pages_.read(static_cast<std::size_t>(object.getObj() - first_object_));
        out->writeString(bytes);
        out->finish();
    }

private:
    PageSpool& pages_;
    int first_object_ = 0;
};

Handle name(const char* text) { return Handle::newName(text); }

Handle hundredths(std::int64_t value) {
    std::string text;
    append_hundredths(text, value);
    return Handle::newReal(text);
}

Handle thousandths(double em) { return Handle::newInteger(static_cast<long long>(em * 1000.0)); }

Handle compressed_stream(QPDF& pdf, const std::string& bytes) {
    Handle stream = Handle::newStream(&pdf);
    stream.replaceStreamData(deflated(bytes, FONT_LEVEL), name("/FlateDecode"), Handle::newNull());
    return stream;
}

void append_hex(std::string& out, std::uint16_t code) {
    constexpr std::string_view DIGITS = "0123456789ABCDEF";
    for (int shift = 12; shift >= 0; shift -= 4)
        out += DIGITS[code >> shift & 15];
}

// Tells which text the codes stand for. A table of this kind takes at most 100 lines in one block.
std::string to_unicode(const std::vector<std::uint16_t>& codes) {
    constexpr std::size_t LINES_A_BLOCK = 100;
    std::string map = "/CIDInit /ProcSet findresource begin\n12 dict begin\nbegincmap\n"
                      "/CIDSystemInfo <</Registry (Adobe) /Ordering (UCS) /Supplement 0>> def\n"
                      "/CMapName /Adobe-Identity-UCS def\n/CMapType 2 def\n"
                      "1 begincodespacerange\n<0000> <FFFF>\nendcodespacerange\n";
    for (std::size_t at = 0; at < codes.size(); at += LINES_A_BLOCK) {
        const std::size_t lines = std::min(LINES_A_BLOCK, codes.size() - at);
        map += std::to_string(lines) + " beginbfchar\n";
        for (std::size_t i = at; i < at + lines; ++i) {
            map += '<';
            append_hex(map, codes[i]);
            map += "> <";
            append_hex(map, codes[i]);
            map += ">\n";
        }
        map += "endbfchar\n";
    }
    return map + "endcmap\nCMapName currentdict /CMap defineresource pop\nend\nend\n";
}

Handle font_descriptor(QPDF& pdf, const PdfFont& font, const EmbeddedFont& embedded, bool bold) {
    constexpr int FIXED_PITCH_SYMBOLIC = 1 + 4; // its codes are none of the predefined alphabets
    Handle program = compressed_stream(pdf, embedded.program);
    program.getDict().replaceKey("/Length1",
                                 Handle::newInteger(static_cast<long long>(embedded.program.size())));
    Handle box = Handle::newArray();
    for (const int corner : font.box())
        box.appendItem(Handle::newInteger(corner));
    return pdf.makeIndirectObject(Handle::newDictionary({
        {"/Type", name("/FontDescriptor")},
        {"/FontName", Handle::newName("/" + embedded.name)},
        {"/Flags", Handle::newInteger(FIXED_PITCH_SYMBOLIC)},
        {"/FontBBox", box},
        {"/ItalicAngle", Handle::newInteger(0)},
        {"/Ascent", thousandths(font.ascent())},
        {"/Descent", thousandths(font.descent())},
        {"/CapHeight", thousandths(font.capital_height())},
        {"/StemV", Handle::newInteger(bold ? 140 : 80)},
        {"/FontFile2", program},
    }));
}

Handle font_resource(QPDF& pdf, const PdfFont& font, bool bold) {
    const EmbeddedFont embedded = font.embedded();
    const Handle base_font = Handle::newName("/" + embedded.name);
    const Handle descendant = pdf.makeIndirectObject(Handle::newDictionary({
        {"/Type", name("/Font")},
        {"/Subtype", name("/CIDFontType2")},
        {"/BaseFont", base_font},
        {"/CIDSystemInfo", Handle::parse("<</Registry (Adobe) /Ordering (Identity) /Supplement 0>>")},
        {"/FontDescriptor", font_descriptor(pdf, font, embedded, bold)},
        {"/DW", Handle::newInteger(CHAR_THOUSANDTHS)},
        {"/CIDToGIDMap", compressed_stream(pdf, embedded.glyph_of_code)},
    }));
    return pdf.makeIndirectObject(Handle::newDictionary({
        {"/Type", name("/Font")},
        {"/Subtype", name("/Type0")},
        {"/BaseFont", base_font},
        {"/Encoding", name("/Identity-H")},
        {"/DescendantFonts", Handle::newArray(std::vector<Handle>{descendant})},
        {"/ToUnicode", compressed_stream(pdf, to_unicode(embedded.codes))},
    }));
}

Handle resources(QPDF& pdf, const PdfDocument& document) {
    Handle fonts = Handle::newDictionary();
    if (document.regular->is_used()) fonts.replaceKey("/R", font_resource(pdf, *document.regular, false));
    if (document.bold->is_used()) fonts.replaceKey("/B", font_resource(pdf, *document.bold, true));
    return Handle::newDictionary({{"/Font", fonts}});
}

// Every page names its resources itself, as archives ask, and all share one dictionary.
std::vector<Handle> make_pages(QPDF& pdf, PageSpool& spool, const Handle& resources) {
    const auto contents = std::make_shared<PageContents>(spool);
    std::vector<Handle> streams;
    streams.reserve(spool.size());
    const Handle filter = name("/FlateDecode");
    for (std::size_t i = 0; i < spool.size(); ++i) {
        Handle stream = Handle::newStream(&pdf);
        if (i == 0) contents->set_first_object(stream.getObjectID());
        stream.replaceStreamData(contents, filter, Handle::newNull());
        streams.push_back(stream);
    }
    // Names are the same on every page: sharing them keeps a page small in memory.
    const Handle type = name("/Page");
    for (Handle& page : streams)
        page = pdf.makeIndirectObject(
            Handle::newDictionary({{"/Type", type}, {"/Contents", page}, {"/Resources", resources}}));
    return streams;
}

struct TreeNode {
    Handle handle;
    long long pages;
};

// One node above `kids[from, to)`.
TreeNode node_above(QPDF& pdf, std::vector<TreeNode>& kids, std::size_t from, std::size_t to) {
    TreeNode node{pdf.makeIndirectObject(Handle::newDictionary({{"/Type", name("/Pages")}})), 0};
    Handle list = Handle::newArray();
    for (std::size_t i = from; i < to; ++i) {
        kids[i].handle.replaceKey("/Parent", node.handle);
        list.appendItem(kids[i].handle);
        node.pages += kids[i].pages;
    }
    node.handle.replaceKey("/Kids", list);
    node.handle.replaceKey("/Count", Handle::newInteger(node.pages));
    return node;
}

// A tree of few levels in place of one long list, so that a viewer finds a page without reading them all.
Handle page_tree(QPDF& pdf, const std::vector<Handle>& pages) {
    std::vector<TreeNode> level;
    level.reserve(pages.size());
    for (const Handle& page : pages)
        level.push_back({page, 1});
    do {
        std::vector<TreeNode> above;
        for (std::size_t from = 0; from < level.size(); from += KIDS_A_NODE)
            above.push_back(node_above(pdf, level, from, std::min(from + KIDS_A_NODE, level.size())));
        level = std::move(above);
    } while (level.size() > 1);
    return level.front().handle;
}

Handle outline(QPDF& pdf, const PdfDocument& document, const std::vector<Handle>& pages) {
    Handle root = pdf.makeIndirectObject(Handle::newDictionary({{"/Type", name("/Outlines")}}));
    const Handle fit = name("/XYZ");
    const Handle as_it_is = Handle::newNull();
    Handle previous;
    for (const PdfBookmark& bookmark : document.bookmarks) {
        Handle item = pdf.makeIndirectObject(Handle::newDictionary({
            {"/Title", Handle::newUnicodeString(bookmark.title)},
            {"/Parent", root},
            {"/Dest", Handle::newArray(std::vector<Handle>{pages[bookmark.page], fit, as_it_is,
                                                           hundredths(bookmark.y), as_it_is})},
        }));
        if (previous.isInitialized()) {
            previous.replaceKey("/Next", item);
            item.replaceKey("/Prev", previous);
        } else {
            root.replaceKey("/First", item);
        }
        previous = item;
    }
    root.replaceKey("/Last", previous);
    root.replaceKey("/Count", Handle::newInteger(static_cast<long long>(document.bookmarks.size())));
    return root;
}

void fill_catalog(QPDF& pdf, const PdfDocument& document, PageSpool& spool) {
    const std::vector<Handle> pages =
        make_pages(pdf, spool, pdf.makeIndirectObject(resources(pdf, document)));
    Handle tree = page_tree(pdf, pages);
    tree.replaceKey("/MediaBox", Handle::newArray(std::vector<Handle>{
                                     Handle::newInteger(0), Handle::newInteger(0),
                                     hundredths(document.paper.width), hundredths(document.paper.height)}));
    Handle catalog = pdf.getRoot();
    catalog.replaceKey("/Pages", tree);
    catalog.replaceKey("/Lang", Handle::newString("fr-FR"));
    catalog.replaceKey("/PageLabels", Handle::parse("<</Nums [0 <</S /D>>]>>"));
    Handle preferences = Handle::newDictionary();
    if (!document.metadata.title.empty()) preferences.replaceKey("/DisplayDocTitle", Handle::newBool(true));
    if (document.copies > 1) preferences.replaceKey("/NumCopies", Handle::newInteger(document.copies));
    catalog.replaceKey("/ViewerPreferences", preferences);
    if (document.bookmarks.empty()) return;
    catalog.replaceKey("/Outlines", outline(pdf, document, pages));
    catalog.replaceKey("/PageMode", name("/UseOutlines"));
}

void run_writer(QPDF& pdf, OutputFile& file) {
    FilePipeline out(file);
    QPDFWriter writer(pdf);
    writer.setOutputPipeline(&out);
    writer.setMinimumPDFVersion("1.7");
    writer.setStreamDataMode(qpdf_s_preserve); // the streams come compressed
    writer.setObjectStreamMode(qpdf_o_disable);
    writer.setNewlineBeforeEndstream(true); // as archives ask
    writer.setDeterministicID(true);
    writer.write();
}

} // namespace

void write_pdf(const PdfDocument& document, PageSpool& pages, OutputFile& file) {
    // The outline and the tree count on every page being there.
    if (const std::string reason = pages.failure(); !reason.empty()) return file.fail(reason);
    try {
        QPDF pdf;
        pdf.emptyPDF();
        fill_catalog(pdf, document, pages);
        add_metadata(pdf, document.metadata);
        run_writer(pdf, file);
    } catch (const StepFailure&) {
        throw;
    } catch (const std::bad_alloc&) {
        file.fail_with_errno(ENOMEM);
    } catch (const std::exception& failure) {
        file.fail(std::string("document PDF, ") + failure.what());
    }
    if (const std::string reason = pages.failure(); !reason.empty()) file.fail(reason);
}

} // namespace corvalissement
