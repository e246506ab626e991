// A host with no window: it holds one control, offers a list of printers, and keeps what the system skipped.
// The scripted host and the one that runs a single edition are made of it.
#pragma once

#include "control/ctr_corvalissement.h"
#include "host/delivery.h"
#include "host/printers.h"

#include <memory>
#include <set>
#include <string>
#include <vector>

namespace corvalissement {

struct HostSettings {
    std::int32_t level = LEVEL_EDITION; // what the rights object answers
    std::string user;
    std::string computer;
    CivilDate today;
    std::vector<PrinterEntry> printers;
    std::filesystem::path output_folder; // for relative outputs of printers
};

// The names and the day of this machine, for what a host is not told.
[[nodiscard]] std::string system_user_name();
[[nodiscard]] std::string system_computer_name();
[[nodiscard]] CivilDate system_today();

class HeadlessHost : public HostServices, public SkippedFailures {
public:
    explicit HeadlessHost(HostSettings settings);
    ~HeadlessHost() override;

    // Puts the control on the form and calls Init.
    void start(std::shared_ptr<TarvexSession> session);

    [[nodiscard]] Ctr_Corvalissement* control() noexcept { return control_.get(); }
    [[nodiscard]] bool unloaded() const noexcept { return unloaded_; }
    [[nodiscard]] long pages_printed() const noexcept { return pages_printed_; }

    // What the system skipped, each thing once, in the order in which it happened.
    [[nodiscard]] const std::vector<std::pair<std::string, StepFailure>>& failures() const noexcept {
        return failures_;
    }

    void let_events_through() override {}
    void set_pointer(int) override {}
    void beep() override {}
    void popup_menu(Field&) override {}
    void show_help(std::string_view, std::string_view, std::string_view) override {}
    void unload_form_of(View& view) override;
    bool unload_dialog(View& dialog) override;
    [[nodiscard]] std::shared_ptr<PrintSurface> printer(int index) override;
    [[nodiscard]] std::shared_ptr<PrintSurface> default_printer() override;
    [[nodiscard]] std::string user_name() override { return settings_.user; }
    [[nodiscard]] std::string computer_name() override { return settings_.computer; }
    [[nodiscard]] CivilDate today() override { return settings_.today; }
    [[nodiscard]] SkippedFailures& skipped_failures() override { return *this; }
    void view_enabled_changed(View&, bool) override {}
    void skipped(std::string_view routine, const StepFailure& failure) override;

protected:
    // Whether a document that ends now is withheld. A host that shows what the control does hands all out.
    [[nodiscard]] virtual bool withholds() { return false; }

    // A document has ended on a printer of the list.
    virtual void document_ended(const PrintSurface& surface);
    [[nodiscard]] const HostSettings& settings() const noexcept { return settings_; }
    bool dialog_open_ = false;

private:
    [[nodiscard]] std::shared_ptr<PrintSurface> delivered(std::unique_ptr<PrintSurface> surface);

    HostSettings settings_;
    std::unique_ptr<Ctr_Corvalissement> control_;
    bool unloaded_ = false;
    bool terminated_ = false;
    long pages_printed_ = 0;
    std::vector<std::pair<std::string, StepFailure>> failures_;
    std::set<std::string> told_;
};

} // namespace corvalissement
