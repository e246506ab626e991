#include "host/headless_host.h"

#include "host/fixed_rights.h"
#include "output/surfaces.h"

#include <array>
#include <ctime>

#include <pwd.h>
#include <unistd.h>

namespace corvalissement {

std::string system_user_name() {
    if (const passwd* entry = ::getpwuid(::getuid()); entry != nullptr && entry->pw_name != nullptr)
        return entry->pw_name;
    return "utilisateur";
}

std::string system_computer_name() {
    std::array<char, 256> name{};
    if (::gethostname(name.data(), name.size() - 1) != 0) return "ordinateur";
    return name.data();
}

CivilDate system_today() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday};
}

HeadlessHost::HeadlessHost(HostSettings settings) : settings_(std::move(settings)) {}

HeadlessHost::~HeadlessHost() {
    if (control_ && !terminated_) control_->UserControl_Terminate();
}

void HeadlessHost::start(std::shared_ptr<TarvexSession> session) {
    control_ = std::make_unique<Ctr_Corvalissement>(*this);
    control_->set_DroitsUtilisateur(std::make_shared<FixedRights>(settings_.level));
    control_->set_TheClient(std::make_shared<TarvexClient>());
    control_->set_TheDatabase(std::move(session));
    control_->Init();
}

// The control object stays until its last routine has returned; only what it holds is released here.
void HeadlessHost::unload_form_of(View&) {
    if (unloaded_) return;
    unloaded_ = true;
    terminated_ = true;
    control_->UserControl_Terminate();
}

bool HeadlessHost::unload_dialog(View& dialog) {
    if (dialog.Unload && !dialog.Unload()) return false;
    dialog_open_ = false;
    return true;
}

std::shared_ptr<PrintSurface> HeadlessHost::printer(int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= settings_.printers.size()) return nullptr;
    auto surface = open_printer(settings_.printers[static_cast<std::size_t>(index)], settings_.output_folder);
    return delivered(std::move(surface));
}

std::shared_ptr<PrintSurface> HeadlessHost::delivered(std::unique_ptr<PrintSurface> surface) {
    return deliver(
        std::move(surface), [this] { return withholds(); },
        [this](const PrintSurface& ended) { document_ended(ended); });
}

// The printer in force is the first of the list.
std::shared_ptr<PrintSurface> HeadlessHost::default_printer() {
    if (!settings_.printers.empty()) return printer(0);
    return delivered(make_text_surface("/dev/null", "(aucune)"));
}

void HeadlessHost::document_ended(const PrintSurface& surface) { pages_printed_ += surface.page_count(); }

void HeadlessHost::skipped(std::string_view routine, const StepFailure& failure) {
    std::string identity = std::to_string(failure.number()) + '\n' + failure.record() + '\n' + failure.text();
    if (told_.insert(std::move(identity)).second) failures_.emplace_back(std::string(routine), failure);
}

} // namespace corvalissement
