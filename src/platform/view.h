// A form as the logic sees it: the fields of its inventory, whether it is enabled as a whole, and which
// field has the focus. Ctr_Corvalissement and Frm_AffectCompta are views.
#pragma once

#include "platform/fields.h"
#include "platform/host.h"

#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace corvalissement {

class View {
public:
    // `inventory` is a static table and gives the order of Controls. REQUIRES that a container stands in
    // the same table. The host must outlive the view.
    View(HostServices& host, std::string_view name, std::string_view caption, int width, int height,
         std::span<const FieldSpec> inventory);
    virtual ~View() = default;
    View(const View&) = delete;
    View& operator=(const View&) = delete;

    [[nodiscard]] HostServices& host() const noexcept { return host_; }
    [[nodiscard]] std::string_view name() const noexcept { return name_; }
    [[nodiscard]] std::string_view caption() const noexcept { return caption_; }
    [[nodiscard]] int width() const noexcept { return width_; }
    [[nodiscard]] int height() const noexcept { return height_; }

    // The collection of all fields, in the order of the inventory.
    [[nodiscard]] const std::vector<std::unique_ptr<Field>>& Controls() const noexcept { return fields_; }
    // The field of that name, null when there is none.
    [[nodiscard]] Field* find(std::string_view name) const noexcept;
    // The field of that name and kind. REQUIRES that the inventory holds it.
    template <class Kind>
    [[nodiscard]] Kind& field(std::string_view name) const {
        return dynamic_cast<Kind&>(*find(name));
    }

    [[nodiscard]] bool enabled() const noexcept { return enabled_; }
    void set_enabled(bool enabled);

    // While a modal dialog lies over the view nothing of it can be reached.
    void set_covered(bool covered) noexcept { covered_ = covered; }
    [[nodiscard]] bool covered() const noexcept { return covered_; }

    [[nodiscard]] Field* focus() const noexcept { return focus_; }

    // A field within reach of a routine: it and its containers are visible and enabled and no dialog
    // covers them. The user's reach asks for an enabled view as well.
    [[nodiscard]] bool routine_reaches(const Field& field) const noexcept;
    [[nodiscard]] bool user_reaches(const Field& field) const noexcept;

    // A routine's order of focus; nothing happens when the field is out of its reach.
    void set_focus(Field& field);
    // The user goes to a field. False when the field did not get the focus after all: out of reach, or the
    // LostFocus of the field left ordered otherwise.
    bool go_to(Field& field);

    // The background was pressed.
    std::function<void(int button)> MouseDown;
    // The view is about to go, by the system's close command or by a routine; false refuses.
    std::function<bool()> Unload;

private:
    bool move_focus(Field& field, bool user);

    HostServices& host_;
    std::string_view name_;
    std::string_view caption_;
    int width_;
    int height_;
    std::vector<std::unique_ptr<Field>> fields_;
    bool enabled_ = true;
    bool covered_ = false;
    Field* focus_ = nullptr;
    unsigned focus_orders_ = 0; // counts every order, so that one given inside a LostFocus is noticed
};

// The time in which a routine works: hourglass, and the view disabled as a whole. `end` lets pending events
// through once, then puts pointer and view back; `end_now` does so without letting events through. A
// failure that passes puts them back too, so that no routine leaves the user before a dead form.
class BusyBracket {
public:
    explicit BusyBracket(View& view);
    ~BusyBracket();
    BusyBracket(const BusyBracket&) = delete;
    BusyBracket& operator=(const BusyBracket&) = delete;
    void end();
    void end_now();

private:
    View& view_;
    bool open_ = true;
};

} // namespace corvalissement
