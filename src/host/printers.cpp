#include "host/printers.h"

#include "data/dyn_array.h"
#include "data/keys.h"
#include "output/forwarding_surface.h"
#include "output/output_file.h"
#include "output/print_queue.h"
#include "output/surfaces.h"
#include "platform/failures.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <istream>

#include <unistd.h>

namespace corvalissement {

namespace {

constexpr std::string_view QUEUE_PREFIX = "cups:";

std::string member(const nlohmann::json& object, const char* name, bool required) {
    const auto found = object.find(name);
    if (found == object.end() && !required) return {};
    if (found == object.end() || !found->is_string())
        throw StepFailure(ERR_PROPERTY, std::string("« ") + name + " » manque ou n'est pas un texte");
    return found->get<std::string>();
}

PrinterEntry parse_entry(const std::string& line) {
    const auto object = nlohmann::json::parse(line, nullptr, false);
    if (!object.is_object()) throw StepFailure(ERR_PROPERTY, "la ligne n'est pas un objet JSON");
    PrinterEntry entry{member(object, "nom", true), member(object, "port", false),
                       member(object, "sortie", false)};
    if (entry.name.empty()) throw StepFailure(ERR_PROPERTY, "« nom » est vide");
    if (entry.output.find('\0') != std::string::npos)
        throw StepFailure(ERR_PROPERTY, "« sortie » contient un caractère NUL");
    return entry;
}

class ReportingSurface final : public ForwardingSurface {
public:
    ReportingSurface(std::unique_ptr<PrintSurface> inner, std::function<void(const PrintSurface&)> ended)
        : ForwardingSurface(std::move(inner)), ended_(std::move(ended)) {}
    void EndDoc() override {
        ForwardingSurface::EndDoc();
        ended_(*this);
    }

private:
    std::function<void(const PrintSurface&)> ended_;
};

// Prints into a temporary PDF, which goes to the queue when the document ends.
class QueueSurface final : public ForwardingSurface {
public:
    QueueSurface(std::string queue, std::string file, const PrinterEntry& printer)
        : ForwardingSurface(make_pdf_surface(file, printer.name, printer.port)), queue_(std::move(queue)),
          file_(std::move(file)), unfinished_(file_) {}
    ~QueueSurface() override { remove_file(); }
    QueueSurface(const QueueSurface&) = delete;
    QueueSurface& operator=(const QueueSurface&) = delete;
    void set_Copies(int copies) override { copies_ = copies; }
    void describe(std::string_view title, std::string_view author) override {
        title_ = title;
        ForwardingSurface::describe(title, author);
    }
    void EndDoc() override {
        ForwardingSurface::EndDoc();
        if (page_count() == 0 || sent_) return;
        print_on_queue(queue_, file_, title_, copies_);
        sent_ = true;
    }

private:
    void remove_file() const noexcept {
        std::error_code ignored;
        std::filesystem::remove(file_, ignored);
    }
    std::string queue_;
    std::string file_;
    UnfinishedFile unfinished_;
    std::string title_ = "Grand livre général";
    int copies_ = 1;
    bool sent_ = false;
};

// A printer without an output of its own: the server serves it, and the control only ends its document.
std::string nowhere() { return "/dev/null"; }

} // namespace

std::vector<PrinterEntry> read_printers(std::istream& input, const std::string& name) {
    std::vector<PrinterEntry> printers;
    std::string line;
    for (std::size_t number = 1; std::getline(input, line); ++number) {
        if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
        try {
            printers.push_back(parse_entry(line));
        } catch (const StepFailure& failure) {
            throw StepFailure(ERR_PROPERTY,
                              name + ", ligne " + std::to_string(number) + " : " + failure.text(), name);
        }
    }
    return printers;
}

std::vector<PrinterEntry> printers_of_base(Store& store) {
    std::vector<PrinterEntry> printers;
    store.scan(store.file(files::IMPRIMANTES), "", [&](std::string_view key, std::string_view record) {
        const DynArray attributes{std::string(record)};
        printers.push_back({std::string(key), std::string(key), std::string(attributes(1))});
        return true;
    });
    return printers;
}

std::unique_ptr<PrintSurface> open_printer(const PrinterEntry& printer, const std::filesystem::path& folder) {
    if (printer.output.empty()) return make_text_surface(nowhere(), printer.name, printer.port);
    if (printer.output.starts_with(QUEUE_PREFIX)) {
        std::error_code failed;
        std::string file = (std::filesystem::temp_directory_path(failed) / "corvalissement-XXXXXX").string();
        const int descriptor = failed ? -1 : ::mkstemp(file.data());
        if (descriptor < 0)
            throw StepFailure(
                ERR_OUTPUT,
                "dossier des fichiers temporaires : " + system_reason(failed ? failed.value() : errno), file);
        ::close(descriptor);
        return std::make_unique<QueueSurface>(printer.output.substr(QUEUE_PREFIX.size()), file, printer);
    }
    return make_surface((folder / printer.output).string(), printer.name, printer.port);
}

std::unique_ptr<PrintSurface> report_end(std::unique_ptr<PrintSurface> surface,
                                         std::function<void(const PrintSurface&)> ended) {
    return std::make_unique<ReportingSurface>(std::move(surface), std::move(ended));
}

} // namespace corvalissement
