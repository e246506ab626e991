#include "platform/fields.h"

#include "platform/view.h"

#include <algorithm>

namespace corvalissement {

Field::Field(View& view, const FieldSpec& spec)
    : view_(view), spec_(spec), enabled_(spec.enabled), caption_(spec.caption) {}

void Field::shown() { view_.host().field_changed(*this); }

void Field::raise(const std::function<void()>& event) const {
    if (event) event();
}

void Field::set_enabled(bool enabled) {
    if (enabled_ == enabled) return;
    enabled_ = enabled;
    shown();
}

void Field::set_visible(bool visible) {
    if (visible_ == visible) return;
    visible_ = visible;
    shown();
}

void Field::set_caption(std::string caption) {
    caption_ = std::move(caption);
    shown();
}

bool Field::takes_focus() const noexcept {
    switch (kind()) {
    case FieldKind::text:
    case FieldKind::combo:
    case FieldKind::list:
    case FieldKind::button:
    case FieldKind::check_box:
    case FieldKind::option:
        return true;
    default:
        return false;
    }
}

void TextField::set_text(std::string text) {
    if (text_ == text) return;
    text_ = std::move(text);
    shown();
    raise(Change);
}

RowsField::RowsField(View& view, const FieldSpec& spec) : Field(view, spec) {
    for (const std::string_view fixed : spec.rows)
        if (!fixed.empty()) rows_.emplace_back(fixed);
}

std::string_view RowsField::row(int index) const noexcept {
    return index >= 0 && index < list_count() ? std::string_view(rows_[static_cast<std::size_t>(index)])
                                              : std::string_view();
}

void RowsField::set_list_index(int index) {
    if (index >= list_count() || index < 0) index = -1;
    if (index == index_) return;
    index_ = index;
    row_chosen();
    shown();
    raise(Click);
}

void RowsField::pick(int index) {
    index_ = index;
    row_chosen();
    shown();
    raise(Click);
}

void RowsField::add_row(std::string text) {
    rows_.push_back(std::move(text));
    shown();
}

void ComboField::set_text(std::string text) {
    assign_index(-1);
    if (text_ == text) return;
    text_ = std::move(text);
    shown();
    raise(Change);
}

void ComboField::clear() {
    rows_.clear();
    assign_index(-1);
    text_.clear();
    shown();
}

void ComboField::row_chosen() { text_ = std::string(row(list_index())); }

void ListField::clear() {
    rows_.clear();
    selected_.clear();
    assign_index(-1);
    shown();
}

void ListField::insert_row(int index, std::string text) {
    const auto at = static_cast<std::ptrdiff_t>(std::clamp(index, 0, list_count()));
    selected_.resize(rows_.size(), false);
    rows_.insert(rows_.begin() + at, std::move(text));
    selected_.insert(selected_.begin() + at, false);
    if (list_index() >= at) assign_index(list_index() + 1);
    shown();
}

void ListField::set_row(int index, std::string text) {
    if (index < 0 || index >= list_count()) return;
    rows_[static_cast<std::size_t>(index)] = std::move(text);
    shown();
}

void ListField::remove_row(int index) {
    if (index < 0 || index >= list_count()) return;
    selected_.resize(rows_.size(), false);
    rows_.erase(rows_.begin() + index);
    selected_.erase(selected_.begin() + index);
    // The current row goes without a Click.
    if (list_index() == index)
        assign_index(-1);
    else if (list_index() > index)
        assign_index(list_index() - 1);
    shown();
}

bool ListField::selected(int index) const noexcept {
    if (!spec().multi) return index >= 0 && index == list_index();
    return index >= 0 && static_cast<std::size_t>(index) < selected_.size() &&
           selected_[static_cast<std::size_t>(index)];
}

void ListField::set_selected(int index, bool selected) {
    if (index < 0 || index >= list_count()) return;
    selected_.resize(rows_.size(), false);
    selected_[static_cast<std::size_t>(index)] = selected;
    shown();
}

std::vector<int> ListField::selection() const {
    std::vector<int> chosen;
    for (int i = 0; i < list_count(); ++i)
        if (selected(i)) chosen.push_back(i);
    return chosen;
}

void ListField::select_only(const std::vector<int>& chosen) {
    selected_.assign(rows_.size(), false);
    for (const int index : chosen)
        if (index >= 0 && index < list_count()) selected_[static_cast<std::size_t>(index)] = true;
    if (!chosen.empty()) assign_index(chosen.back());
    shown();
}

void CheckBoxField::set_value(int value) {
    value_ = value != 0 ? 1 : 0;
    shown();
}

void OptionField::take() {
    for (const auto& other : view().Controls())
        if (auto* option = dynamic_cast<OptionField*>(other.get()))
            if (option != this && option->container() == container() && option->chosen_) {
                option->chosen_ = false;
                option->shown();
            }
    chosen_ = true;
    shown();
}

void OptionField::choose() {
    if (chosen_) return;
    pick();
}

void OptionField::pick() {
    take();
    raise(Click);
}

bool ProgressBarField::set_max(long max) {
    if (max < 1 || max < value_) return false;
    max_ = max;
    shown();
    return true;
}

bool ProgressBarField::set_value(long value) {
    if (value < 0 || value > max_) return false;
    value_ = value;
    shown();
    return true;
}

} // namespace corvalissement
