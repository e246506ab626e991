// What makes a PDF document fit for an archive (PDF/A-2u): its colours tied to a profile, and what it says of
// itself told twice in the same words, in the dictionary that readers show and in the packet that archives
// index.
#pragma once

#include "platform/calendar.h"

#include <string>
#include <string_view>

class QPDF;

namespace corvalissement {

struct PdfMetadata {
    std::string title;  // UTF-8, "" when it has none
    std::string author; // UTF-8, "" when it has none
    CivilDate day;      // of the document, taken as midnight, universal time: no clock enters the bytes
};

// Gives the document its information, its metadata packet and its output intent. Throws what the library
// throws.
void add_metadata(QPDF& pdf, const PdfMetadata& metadata);

// The grey profile of the output intent, built into the program.
extern const std::string_view GREY_PROFILE;

} // namespace corvalissement
