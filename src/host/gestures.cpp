#include "host/gestures.h"

#include "platform/text.h"

#include <algorithm>

namespace corvalissement::gestures {

namespace {

const std::string* text_of(const Field& field) {
    if (const auto* text = dynamic_cast<const TextField*>(&field)) return &text->text();
    if (const auto* combo = dynamic_cast<const ComboField*>(&field)) return &combo->text();
    return nullptr;
}

void put_text(Field& field, std::string text) {
    if (auto* plain = dynamic_cast<TextField*>(&field))
        plain->set_text(std::move(text));
    else if (auto* combo = dynamic_cast<ComboField*>(&field))
        combo->set_text(std::move(text));
}

// The field has the focus and can still be reached.
bool at_hand(const Field& field) {
    return field.view().focus() == &field && field.view().user_reaches(field);
}

enum class Arrival { unreachable, diverted, arrived };

Arrival arrive(Field& field) {
    View& view = field.view();
    if (!view.user_reaches(field)) return Arrival::unreachable;
    if (!field.takes_focus()) return Arrival::arrived;
    if (!view.go_to(field)) return Arrival::diverted;
    return at_hand(field) ? Arrival::arrived : Arrival::diverted;
}

template <class Action>
Reached at(Field& field, Action&& action) {
    const Arrival arrival = arrive(field);
    if (arrival == Arrival::arrived) std::forward<Action>(action)();
    return arrival == Arrival::unreachable ? Reached::no : Reached::yes;
}

// The same for a gesture on rows of the field.
template <class Action>
Reached at_rows(RowsField& field, const std::vector<int>& rows, Action&& action) {
    const Arrival arrival = arrive(field);
    if (arrival == Arrival::unreachable) return Reached::no;
    if (arrival == Arrival::diverted) return Reached::yes;
    for (const int row : rows)
        if (row < 0 || row >= field.list_count()) return Reached::no_row;
    std::forward<Action>(action)();
    return Reached::yes;
}

void click_here(Field& field) {
    if (auto* box = dynamic_cast<CheckBoxField*>(&field)) box->set_value(box->value() == 1 ? 0 : 1);
    if (auto* option = dynamic_cast<OptionField*>(&field)) {
        option->pick();
        return;
    }
    if (field.kind() != FieldKind::combo && field.kind() != FieldKind::list && field.Click) field.Click();
}

// What a key does to a field that holds no text.
void press_on_button(Field& field, int key) {
    const bool button = field.kind() == FieldKind::button;
    const bool toggles = field.kind() == FieldKind::check_box || field.kind() == FieldKind::option;
    if ((button && (key == KEY_ENTER || key == KEY_SPACE)) || (toggles && key == KEY_SPACE))
        click_here(field);
}

constexpr Caret AT_THE_END{static_cast<std::size_t>(-1), 0};

void insert_key(Field& field, int key, Caret caret) {
    const std::string& text = *text_of(field);
    if (caret.at == AT_THE_END.at && key >= KEY_SPACE && key != 0x7F && field.spec().max_length == 0) {
        std::string longer = text;
        append_char(longer, static_cast<char32_t>(key));
        put_text(field, std::move(longer));
        return;
    }
    const std::size_t length = char_count(text);
    caret.at = std::min(caret.at, length);
    caret.selected = std::min(caret.selected, length - caret.at);
    std::string typed;
    if (key == KEY_BACKSPACE) {
        if (caret.selected == 0) {
            if (caret.at == 0) return;
            --caret.at;
            caret.selected = 1;
        }
    } else {
        if (key < KEY_SPACE || key == 0x7F) return; // Enter and other controls leave no character
        const int limit = field.spec().max_length;
        if (limit > 0 && length - caret.selected >= static_cast<std::size_t>(limit)) return;
        append_char(typed, static_cast<char32_t>(key));
    }
    std::string changed(chars(text, 1, caret.at));
    changed += typed;
    changed += chars_from(text, caret.at + caret.selected + 1);
    put_text(field, std::move(changed));
}

void press_here(Field& field, int key, Caret caret = AT_THE_END) {
    if (field.KeyPress) field.KeyPress(key);
    if (key == 0) return;
    if (text_of(field) == nullptr)
        press_on_button(field, key);
    else
        insert_key(field, key, caret);
}

} // namespace

Reached type(Field& field, std::string_view text) {
    return at(field, [&] {
        for (std::size_t byte = 0; byte < text.size() && at_hand(field);)
            press_here(field, static_cast<int>(next_char(text, byte)));
    });
}

Reached press(Field& field, int key) {
    return at(field, [&] { press_here(field, key); });
}

Reached press(Field& field, int key, Caret caret) {
    return at(field, [&] { press_here(field, key, caret); });
}

Reached replace_text(Field& field, std::string_view text) {
    return at(field, [&] {
        const int limit = field.spec().max_length;
        if (limit > 0) text = chars(text, 1, static_cast<std::size_t>(limit));
        put_text(field, std::string(text));
    });
}

Reached go_to(Field& field) {
    if (!field.takes_focus()) return Reached::no;
    return at(field, [] {});
}

void tab(View& view, bool backwards) {
    std::vector<Field*> order;
    for (const auto& field : view.Controls())
        if (field->takes_focus() && field->spec().tab >= 0) order.push_back(field.get());
    std::sort(order.begin(), order.end(),
              [](const Field* a, const Field* b) { return a->spec().tab < b->spec().tab; });
    if (backwards) std::reverse(order.begin(), order.end());
    const auto here = std::find(order.begin(), order.end(), view.focus());
    const auto start = here == order.end() ? order.begin() : here + 1;
    std::rotate(order.begin(), start, order.end());
    for (Field* field : order)
        if (field != view.focus() && view.user_reaches(*field)) {
            view.go_to(*field);
            return;
        }
}

Reached pick(RowsField& field, int row) {
    return at_rows(field, {row}, [&] {
        if (auto* list = dynamic_cast<ListField*>(&field); list != nullptr && list->spec().multi)
            list->select_only({row});
        field.pick(row);
    });
}

Reached click(Field& field) {
    return at(field, [&] { click_here(field); });
}

Reached click_row(ListField& list, int row) {
    return at_rows(list, {row}, [&] {
        if (list.spec().multi) list.set_selected(row, !list.selected(row));
        list.pick(row);
    });
}

Reached double_click(Field& field, std::optional<int> row) {
    const auto raise = [&] {
        if (field.DblClick && at_hand(field)) field.DblClick();
    };
    auto* rows = dynamic_cast<RowsField*>(&field);
    if (rows == nullptr) return at(field, raise);
    return at_rows(*rows, row ? std::vector<int>{*row} : std::vector<int>{}, [&] {
        if (auto* list = dynamic_cast<ListField*>(&field)) {
            if (row) {
                if (list->spec().multi) list->set_selected(*row, true);
                list->pick(*row);
            }
            if (list->list_index() < 0) return;
        }
        raise();
    });
}

Reached select_rows(ListField& list, const std::vector<int>& rows) {
    return at_rows(list, rows, [&] {
        if (list.spec().multi)
            list.select_only(rows);
        else
            list.pick(rows.empty() ? -1 : rows.back());
    });
}

Reached press_mouse(Field& field, int button) {
    if (!field.view().user_reaches(field)) return Reached::no;
    if (field.MouseDown) field.MouseDown(button);
    return Reached::yes;
}

Reached press_mouse(View& view, int button) {
    if (!view.enabled() || view.covered()) return Reached::no;
    if (view.MouseDown) view.MouseDown(button);
    return Reached::yes;
}

Reached choose_entry(Field& entry) {
    if (!entry.view().user_reaches(entry)) return Reached::no;
    if (entry.Click) entry.Click();
    return Reached::yes;
}

Reached drag(Field& source, Field& target) {
    if (press_mouse(source, 1) == Reached::no || !target.view().user_reaches(target)) return Reached::no;
    // Rows are dragged out of a list of several; a press on anything else begins no drag.
    if (source.spec().multi && target.DragDrop) target.DragDrop();
    return Reached::yes;
}

} // namespace corvalissement::gestures
