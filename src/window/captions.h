// Which caption names which field, and the letters under which the keyboard reaches both. Captions are the
// system's own texts and carry no marks, so the letters are chosen here, for a whole view at once.
#pragma once

#include "platform/view.h"

#include <QChar>
#include <QString>

#include <unordered_map>
#include <vector>

namespace corvalissement {

// The label that names a field: one to its left in the same line, else the nearest one over its middle. Null
// for a field with a caption of its own, and for a list whose columns have a label each.
[[nodiscard]] const Field* label_of(const View& view, const Field& field);

// The fields that a label names, in tab order.
[[nodiscard]] std::vector<Field*> fields_named_by(const View& view, const Field& label);

class AccessKeys {
public:
    // As many captions as possible get a letter of their own, a word's first where it can be had. `taken`
    // are letters that the window around the view needs for itself, as its menus do.
    AccessKeys(const View& view, const QString& taken);

    // The letter of a field's caption, null when it has none.
    [[nodiscard]] QChar of(const Field& field) const;

    // A caption of the field, marked for a widget: "&" stands before its letter, and any other is doubled.
    [[nodiscard]] QString marked(const Field& field) const;

private:
    std::unordered_map<const Field*, QChar> letters_;
};

} // namespace corvalissement
