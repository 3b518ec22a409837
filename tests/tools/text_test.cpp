// The text helpers of mopac-input: strict whole numbers, AUX options, escapes.
#include <gtest/gtest.h>

#include <climits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

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

TEST(aux_options, are_the_parts_between_the_parentheses) {
    using Options = std::vector<std::string>;
    const std::pair<std::string, Options> cases[] = {
        {"AUX", {}},
        {"aux()", {}},
        {"AUX(PRECISION=9)", {"PRECISION=9"}},
        {"AUX(PRECISION=9,XP,XS,XW)", {"PRECISION=9", "XP", "XS", "XW"}},
        {"AUX(PRECISION=9, XP)", {"PRECISION=9", "XP"}},
        {"AUX(MOS=-3,COMP(1,2),XP", {"MOS=-3", "COMP(1,2)", "XP"}},  // unclosed: to the end
        {"AUX=XP", {"XP"}},
    };
    for (const auto& [token, options] : cases) EXPECT_EQ(aux_options(token), options) << token;
}

TEST(escape_for_terminal, keeps_text_and_utf8_and_escapes_the_rest) {
    const std::pair<std::string, std::string> cases[] = {
        {"Ethanol, C2H6O", "Ethanol, C2H6O"},
        {"\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80", "\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80"},  // é € and an emoji stay
        {"a\tb\r\n\\", "a\\tb\\r\\n\\\\"},
        {std::string("\x1b[2J\x00\x7f", 6), "\\x1b[2J\\x00\\x7f"},
        {"\xc2\x9b" "1m", "\\xc2\\x9b1m"},                     // C1 control (CSI)
        {"\xff\xc3(\xe2\x82", "\\xff\\xc3(\\xe2\\x82"},  // invalid, truncated
        {"\xc0\xaf\xed\xa0\x80\xf4\x90\x80\x80",            // overlong, surrogate, > U+10FFFF
         "\\xc0\\xaf\\xed\\xa0\\x80\\xf4\\x90\\x80\\x80"},
    };
    for (const auto& [text, escaped] : cases) EXPECT_EQ(escape_for_terminal(text), escaped) << escaped;
}

}  // namespace
}  // namespace vesk::tools
