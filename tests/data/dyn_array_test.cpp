// DynArray against a plain model: attributes as texts, values cut out by hand.
#include "data/dyn_array.h"

#include <gtest/gtest.h>
#include <random>

namespace corvalissement {
namespace {

using Model = std::vector<std::string>;

std::string joined(const Model& model) {
    std::string text;
    for (std::size_t i = 0; i < model.size(); ++i)
        text += (i > 0 ? std::string(1, ATTRIBUTE_MARK) : "") + model[i];
    return text;
}

Model values_of(const std::string& attribute) {
    Model values(1);
    for (const char c : attribute) {
        if (c == VALUE_MARK) {
            values.emplace_back();
        } else {
            values.back().push_back(c);
        }
    }
    return values;
}

std::string random_attribute(std::mt19937& random) {
    std::string text;
    const std::size_t length = random() % 3 == 0 ? random() % 200 : random() % 5;
    for (std::size_t i = 0; i < length; ++i)
        text.push_back(random() % 4 == 0 ? VALUE_MARK : static_cast<char>('a' + random() % 3));
    return text;
}

void expect_same(const DynArray& array, const Model& model) {
    ASSERT_EQ(array.text(), joined(model));
    ASSERT_EQ(array.DCount(), joined(model).empty() ? 0 : model.size());
    for (std::size_t a = 1; a <= model.size() + 1; ++a) {
        const std::string attribute = a <= model.size() ? model[a - 1] : "";
        const Model values = values_of(attribute);
        ASSERT_EQ(array(a), attribute);
        ASSERT_EQ(array.DCount(a), attribute.empty() ? 0 : values.size());
        for (std::size_t v = 1; v <= values.size() + 1; ++v)
            ASSERT_EQ(array(a, v), v <= values.size() ? values[v - 1] : "") << a << ", " << v;
    }
}

TEST(DynArray, random_operations_agree_with_a_plain_model) {
    std::mt19937 random(20240101);
    for (int round = 0; round < 300; ++round) {
        DynArray array;
        Model model;
        for (int step = 0; step < 12; ++step) {
            switch (random() % 4) {
            case 0: { // a whole text
                model.assign(1 + random() % 9, "");
                for (std::string& attribute : model)
                    attribute = random_attribute(random);
                array.set_text(joined(model));
                break;
            }
            case 1: // through the buffer, which keeps nothing of before
                model = {random_attribute(random), "x"};
                array.buffer() = joined(model);
                array.changed();
                break;
            default: {
                const std::size_t a = 1 + random() % 12;
                if (model.size() < a) model.resize(a);
                model[a - 1] = random_attribute(random);
                array.set(a, model[a - 1]);
            }
            }
            const DynArray copy = array; // a copy stands on its own
            expect_same(array, model);
            expect_same(copy, model);
        }
    }
}

TEST(DynArray, a_value_may_be_a_view_into_the_array_itself) {
    DynArray array("un\xFE"
                   "deux\xFE"
                   "trois");
    array.set(5, array(2));
    array.set(2, array(5));
    array.set(1, array.text());
    EXPECT_EQ(array(2), "deux");
    EXPECT_EQ(array(5), "deux");
}

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
