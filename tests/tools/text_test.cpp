// The text helpers of mopac-input: strict whole numbers.
#include <gtest/gtest.h>

#include <climits>
#include <optional>
#include <string>

#include "text.hpp"

namespace vesk::tools {
namespace {

TEST(parse_decimal, takes_plain_decimal_in_range_only) {
    struct Case {
        std::string text;
        long long min, max;
        std::optional<long long> value;
    };
    const Case cases[] = {
        {"0", 0, 18, 0},          {"18", 0, 18, 18},        {"19", 0, 18, std::nullopt},
        {"-1", 0, 18, std::nullopt}, {"+1", 0, 18, std::nullopt}, {"-5", -9, 9, -5},
        {"+5", -9, 9, 5},         {"007", 0, 9, 7},         {"0x10", 0, 99, std::nullopt},
        {"1.5", -9, 9, std::nullopt}, {"1e1", 0, 99, std::nullopt}, {" 1", 0, 9, std::nullopt},
        {"1 ", 0, 9, std::nullopt}, {"", 0, 9, std::nullopt},  {"-", -9, 9, std::nullopt},
        {"+-1", -9, 9, std::nullopt}, {"9223372036854775807", 0, LLONG_MAX, LLONG_MAX},
        {"9223372036854775808", 0, LLONG_MAX, std::nullopt},
        {"-9223372036854775808", LLONG_MIN, 0, LLONG_MIN},
    };
    for (const Case& c : cases) EXPECT_EQ(parse_decimal(c.text, c.min, c.max), c.value) << '"' << c.text << '"';
}

}  // namespace
}  // namespace vesk::tools
