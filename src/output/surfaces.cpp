#include "output/surfaces.h"

#include "platform/failures.h"
#include "platform/text.h"

#include <filesystem>
#include <utility>

namespace corvalissement {

std::unique_ptr<PrintSurface> make_surface(std::string path, std::string device_name, std::string port) {
    const std::string ending = capitals(std::filesystem::path(path).extension().string());
    if (ending == ".PDF") return make_pdf_surface(std::move(path), std::move(device_name), std::move(port));
    if (ending == ".TXT") return make_text_surface(std::move(path), std::move(device_name), std::move(port));
    if (ending == ".JSONL")
        return make_trace_surface(std::move(path), std::move(device_name), std::move(port));
    throw StepFailure(ERR_OUTPUT, path + " : le nom d'une sortie se termine par .pdf, .txt ou .jsonl", path);
}

} // namespace corvalissement
