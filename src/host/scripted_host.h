// A host driven by a script: it acts as the user's hands, one action a line, and writes what happens as one
// JSON object a line. docs/formats.md lists actions and objects.
#pragma once

#include "host/headless_host.h"
#include "store/store.h"

#include <deque>
#include <functional>
#include <iosfwd>
#include <optional>

namespace corvalissement {

class ScriptedHost final : public HeadlessHost {
public:
    // `open_other_user` opens the base once more, for the locks of another user; it is called at most once.
    ScriptedHost(HostSettings settings, std::istream& script, std::ostream& events,
                 std::function<std::unique_ptr<Store>()> open_other_user);
    ~ScriptedHost() override;

    // Starts the control on `session` and plays the script to its end. A failure of Init is written as any
    // other, and given back: nothing of the script is then played.
    std::optional<StepFailure> run(std::shared_ptr<TarvexSession> session);

    int message_box(std::string_view text, int kind, std::string_view title) override;
    void beep() override;
    void set_pointer(int pointer) override;
    void popup_menu(Field& menu) override;
    void show_modal(View& dialog) override;
    bool unload_dialog(View& dialog) override;
    void unload_form_of(View& view) override;
    void show_help(std::string_view page, std::string_view kind, std::string_view title) override;
    [[nodiscard]] PrinterChoice choose_printer() override;
    void view_enabled_changed(View& view, bool enabled) override;

private:
    class Actions;
    friend class Actions;
    void document_ended(const PrintSurface& surface) override;
    void play_line(const std::string& line);
    [[nodiscard]] View* top_view();

    std::istream& script_;
    std::ostream& events_;
    std::function<std::unique_ptr<Store>()> open_other_user_;
    std::unique_ptr<Store> other_user_;
    std::deque<int> answers_;
    std::deque<int> printer_answers_;
    View* dialog_ = nullptr;
    Field* popped_up_ = nullptr;
};

} // namespace corvalissement
