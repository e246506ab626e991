// A host for a single edition: it drives the control's fields as a user would, from a set of options.
#pragma once

#include "host/headless_host.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvalissement {

struct EditionOptions {
    std::string entity;
    std::string exercice = "N"; // "N - 1", "N", "N + 1"
    std::optional<std::string> start_date;
    std::optional<std::string> end_date;
    int account_class = 0; // row of Cbo_EditCpte
    std::vector<std::pair<std::string, std::string>> ranges;
    bool only_unsettled = false;
    bool only_unlettered = false;
    bool with_earlier = false;
    bool page_per_account = false;
    bool graphic = false;
    // Draft sequences: all of them, or those of these keys in this order.
    bool all_drafts = false;
    std::vector<std::string> drafts;
    int printer = 0; // index in the list of printers
    int copies = 1;
};

// What came of it.
enum class EditionEnd {
    done,    // printed, or handed to the server
    refused, // by the control or by this host; `message` tells why
};

class EditionHost final : public HeadlessHost {
public:
    EditionHost(HostSettings settings, EditionOptions options);

    // Drives the whole edition on `session`. Failures that reach the host pass to the caller, unless the
    // edition has been handed out by then: such a one is kept with the skipped failures.
    EditionEnd run(std::shared_ptr<TarvexSession> session);

    // The messages that the control showed, word for word, and this host's own refusal.
    [[nodiscard]] const std::vector<std::string>& messages() const noexcept { return messages_; }
    // The file that the server made for a graphic edition, "" for none.
    [[nodiscard]] const std::string& file_made() const noexcept { return file_made_; }

    // What the control told the user of sequences that this edition had no need of.
    [[nodiscard]] const std::string& notice() const noexcept { return notice_; }

    // The edition was made, or would have been, but a failing step had made it wrong: nothing was handed out.
    [[nodiscard]] bool withheld() const noexcept { return withheld_; }

    // A document has ended, or a file was made.
    [[nodiscard]] bool handed_out() const noexcept { return handed_out_; }

    // The control came as far as asking for a printer.
    [[nodiscard]] bool printer_asked() const noexcept { return printer_asked_; }

    int message_box(std::string_view text, int kind, std::string_view title) override;
    void show_modal(View& dialog) override;
    [[nodiscard]] PrinterChoice choose_printer() override {
        printer_asked_ = true;
        return withholds() ? PrinterChoice{-1, 1} : PrinterChoice{options_.printer, options_.copies};
    }
    void skipped(std::string_view routine, const StepFailure& failure) override;
    void field_changed(Field& field) override;

    // Told how far a pass is, from 0 to 1.
    std::function<void(double)> progress;

protected:
    [[nodiscard]] bool withholds() override { return withheld_ = spoilt_; }
    void document_ended(const PrintSurface&) override { handed_out_ = true; }

private:
    // Each step of the user; false when it was refused.
    bool choose_entity();
    bool choose_year();
    bool enter_dates();
    bool enter_range(const std::string& from, const std::string& to);
    bool enter_account(const char* number_field, const char* label_field, const std::string& number);
    bool set_options();
    bool check(std::string_view box, std::string_view option);
    bool assign_drafts(View& dialog);
    bool print();
    bool refuse(std::string text);

    template <class Kind>
    Kind& field(std::string_view name) {
        return control()->field<Kind>(name);
    }

    EditionOptions options_;
    std::vector<std::string> messages_;
    std::string file_made_;
    std::string notice_;
    bool printer_asked_ = false;
    bool spoilt_ = false; // a step failed that makes the ledger wrong
    bool withheld_ = false;
    bool handed_out_ = false;
};

} // namespace corvalissement
