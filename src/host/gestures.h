// The user's hands. Every host that lets a person or a script reach the fields goes through here, so that
// the rules of reach, focus and events are the same for a window and for a script.
//
// A user reaches a field when it and its containers are visible and enabled, the view is enabled and no
// dialog covers it. Typing, picking and clicking go to the field first, which raises LostFocus of the field
// left; when the field then does not have the focus, or cannot be reached, the gesture does not happen.
//
// A failure of an event routine passes through to the caller. One thread.
#pragma once

#include "platform/view.h"

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace corvalissement {

// Whether a gesture found its field, and its row where it names one.
enum class Reached { no, yes, no_row };

namespace gestures {

// Types `text` at the end of the field, key by key: KeyPress, the character unless it was dropped, Change.
// What remains is not typed once the field has lost the focus.
Reached type(Field& field, std::string_view text);
// One key: 13 Enter, 8 backspace, any other the character of that code.
Reached press(Field& field, int key);

// Where the caret of a text stands, in characters counted from 0: the `selected` characters from `at` on
// give way to what is typed.
struct Caret {
    std::size_t at = 0;
    std::size_t selected = 0;
};
// One key at a place of the text other than its end, for a host with a caret of its own: KeyPress, then the
// character (or, for a backspace, the removal), then Change. A caret beyond the text is one at its end.
Reached press(Field& field, int key, Caret caret);
// Replaces the text as select-all and typing or pasting do, in one change.
Reached replace_text(Field& field, std::string_view text);
Reached go_to(Field& field);
// To the next (or previous) field in tab order that can take the focus.
void tab(View& view, bool backwards = false);
// Picks a row of a combo or list. Which rows there are is seen once the field has the focus: the LostFocus
// of the field left may have filled or emptied it.
Reached pick(RowsField& field, int row);
Reached click(Field& field);
// A click on a row of a list; in a list of several it turns the row's selection over.
Reached click_row(ListField& list, int row);
// A double click on a row, or on the current one; where no row is current nothing is raised.
Reached double_click(Field& field, std::optional<int> row);
Reached select_rows(ListField& list, const std::vector<int>& rows);
Reached press_mouse(Field& field, int button);
Reached press_mouse(View& view, int button);
// Chooses the entry of a menu that has popped up.
Reached choose_entry(Field& entry);
// From a list of several; nothing is dropped that was not dragged out of one.
Reached drag(Field& source, Field& target);

} // namespace gestures

} // namespace corvalissement
