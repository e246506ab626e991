#include "host/printers.h"

#include "commands/command_printer.h"
#include "data/dyn_array.h"
#include "data/keys.h"
#include "launch/routing.h"
#include "output/forwarding_surface.h"
#include "output/print_queue.h"
#include "output/surfaces.h"
#include "platform/failures.h"

#include <nlohmann/json.hpp>

#include <istream>

namespace corvalissement {

namespace {

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
                       member(object, "sortie", false), ""};
    if (entry.name.empty()) throw StepFailure(ERR_PROPERTY, "« nom » est vide");
    if (entry.output.find('\0') != std::string::npos)
        throw StepFailure(ERR_PROPERTY, "« sortie » contient un caractère NUL");
    return entry;
}

// Prints a PDF that goes to the queue when the document ends.
class QueueSurface final : public ForwardingSurface {
public:
    QueueSurface(std::string queue, std::unique_ptr<QueuedFile> file, const PrinterEntry& printer)
        : ForwardingSurface(make_pdf_surface(file->path(), printer.name, printer.port)),
          queue_(std::move(queue)), file_(std::move(file)) {}
    void set_Copies(int copies) override { copies_ = copies; }
    void describe(std::string_view title, std::string_view author, const CivilDate& day) override {
        title_ = title;
        ForwardingSurface::describe(title, author, day);
    }
    void EndDoc() override {
        ForwardingSurface::EndDoc();
        if (page_count() == 0 || sent_) return;
        file_->send(queue_, title_, copies_);
        sent_ = true;
    }

private:
    std::string queue_;
    std::unique_ptr<QueuedFile> file_;
    std::string title_ = "Grand livre général";
    int copies_ = 1;
    bool sent_ = false;
};

// A printer that the server serves: the control prints nothing on it and only ends its document.
std::string nowhere() { return "/dev/null"; }

PrinterTarget target_of(const PrinterEntry& printer, const std::filesystem::path& folder) {
    if (!printer.base_path.empty()) return target_in_base(printer.name, printer.output, printer.base_path);
    if (printer.output.starts_with(QUEUE_PREFIX))
        return {printer.name, "", printer.output.substr(QUEUE_PREFIX.size())};
    return {printer.name, (folder / printer.output).string(), ""};
}

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

std::vector<PrinterEntry> printers_of_base(Store& store, const std::string& base_path) {
    // The records mean the same folder also after the process has changed its own.
    const std::string path = base_path.empty() ? "" : std::filesystem::absolute(base_path).string();
    std::vector<PrinterEntry> printers;
    store.scan(store.file(files::IMPRIMANTES), "", [&](std::string_view key, std::string_view record) {
        const DynArray attributes{std::string(record)};
        printers.push_back({std::string(key), std::string(key), std::string(attributes(1)), path});
        return true;
    });
    return printers;
}

std::unique_ptr<PrintSurface> open_printer(const PrinterEntry& printer, const std::filesystem::path& folder) {
    if (printer.output.empty() || is_matrix_name(printer.name))
        return make_text_surface(nowhere(), printer.name, printer.port);
    const PrinterTarget target = target_of(printer, folder);
    if (!target.queue.empty())
        return std::make_unique<QueueSurface>(target.queue, std::make_unique<QueuedFile>(), printer);
    return make_surface(target.file, printer.name, printer.port);
}

} // namespace corvalissement
