#include "output/surfaces.h"

#include "platform/failures.h"
#include "platform/text.h"

#include <utility>

namespace corvalissement {

std::optional<SurfaceKind> surface_kind(std::string_view path) {
    const std::string name = capitals(path);
    if (name.ends_with(".PDF")) return SurfaceKind::pdf;
    if (name.ends_with(".TXT")) return SurfaceKind::text;
    if (name.ends_with(".JSONL")) return SurfaceKind::trace;
    return std::nullopt;
}

std::unique_ptr<PrintSurface> make_surface(std::string path, std::string device_name, std::string port) {
    const auto kind = surface_kind(path);
    if (!kind)
        throw StepFailure(ERR_OUTPUT, path + " : le nom d'une sortie se termine par .pdf, .txt ou .jsonl",
                          path);
    const auto make = *kind == SurfaceKind::pdf    ? make_pdf_surface
                      : *kind == SurfaceKind::text ? make_text_surface
                                                   : make_trace_surface;
    return make(std::move(path), std::move(device_name), std::move(port));
}

} // namespace corvalissement
