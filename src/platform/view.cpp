#include "platform/view.h"

namespace corvalissement {

namespace {

std::unique_ptr<Field> make_field(View& view, const FieldSpec& spec) {
    switch (spec.kind) {
    case FieldKind::text:
        return std::make_unique<TextField>(view, spec);
    case FieldKind::combo:
        return std::make_unique<ComboField>(view, spec);
    case FieldKind::list:
        return std::make_unique<ListField>(view, spec);
    case FieldKind::check_box:
        return std::make_unique<CheckBoxField>(view, spec);
    case FieldKind::option:
        return std::make_unique<OptionField>(view, spec);
    case FieldKind::progress_bar:
        return std::make_unique<ProgressBarField>(view, spec);
    case FieldKind::label:
    case FieldKind::button:
    case FieldKind::frame:
    case FieldKind::menu:
    case FieldKind::menu_entry:
        break;
    }
    return std::make_unique<Field>(view, spec);
}

} // namespace

View::View(HostServices& host, std::string_view name, std::string_view caption, int width, int height,
           std::span<const FieldSpec> inventory)
    : host_(host), name_(name), caption_(caption), width_(width), height_(height) {
    fields_.reserve(inventory.size());
    for (const FieldSpec& spec : inventory)
        fields_.push_back(make_field(*this, spec));
    for (const auto& field : fields_)
        if (!field->spec().container.empty()) field->set_container(find(field->spec().container));
}

Field* View::find(std::string_view name) const noexcept {
    for (const auto& field : fields_)
        if (field->name() == name) return field.get();
    return nullptr;
}

void View::set_enabled(bool enabled) {
    enabled_ = enabled;
    host_.view_enabled_changed(*this, enabled);
}

bool View::routine_reaches(const Field& field) const noexcept {
    if (covered_) return false;
    for (const Field* at = &field; at != nullptr; at = at->container())
        if (!at->enabled() || !at->visible()) return false;
    return true;
}

bool View::user_reaches(const Field& field) const noexcept { return enabled_ && routine_reaches(field); }

bool View::move_focus(Field& field, bool user) {
    const auto reaches = [&] { return user ? user_reaches(field) : routine_reaches(field); };
    if (!field.takes_focus() || !reaches()) return false;
    const unsigned order = ++focus_orders_;
    if (focus_ == &field) return true;
    Field* const left = focus_;
    focus_ = nullptr;
    if (left != nullptr && left->LostFocus) left->LostFocus();
    if (order != focus_orders_) return focus_ == &field;
    focus_ = reaches() ? &field : (left != nullptr && routine_reaches(*left) ? left : nullptr);
    host_.focus_changed(*this);
    return focus_ == &field;
}

void View::set_focus(Field& field) { move_focus(field, false); }

bool View::go_to(Field& field) { return move_focus(field, true); }

BusyBracket::BusyBracket(View& view) : view_(view) {
    view_.host().set_pointer(POINTER_HOURGLASS);
    view_.set_enabled(false);
}

BusyBracket::~BusyBracket() {
    if (open_) end_now();
}

void BusyBracket::end() {
    view_.host().let_events_through();
    end_now();
}

void BusyBracket::end_now() {
    open_ = false;
    view_.host().set_pointer(POINTER_NORMAL);
    view_.set_enabled(true);
}

} // namespace corvalissement
