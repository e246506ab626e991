// What the platform gives to the logic of a form: boxes, pointer, printers, names, today. A host implements
// it once for each of its forms. Calls come on the one thread of the user interface.
#pragma once

#include "platform/calendar.h"
#include "platform/failures.h"
#include "platform/print_surface.h"

#include <memory>
#include <string>
#include <string_view>

namespace corvalissement {

class Field;
class View;

// Kinds of a message box.
inline constexpr int KIND_WARNING = 48;
inline constexpr int KIND_INFORMATION = 64;
inline constexpr int KIND_QUESTION = 52; // Yes and No, with the warning icon
inline constexpr int ANSWER_YES = 6;
inline constexpr int ANSWER_NO = 7;

inline constexpr std::string_view MESSAGE_TITLE = "Message MERIDOXAN";

// The screen's mouse pointers that the system uses.
inline constexpr int POINTER_NORMAL = 0;
inline constexpr int POINTER_HOURGLASS = 11;

// What the user answered to the choice of a printer: an index in the list, -1 for none, and the copies.
struct PrinterChoice {
    int index = -1;
    int copies = 1;
};

// What a routine says to the user, and shows him.
class Dialogue {
public:
    virtual ~Dialogue() = default;

    // A modal box; gives the answer (1 for the only button of a message).
    virtual int message_box(std::string_view text, int kind, std::string_view title) = 0;
    virtual void beep() = 0;
    virtual void set_pointer(int pointer) = 0;
    virtual void let_events_through() = 0;

    // The menu pops up at the mouse position and returns at once; its entries raise their own Click.
    virtual void popup_menu(Field& menu) = 0;

    // Shows a dialog until it is unloaded. What the user does meanwhile runs inside this call.
    virtual void show_modal(View& dialog) = 0;
    // A loaded dialog is to go; returns false when its Unload routine refused.
    virtual bool unload_dialog(View& dialog) = 0;

    // The form that holds `view` is to go, and the view with it.
    virtual void unload_form_of(View& view) = 0;

    virtual void show_help(std::string_view page, std::string_view kind, std::string_view title) = 0;
};

// The platform's printers.
class Printers {
public:
    virtual ~Printers() = default;

    // `printer` gives null beyond the list; the default one is that in force before any is chosen. A surface
    // is made anew by each call.
    [[nodiscard]] virtual std::shared_ptr<PrintSurface> printer(int index) = 0;
    [[nodiscard]] virtual std::shared_ptr<PrintSurface> default_printer() = 0;
    [[nodiscard]] virtual PrinterChoice choose_printer() = 0;
};

// Who works where and when, and the place for what is passed over in silence. A host that is to give the same
// output twice sets them.
class Surroundings {
public:
    virtual ~Surroundings() = default;

    [[nodiscard]] virtual std::string user_name() = 0;
    [[nodiscard]] virtual std::string computer_name() = 0;
    [[nodiscard]] virtual CivilDate today() = 0;
    [[nodiscard]] virtual SkippedFailures& skipped_failures() = 0;
};

// Told by the view, so that whoever draws or records it can follow.
class ViewObserver {
public:
    virtual ~ViewObserver() = default;

    virtual void view_enabled_changed(View& view, bool enabled) = 0;
    virtual void field_changed(Field& field) { static_cast<void>(field); }
    virtual void focus_changed(View& view) { static_cast<void>(view); }
};

// All that a form asks of its host. A routine that needs one part of it is given that part.
class HostServices : public Dialogue, public Printers, public Surroundings, public ViewObserver {};

// Shows a message with the system's own title.
inline int message(Dialogue& host, std::string_view text, int kind = KIND_WARNING) {
    return host.message_box(text, kind, MESSAGE_TITLE);
}

} // namespace corvalissement
