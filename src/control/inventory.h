// The inventory of the control's view: one table from which the fields are made, walked and drawn.
#pragma once

#include "platform/fields.h"

#include <span>

namespace corvalissement {

inline constexpr int CONTROL_WIDTH = 10035; // in units of 1/1440 inch
inline constexpr int CONTROL_HEIGHT = 8160;

[[nodiscard]] std::span<const FieldSpec> control_inventory();

} // namespace corvalissement
