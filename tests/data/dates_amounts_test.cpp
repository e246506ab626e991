// Dates and amounts over their whole range, and the tables of what a person types.
#include "data/amounts.h"
#include "data/util_object.h"
#include "platform/calendar.h"
#include "support/pass_model.h"
#include "support/test_host.h"

#include <gtest/gtest.h>

namespace corvalissement::testing_support {
namespace {

TEST(Dates, every_day_goes_there_and_back) {
    constexpr std::int64_t FIRST = -693'593; // 01/01/0001
    constexpr std::int64_t LAST = 2'958'465; // 31/12/9999
    for (std::int64_t day = FIRST; day <= LAST; ++day) {
        CivilDate date;
        std::int64_t back = 0;
        ASSERT_TRUE(civil_from_day(day, date) && day_from_civil(date, back)) << day;
        ASSERT_EQ(back, day);
        if (day % 97 != 0) continue;
        ASSERT_EQ(format_date(date), model_date(day));
        ASSERT_EQ(internal_date(format_date(date)), std::to_string(day));
    }
    CivilDate date;
    EXPECT_FALSE(civil_from_day(FIRST - 1, date) || civil_from_day(LAST + 1, date));
    EXPECT_EQ(internal_date("01/01/2024"), "45292");
}

TEST(Dates, texts_that_are_no_date) {
    for (const char* text : {"", "29/02/2023", "31/04/2024", "00/01/2024", "01/13/2024", "01/01/24",
                             "0101/2024", "x", "1/1/2024/"})
        EXPECT_EQ(internal_date(text), "") << text;
    for (const char* internal : {"x", "45292x", "9999999", "1.5.2"})
        EXPECT_NE(error_of([&] { static_cast<void>(date_text(internal)); }), 0) << internal;
    EXPECT_EQ(day_number("45292.75"), 45292);
}

TEST(Dates, typed_dates_are_completed_from_today) {
    struct Typed {
        const char* text;
        const char* shown;
        bool refused;
    };
    const Typed table[] = {
        {"5", "05/12/2024", false},
        {"5/3", "05/03/2024", false},
        {"0503", "05/03/2024", false},
        {"5/3/24", "05/03/2024", false},
        {"050324", "05/03/2024", false},
        {"5/3/2024", "05/03/2024", false},
        {"05032024", "05/03/2024", false},
        {"1/1/69", "01/01/2069", false},
        {"1/1/70", "01/01/1970", false},
        {"29/02/24", "29/02/2024", false},
        {"29/02/23", "29/02/23", true},
        {"32", "32", true},
        {"5/13", "5/13", true},
        {"050", "050", false},
        {"a", "a", false},
        {"5//3", "5//3", false},
        {"5/3/", "5/3/", false},
        {"1/2/3/4", "1/2/3/4", false},
    };
    TestHost host;
    UtilObject util(host);
    for (const Typed& typed : table) {
        host.messages.clear();
        EXPECT_EQ(util.CompleteDate(typed.text, 0), typed.shown);
        EXPECT_EQ(util.ErreurDate(), typed.refused) << typed.text;
        EXPECT_EQ(host.messages.size(), typed.refused ? 1U : 0U) << typed.text;
    }
}

TEST(Amounts, texts_agree_with_the_model) {
    TestHost host;
    const UtilObject util(host);
    const auto check = [&](std::int64_t value) {
        const std::string text = amount_text(static_cast<double>(value));
        ASSERT_EQ(text, model_amount(value));
        ASSERT_EQ(text, util.FormatMontant(std::to_string(value / 100) + "." +
                                               (value % 100 < 10 && value % 100 > -10 ? "0" : "") +
                                               std::to_string(value < 0 ? -(value % 100) : value % 100),
                                           8, 2, 0))
            << value;
        ASSERT_EQ(amount_text(static_cast<double>(value), TOTAL_AMOUNT_POSITIONS), model_amount(value, 12));
    };
    for (std::int64_t value = 0; value < 20'000'000'000; value = value * 17 / 16 + 1)
        check(value);
    for (const std::int64_t value :
         {-100LL, -123456LL, -999999999LL, -1000000000LL, 9999999999LL, 10000000000LL, -99999999999LL})
        check(value);
    EXPECT_EQ(amount_text(-999999999), "-9999999,99");
    EXPECT_EQ(amount_text(-1000000000), "***********");
    EXPECT_EQ(amount_text(-50), "      -0,50");
}

TEST(Amounts, units_are_rounded_on_their_digits) {
    TestHost host;
    const UtilObject util(host);
    for (const auto& [units, text] : {std::pair("1234.5", "    1234,50"),
                                      {"-0.5", "      -0,50"},
                                      {"0", "       0,00"},
                                      {"1,005", "       1,01"},
                                      {"-0.001", "       0,00"},
                                      {"9.999", "      10,00"},
                                      {"99999999.995", "***********"},
                                      {".5", "       0,50"}})
        EXPECT_EQ(util.FormatMontant(units, 8, 2, 0), text) << units;
    for (const char* units : {"", "-", "1e5", "12a", "1.2.3"})
        EXPECT_EQ(error_of([&] { static_cast<void>(util.FormatMontant(units, 8, 2, 0)); }), ERR_TYPE)
            << units;
}

} // namespace
} // namespace corvalissement::testing_support
