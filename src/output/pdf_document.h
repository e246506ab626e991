// Puts a PDF document together: page tree, fonts, outline, catalog, around the contents that wait in the
// spool. What comes out is PDF/A-2u. The bytes follow from what is given alone: no clock, no file name, no
// chance.
#pragma once

#include "files/output_file.h"
#include "output/page_spool.h"
#include "output/pdf_font.h"
#include "output/pdf_metadata.h"
#include "output/sheet.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace corvalissement {

// An entry of the outline: where an account opens. Pages from 0, y in hundredths of a point from the
// bottom edge.
struct PdfBookmark {
    std::string title;
    std::size_t page;
    std::int64_t y;
};

struct PdfDocument {
    PaperSize paper;
    int copies = 1;
    PdfMetadata metadata;
    std::vector<PdfBookmark> bookmarks;
    const PdfFont* regular; // not owned
    const PdfFont* bold;    // not owned
};

// Writes the document to `file`. `pages` must be finished and hold the page of every bookmark. A failure
// of the file or of the spool becomes one of the file; any other throws StepFailure (ERR_OUTPUT).
void write_pdf(const PdfDocument& document, PageSpool& pages, OutputFile& file);

} // namespace corvalissement
