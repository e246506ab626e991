// A host that keeps the messages, answers as told, and prints on recording surfaces.
#pragma once

#include "host/headless_host.h"
#include "support/recording.h"

#include <string>
#include <vector>

namespace corvalissement::testing_support {

class TestHost : public HeadlessHost {
public:
    TestHost() : HeadlessHost(settings_of_test()) {}

    int message_box(std::string_view text, int, std::string_view) override {
        messages.emplace_back(text);
        return answer;
    }
    void show_modal(View&) override {}
    [[nodiscard]] PrinterChoice choose_printer() override {
        ++printer_choices;
        return choice;
    }
    [[nodiscard]] std::shared_ptr<PrintSurface> printer(int index) override {
        if (index < 0 || index >= static_cast<int>(printers.size())) return nullptr;
        const auto& chosen = printers[static_cast<std::size_t>(index)];
        if (!chosen) throw StepFailure(ERR_OUTPUT, "ne s'ouvre pas", "imprimante");
        return chosen;
    }
    [[nodiscard]] std::shared_ptr<PrintSurface> default_printer() override { return in_force; }
    void set_pointer(int pointer) override { pointers.push_back(pointer); }

    std::vector<std::string> messages;
    std::vector<int> pointers;
    int answer = 1;
    int printer_choices = 0;
    PrinterChoice choice{0, 1};
    std::vector<std::shared_ptr<RecordingSurface>> printers;
    std::shared_ptr<RecordingSurface> in_force = std::make_shared<RecordingSurface>();

private:
    static HostSettings settings_of_test() {
        HostSettings settings;
        settings.user = "dupuis";
        settings.computer = "POSTE7";
        settings.today = {2024, 12, 31};
        return settings;
    }
};

} // namespace corvalissement::testing_support
