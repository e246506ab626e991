// The surfaces that print into a file. Each gives the interface of platform/print_surface.h; the file
// appears under its name, complete, when EndDoc returns, and is not touched when nothing was printed.
//
// PDF: A4, one page a sheet, text in an embedded fixed-pitch face of 600/1000 (Liberation Mono), selectable
// and searchable; rules in black, one unit of pen width being a dot of 1/300 inch (3 is 0.72 point). It has
// an outline entry for each account and the number of copies as a wish to the printing dialog. The same
// printing gives the same bytes. Memory: some 3 KB a page; the contents wait in a file without a name.
// Fonts are looked for in the folder that the environment variable CORVALISSEMENT_POLICES names, else in
// the usual folders of the system.
//
// Text: the page as a grid, in UTF-8. A text at x begins in column x/120 and takes one cell a character,
// whatever its type size; each distinct y at which something was printed is a row; a form feed stands
// between pages. Rules are not drawn. A blank never erases what stands in its cell.
//
// Trace: one JSON object a line for each thing put on paper ("texte", "trait"), and "fin" at the end.
//
// A surface is not thread-safe; several can be used side by side.
#pragma once

#include "platform/print_surface.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace corvalissement {

// `device_name` and `port` are what DeviceName and Port answer; a surface without a name is called by its
// kind: "PDF", "Texte", "Trace".

// Throws StepFailure (ERR_OUTPUT, the font file) when a font is missing or cannot be read.
[[nodiscard]] std::unique_ptr<PrintSurface> make_pdf_surface(std::string path, std::string device_name = "",
                                                             std::string port = "");
[[nodiscard]] std::unique_ptr<PrintSurface> make_text_surface(std::string path, std::string device_name = "",
                                                              std::string port = "");
[[nodiscard]] std::unique_ptr<PrintSurface> make_trace_surface(std::string path, std::string device_name = "",
                                                               std::string port = "");

enum class SurfaceKind { pdf, text, trace };

// What the ending of `path` asks for, capitals or not: .pdf, .txt, .jsonl. Nothing for any other.
[[nodiscard]] std::optional<SurfaceKind> surface_kind(std::string_view path);

// The surface that the ending of `path` asks for. An ending that asks for none throws StepFailure
// (ERR_OUTPUT, the path).
[[nodiscard]] std::unique_ptr<PrintSurface> make_surface(std::string path, std::string device_name = "",
                                                         std::string port = "");

} // namespace corvalissement
