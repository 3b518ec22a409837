// Whole-token number conversion agrees with std::stod / std::stoi of the "C"
// locale and a whole-token check: on the forms that random tokens seldom
// reach, on random tokens, and on random numbers near the subnormal range.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "parser/number_parse.hpp"

namespace vesk::input::mopac::detail {
namespace {

template <typename T, typename Convert>
bool reference(const std::string& token, T& value, Convert convert) {
    try {
        std::size_t used = 0;
        value = convert(token, &used);
        return used == token.size();
    } catch (...) {
        return false;  // no number, or a range error: the value stays
    }
}

TEST(number_tokens, agree_with_stod_and_stoi) {
    std::vector<std::string> tokens = {
        "0x1p-1074", "0xAbC.dEfP-3", "1.7976931348623157e308", "0e-999999", "+iNfInItY", "nan(abc_1)", "-0.0",
        "1.0D+00",
        "1,5", "0x1p+-1", "0x1.8P-+2", "infinit", "nan(a b", "-0xg", "1e-400", "0x1p99999", "4.9e-324", "1e-310x",
        "1.4821969375237396e-323", "0x1.0000000000001p-1060", "2147483647", "-2147483648", "2147483648", "-2147483649",
        "99999999999x", "5T", "+7"};
    char exact[800];  // a subnormal written out in full is exact: no range error
    std::snprintf(exact, sizeof exact, "%.760e", 3 * 0x1p-1074);
    tokens.emplace_back(exact);
    std::mt19937_64 random(20261123);
    auto pick = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    const char alphabet[] = "0123456789.eE+-xXpPabcdfinINAty()_";
    const char* exponent_signs[] = {"-", "-", "-", "-", "-", "+-", "-+", "--"};
    const auto stod = [](const std::string& s, std::size_t* used) { return std::stod(s, used); };
    const auto stoi = [](const std::string& s, std::size_t* used) { return std::stoi(s, used); };
    for (std::size_t i = 0; i < tokens.size() + 300000; ++i) {
        std::string token;
        if (i < tokens.size()) {
            token = tokens[i];
        } else if (i % 6 == 2) {  // near and below the smallest normal double
            token = std::to_string(pick(10)) + "." + std::to_string(pick(1000000000)) + "e-" +
                    std::to_string(300 + pick(30));
        } else if (i % 6 == 5) {  // the same in hexadecimal, sometimes with a sign pair that strtod stops at
            char hex[64];
            std::snprintf(hex, sizeof hex, "0x%zx.%llxp%s%zu", pick(4096),
                          static_cast<unsigned long long>(random() % 0xffffffffffULL), exponent_signs[pick(8)],
                          1020 + pick(70));
            token = hex;
        } else {
            for (std::size_t n = 1 + pick(12); n > 0; --n) token += alphabet[pick(sizeof alphabet - 1)];
        }
        double mine = -7.0, theirs = -7.0;
        ASSERT_EQ(parse_double_token(token, mine), reference(token, theirs, stod)) << token;
        ASSERT_TRUE(std::memcmp(&mine, &theirs, sizeof mine) == 0 || (std::isnan(mine) && std::isnan(theirs))) << token;
        int mine_int = -7, their_int = -7;
        ASSERT_EQ(parse_int_token(token, mine_int), reference(token, their_int, stoi)) << token;
        ASSERT_EQ(mine_int, their_int) << token;
    }
    // The one difference: a value that rounds up to the smallest normal double
    // is no subnormal result and so no range error, though glibc reports one.
    double value = 0.0;
    EXPECT_TRUE(parse_double_token("2.2250738585072012e-308", value) && value == DBL_MIN);
}

}  // namespace
}  // namespace vesk::input::mopac::detail
