// Whole-token number conversion: accepted and refused forms, range errors,
// and agreement with std::stod / std::stoi of the "C" locale.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "parser/number_parse.hpp"

namespace vesk::input::mopac::detail {
namespace {

TEST(parse_double_token, accepts_whole_strtod_forms) {
    const std::pair<const char*, double> cases[] = {
        {"0", 0.0},          {"-0.0", -0.0},       {"1.", 1.0},         {".5", 0.5},
        {"+2e1", 20.0},      {"1E-3", 1e-3},       {"-12.3456789012", -12.3456789012},
        {"0x10", 16.0},      {"0X1P3", 8.0},       {"-0x.8", -0.5},     {"0xAbC.dEfP-3", 0xABC.DEFp-3},
        {"0x1p-1074", std::numeric_limits<double>::denorm_min()},
        {"2.2250738585072014e-308", std::numeric_limits<double>::min()},
        // Rounds up to the smallest normal double: no subnormal result, so no
        // range error (glibc's strtod sets ERANGE here all the same).
        {"2.2250738585072012e-308", std::numeric_limits<double>::min()},
        {"1.7976931348623157e308", std::numeric_limits<double>::max()},
        {"0e-999999", 0.0},  {"0.0e999999", 0.0},
    };
    for (const auto& [text, expected] : cases) {
        double value = -7.0;
        EXPECT_TRUE(parse_double_token(text, value)) << text;
        EXPECT_EQ(value, expected) << text;
        EXPECT_EQ(std::signbit(value), std::signbit(expected)) << text;
    }
    double value = 0.0;
    for (const char* text : {"inf", "-INF", "Infinity", "+iNfInItY"}) {
        EXPECT_TRUE(parse_double_token(text, value) && std::isinf(value)) << text;
    }
    for (const char* text : {"nan", "NaN", "-nan", "nan()", "nan(abc_1)"}) {
        EXPECT_TRUE(parse_double_token(text, value) && std::isnan(value)) << text;
    }
}

TEST(parse_double_token, refuses_partial_conversions_but_keeps_their_value) {
    const std::pair<const char*, double> cases[] = {
        {"1.0D+00", 1.0}, {"1e", 1.0},   {"1e+", 1.0},  {"1,5", 1.0},     {"1.5abc", 1.5},
        {"0x", 0.0},      {"0x-1", 0.0}, {"0x.p1", 0.0}, {"0x1p", 1.0},   {"infinit", INFINITY},
        {"nan(a b", NAN}, {"2-3", 2.0},  {"1..2", 1.0},  {"-0xg", -0.0},
        // strtod stops at a 'p' whose exponent has no digits after one sign.
        {"0x1p+-1", 1.0}, {"0x1.8P-+2", 1.5}, {"0x1p--1", 1.0},
    };
    for (const auto& [text, expected] : cases) {
        double value = -7.0;
        EXPECT_FALSE(parse_double_token(text, value)) << text;
        if (std::isnan(expected)) {
            EXPECT_TRUE(std::isnan(value)) << text;
        } else {
            EXPECT_EQ(value, expected) << text;
        }
    }
}

TEST(parse_double_token, refuses_non_numbers_and_range_errors_without_storing) {
    const char* cases[] = {
        "",      "+",      "-",     "+-1",   "--1",    ".",      "e5",    ".e5",   "x",
        "1e400", "-1e400", "1e-400", "0x1p99999", "0x1p-1080",
        "4.9e-324",  // rounds to the smallest subnormal, inexactly
        "2e-320", "1e-310", "1e-310x", "0x1.0000000000001p-1060",
    };
    for (const char* text : cases) {
        double value = -7.0;
        EXPECT_FALSE(parse_double_token(text, value)) << text;
        EXPECT_EQ(value, -7.0) << text;
    }
}

TEST(parse_double_token, accepts_a_subnormal_written_exactly) {
    // The full decimal expansion of 3 * 2^-1074 is exact; 17 digits of it are not.
    char exact[1000];
    std::snprintf(exact, sizeof exact, "%.760e", 3 * std::numeric_limits<double>::denorm_min());
    double value = 0.0;
    EXPECT_TRUE(parse_double_token(exact, value));
    EXPECT_EQ(value, 3 * std::numeric_limits<double>::denorm_min());
    EXPECT_FALSE(parse_double_token("1.4821969375237396e-323", value));
}

TEST(parse_int_token, accepts_decimal_integers_of_32_bits) {
    const std::pair<const char*, int> accepted[] = {
        {"0", 0}, {"-0", 0}, {"+7", 7}, {"-3", -3}, {"0001", 1},
        {"2147483647", 2147483647}, {"-2147483648", std::numeric_limits<int>::min()},
    };
    for (const auto& [text, expected] : accepted) {
        int value = -7;
        EXPECT_TRUE(parse_int_token(text, value)) << text;
        EXPECT_EQ(value, expected) << text;
    }
    const std::pair<const char*, int> partial[] = {{"1.0", 1}, {"1e3", 1}, {"0x10", 0}, {"5T", 5}};
    for (const auto& [text, expected] : partial) {
        int value = -7;
        EXPECT_FALSE(parse_int_token(text, value)) << text;
        EXPECT_EQ(value, expected) << text;
    }
    for (const char* text : {"", "T", "+", "-", "+-1", " 1", "2147483648", "-2147483649", "99999999999",
                             "99999999999x"}) {
        int value = -7;
        EXPECT_FALSE(parse_int_token(text, value)) << text;
        EXPECT_EQ(value, -7) << text;
    }
}

// The reference: what std::stod / std::stoi answer in this process, which
// keeps the "C" locale, followed by the whole-token check.
bool reference_double(const std::string& token, double& value) {
    try {
        std::size_t used = 0;
        value = std::stod(token, &used);
        return used == token.size();
    } catch (...) {
        return false;
    }
}

bool reference_int(const std::string& token, int& value) {
    try {
        std::size_t used = 0;
        value = std::stoi(token, &used);
        return used == token.size();
    } catch (...) {
        return false;
    }
}

TEST(number_tokens, agree_with_stod_and_stoi_on_random_tokens) {
    std::mt19937_64 random(20261123);
    const char alphabet[] = "0123456789.eE+-xXpPabcdfinINAty()_";
    auto pick = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    auto same = [](double a, double b) {
        return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
    };
    for (int i = 0; i < 200000; ++i) {
        std::string token;
        for (std::size_t n = 1 + pick(12); n > 0; --n) token += alphabet[pick(sizeof alphabet - 1)];
        double mine = -7.0, theirs = -7.0;
        ASSERT_EQ(parse_double_token(token, mine), reference_double(token, theirs)) << token;
        ASSERT_TRUE(same(mine, theirs)) << token;
        int mine_int = -7, their_int = -7;
        ASSERT_EQ(parse_int_token(token, mine_int), reference_int(token, their_int)) << token;
        ASSERT_EQ(mine_int, their_int) << token;
    }
    // Numbers near and below the smallest normal double, decimal and hexadecimal.
    for (int i = 0; i < 100000; ++i) {
        char token[64];
        if (i % 2 == 0) {
            std::snprintf(token, sizeof token, "%d.%llue-%d", static_cast<int>(pick(10)),
                          static_cast<unsigned long long>(pick(1000000000)), 300 + static_cast<int>(pick(30)));
        } else {
            // Mostly a plain negative exponent, sometimes a sign pair strtod stops at.
            const char* signs[] = {"-", "-", "-", "-", "-", "+-", "-+", "--"};
            std::snprintf(token, sizeof token, "0x%llx.%llxp%s%d", static_cast<unsigned long long>(pick(4096)),
                          static_cast<unsigned long long>(random() % 0xffffffffffULL), signs[pick(8)],
                          1020 + static_cast<int>(pick(70)));
        }
        double mine = -7.0, theirs = -7.0;
        ASSERT_EQ(parse_double_token(token, mine), reference_double(token, theirs)) << token;
        ASSERT_TRUE(same(mine, theirs)) << token;
    }
}

}  // namespace
}  // namespace vesk::input::mopac::detail
