// DynArray at length. That every operation gives what a plain model gives is the fuzz target's business,
// views into the array itself among them (tests/fuzz/dyn_array_fuzz.cpp).
#include "data/dyn_array.h"

#include <gtest/gtest.h>

namespace corvalissement {
namespace {

// Lists of many long attributes, each asked by value, and attributes of many values: a cost that grew with
// the square would not end here.
TEST(DynArray, long_lists_are_walked_at_constant_cost) {
    std::string text;
    const std::string value(80, 'k');
    for (int i = 0; i < 200'000; ++i)
        text += (i > 0 ? "\xFE" : "") + value +
                "\xFD"
                "v";
    const DynArray list(text);
    std::size_t right = 0;
    for (std::size_t a = 1; a <= list.DCount(); ++a)
        right += list(a, 1) == value && list(a, 2) == "v" ? 1U : 0U;
    EXPECT_EQ(right, 200'000U);

    std::string dates;
    std::string keys;
    for (int i = 0; i < 200'000; ++i) {
        DynArray::append_value(dates, std::to_string(45'292 + i), i == 0);
        DynArray::append_value(keys, "001VEN1" + std::to_string(i), i == 0);
    }
    DynArray record;
    record.set(9, keys);
    record.set(8, dates);
    right = 0;
    for (std::size_t v = 1; v <= record.DCount(9); ++v)
        right += record(8, v) == std::to_string(45'291 + v) && record(9, v).ends_with(std::to_string(v - 1))
                     ? 1U
                     : 0U;
    EXPECT_EQ(right, 200'000U);
}

} // namespace
} // namespace corvalissement
