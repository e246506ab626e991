// The PDF library asks its users to say that they want no part of its former smart pointer.
#define POINTERHOLDER_TRANSITION 4

#include "output/pdf_metadata.h"

#include "output/cells.h"
#include "output/page_spool.h"
#include "platform/text.h"

#include <cstdio>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <vector>

namespace corvalissement {

namespace {

using Handle = QPDFObjectHandle;

constexpr const char* PRODUCER = "Corvalissement " CORVALISSEMENT_VERSION;
constexpr const char* PROFILE_NAME = "Gray";
constexpr int PROFILE_LEVEL = 9;

Handle name(const char* text) { return Handle::newName(text); }

// A text as it is told: characters that the packet's XML cannot hold are shown as they are on paper, in both
// places.
std::string told(std::string_view text) {
    std::string result;
    for (std::size_t at = 0; at < text.size();)
        append_char(result, cell_of(next_char(text, at)));
    return result;
}

std::string escaped(std::string_view text) {
    std::string result;
    for (const char byte : text) {
        if (byte == '&')
            result += "&amp;";
        else if (byte == '<')
            result += "&lt;";
        else if (byte == '>')
            result += "&gt;";
        else
            result += byte;
    }
    return result;
}

// `form` takes year, month and day.
std::string dated(const char* form, const CivilDate& day) {
    char text[64];
    std::snprintf(text, sizeof text, form, day.year, day.month, day.day);
    return text;
}

void add_information(QPDF& pdf, const std::string& title, const std::string& author, const CivilDate& day) {
    const Handle date = Handle::newString(dated("D:%04d%02d%02d000000Z", day));
    Handle information = Handle::newDictionary(
        {{"/Producer", Handle::newString(PRODUCER)}, {"/CreationDate", date}, {"/ModDate", date}});
    if (!title.empty()) information.replaceKey("/Title", Handle::newUnicodeString(title));
    if (!author.empty()) information.replaceKey("/Author", Handle::newUnicodeString(author));
    pdf.getTrailer().replaceKey("/Info", pdf.makeIndirectObject(information));
}

// The packet's first line carries a mark of UTF-8 and the number that marks such packets everywhere.
std::string packet(const std::string& title, const std::string& author, const CivilDate& day) {
    const std::string date = dated("%04d-%02d-%02dT00:00:00Z", day);
    std::string text = "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n"
                       "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">\n"
                       "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">\n"
                       "<rdf:Description rdf:about=\"\""
                       " xmlns:dc=\"http://purl.org/dc/elements/1.1/\""
                       " xmlns:pdf=\"http://ns.adobe.com/pdf/1.3/\""
                       " xmlns:xmp=\"http://ns.adobe.com/xap/1.0/\""
                       " xmlns:pdfaid=\"http://www.aiim.org/pdfa/ns/id/\">\n"
                       "<pdfaid:part>2</pdfaid:part>\n"
                       "<pdfaid:conformance>U</pdfaid:conformance>\n"
                       "<dc:format>application/pdf</dc:format>\n";
    if (!title.empty())
        text += "<dc:title><rdf:Alt><rdf:li xml:lang=\"x-default\">" + escaped(title) +
                "</rdf:li></rdf:Alt></dc:title>\n";
    if (!author.empty())
        text += "<dc:creator><rdf:Seq><rdf:li>" + escaped(author) + "</rdf:li></rdf:Seq></dc:creator>\n";
    text += std::string("<pdf:Producer>") + PRODUCER + "</pdf:Producer>\n";
    text += "<xmp:CreateDate>" + date + "</xmp:CreateDate>\n";
    text += "<xmp:ModifyDate>" + date + "</xmp:ModifyDate>\n";
    return text + "</rdf:Description>\n</rdf:RDF>\n</x:xmpmeta>\n<?xpacket end=\"r\"?>\n";
}

Handle output_intent(QPDF& pdf) {
    Handle profile = Handle::newStream(&pdf);
    profile.replaceStreamData(deflated(GREY_PROFILE, PROFILE_LEVEL), name("/FlateDecode"), Handle::newNull());
    profile.getDict().replaceKey("/N", Handle::newInteger(1));
    return pdf.makeIndirectObject(Handle::newDictionary({
        {"/Type", name("/OutputIntent")},
        {"/S", name("/GTS_PDFA1")},
        {"/OutputConditionIdentifier", Handle::newString(PROFILE_NAME)},
        {"/Info", Handle::newString(PROFILE_NAME)},
        {"/DestOutputProfile", profile},
    }));
}

} // namespace

void add_metadata(QPDF& pdf, const PdfMetadata& metadata) {
    const std::string title = told(metadata.title);
    const std::string author = told(metadata.author);
    add_information(pdf, title, author, metadata.day);
    // Left as it is, uncompressed, so that a program that knows nothing of PDF finds it.
    Handle stream = Handle::newStream(&pdf, packet(title, author, metadata.day));
    stream.getDict().replaceKey("/Type", name("/Metadata"));
    stream.getDict().replaceKey("/Subtype", name("/XML"));
    Handle catalog = pdf.getRoot();
    catalog.replaceKey("/Metadata", stream);
    catalog.replaceKey("/OutputIntents", Handle::newArray(std::vector<Handle>{output_intent(pdf)}));
}

} // namespace corvalissement
