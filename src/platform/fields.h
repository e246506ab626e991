// The fields of a form, as plain objects. They know their properties and their events and nothing of a
// window: a host draws them, the user's hands reach them through Gestures (host/gestures.h), and the
// routines of the form set them directly.
//
// What a routine sets raises its event at once, inside the assignment, and only when it really changes:
// a text raises Change, a list index raises Click (also at -1). Clearing a combo or a list raises nothing.
// Rows and indexes are counted from 0, -1 is no row. Positions and sizes are in units of 1/1440 inch.
// One thread.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace corvalissement {

class View;

// Keys as KeyPress tells them.
inline constexpr int KEY_BACKSPACE = 8;
inline constexpr int KEY_ENTER = 13;
inline constexpr int KEY_SPACE = 32;

enum class FieldKind : std::uint8_t {
    label,
    text,
    combo,
    list,
    button,
    check_box,
    option,
    frame,
    progress_bar,
    menu,
    menu_entry
};

struct Place {
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
};

// One row of an inventory: what a field is from its creation on. Inventories are static tables, so the
// texts are never owned here.
struct FieldSpec {
    std::string_view name;
    FieldKind kind = FieldKind::label;
    std::string_view caption;
    std::string_view container; // "" for the form itself
    Place place;
    int tab = -1;                              // place in the tab order, -1 for none
    int max_length = 0;                        // characters that can be typed into a text, 0 for no limit
    bool multi = false;                        // a list in which several rows can be selected
    bool enabled = true;                       // at creation
    std::array<std::string_view, 3> rows = {}; // fixed rows of a combo
};

class Field {
public:
    Field(View& view, const FieldSpec& spec);
    virtual ~Field() = default;
    Field(const Field&) = delete;
    Field& operator=(const Field&) = delete;

    [[nodiscard]] View& view() const noexcept { return view_; }
    [[nodiscard]] const FieldSpec& spec() const noexcept { return spec_; }
    [[nodiscard]] std::string_view name() const noexcept { return spec_.name; }
    [[nodiscard]] FieldKind kind() const noexcept { return spec_.kind; }
    [[nodiscard]] Field* container() const noexcept { return container_; }
    void set_container(Field* container) noexcept { container_ = container; }

    [[nodiscard]] bool enabled() const noexcept { return enabled_; }
    void set_enabled(bool enabled);
    [[nodiscard]] bool visible() const noexcept { return visible_; }
    void set_visible(bool visible);
    [[nodiscard]] const std::string& caption() const noexcept { return caption_; }
    void set_caption(std::string caption);

    // What the keyboard can be on.
    [[nodiscard]] bool takes_focus() const noexcept;

    // Event routines, bound by the form. A field raises only those that are bound.
    std::function<void()> Click;
    std::function<void()> DblClick;
    std::function<void()> Change;
    std::function<void()> LostFocus;
    std::function<void(int& key)> KeyPress;
    std::function<void(int button)> MouseDown;
    std::function<void()> DragDrop;

protected:
    void raise(const std::function<void()>& event) const;
    void shown(); // tells whoever draws the form that this field looks different

private:
    View& view_;
    const FieldSpec& spec_;
    Field* container_ = nullptr;
    bool enabled_;
    bool visible_ = true;
    std::string caption_;
};

class TextField final : public Field {
public:
    using Field::Field;
    [[nodiscard]] const std::string& text() const noexcept { return text_; }
    void set_text(std::string text);
    void clear() { set_text(""); }

private:
    std::string text_;
};

// Rows with a current one: what combos and lists share.
class RowsField : public Field {
public:
    RowsField(View& view, const FieldSpec& spec);
    [[nodiscard]] const std::vector<std::string>& rows() const noexcept { return rows_; }
    [[nodiscard]] int list_count() const noexcept { return static_cast<int>(rows_.size()); }
    [[nodiscard]] int list_index() const noexcept { return index_; }
    // Text of row `index`, "" when there is no such row.
    [[nodiscard]] std::string_view row(int index) const noexcept;

    // Raises Click when it changes the index. An index past the rows is no row.
    void set_list_index(int index);
    // The user's own choice of a row: raises Click always, never Change.
    void pick(int index);

    void add_row(std::string text);

protected:
    // A row has become the current one, before Click.
    virtual void row_chosen() {}
    void assign_index(int index) noexcept { index_ = index; }
    std::vector<std::string> rows_;

private:
    int index_ = -1;
};

// An editable combo. Its text and its index go apart: a text set or typed makes the index -1, an index set
// takes the row's text without raising Change.
class ComboField final : public RowsField {
public:
    using RowsField::RowsField;
    [[nodiscard]] const std::string& text() const noexcept { return text_; }
    void set_text(std::string text);
    // Rows, index and text go, and no event is raised.
    void clear();

private:
    void row_chosen() override;
    std::string text_;
};

// A list box, with one selected row (the current one) or several.
class ListField final : public RowsField {
public:
    using RowsField::RowsField;
    void clear();
    void insert_row(int index, std::string text);
    void set_row(int index, std::string text);
    void remove_row(int index);

    // Selection of a list of several; in another list only the current row is selected.
    [[nodiscard]] bool selected(int index) const noexcept;
    void set_selected(int index, bool selected);
    [[nodiscard]] std::vector<int> selection() const;

    // The user makes these rows, and no others, the selected ones of a list of several.
    void select_only(const std::vector<int>& chosen);

private:
    std::vector<bool> selected_; // as long as the rows it knows; what lies beyond is not selected
};

class CheckBoxField final : public Field {
public:
    using Field::Field;
    [[nodiscard]] int value() const noexcept { return value_; } // 1 checked, 0 not
    void set_value(int value);

private:
    int value_ = 0;
};

// An option button; of those in one container at most one is chosen.
class OptionField final : public Field {
public:
    using Field::Field;
    [[nodiscard]] bool chosen() const noexcept { return chosen_; } // its value is -1 when chosen
    // Chosen by a routine: raises Click when it was not chosen before.
    void choose();
    // Chosen by the user: raises Click always.
    void pick();

private:
    void take();
    bool chosen_ = false;
};

class ProgressBarField final : public Field {
public:
    using Field::Field;
    [[nodiscard]] long max() const noexcept { return max_; }
    [[nodiscard]] long value() const noexcept { return value_; }
    // Either refuses what the bar cannot show and then changes nothing.
    bool set_max(long max);
    bool set_value(long value);

private:
    long max_ = 100;
    long value_ = 0;
};

} // namespace corvalissement
