// The document on its own: keyword tokens and the continuation mark, names
// and queries, coordinate lines and the whole text.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "vesk/input/mopac/parser.hpp"

namespace vesk::input::mopac {
namespace {

using Lines = std::vector<std::string>;

MopacInput with_lines(Lines lines) {
    MopacInput input;
    input.keyword_lines = std::move(lines);
    return input;
}

TEST(normalize_keyword_name, cuts_at_the_first_equals_or_paren_and_upper_cases) {
    const std::pair<std::string_view, std::string> cases[] = {
        {"charge=1", "CHARGE"}, {" aux(precision=9) ", "AUX"}, {"ms = 1", "MS"}, {"a (b)=c", "A"}, {"X=Y(Z)", "X"},
        {"pm6-dh+", "PM6-DH+"}, {"+=1", "+"}, {"=5", ""}, {"(a)", ""}, {"   ", ""}, {"\"A=B\"", "\"A"},
        {"\v\fuhf\t\r\n", "UHF"}, {"\xc3\xa9t\xc3\xa9", "\xc3\xa9T\xc3\xa9"},  // only a-z change case
    };
    for (const auto& [text, name] : cases) EXPECT_EQ(normalize_keyword_name(text), name) << '[' << text << ']';
}

// A line continues the block exactly when it has a token "+", which the token list leaves out.
TEST(keyword_tokens, split_outside_quotes_and_parentheses_and_leave_out_the_mark) {
    const std::tuple<std::string, Lines, bool> cases[] = {
        {"AUX(PRECISION=9, XP) + T=1", {"AUX(PRECISION=9, XP)", "T=1"}, true},
        {"X 'it''s' 'a b' (p(q) r) s) t", {"X", "'it''s'", "'a b'", "(p(q) r)", "s)", "t"}, false},
        {"X \"a b\" 'a b'x (c d)(e)", {"X", "\"a b\"", "'a b'x", "(c d)(e)"}, false},
        {"('a)' b) '(' x", {"('a)' b)", "'('", "x"}, false},  // quotes count inside parentheses, not the reverse
        {"A'b c +", {"A'b c +"}, false}, {"(a + b", {"(a + b"}, false}, {"(a + b)", {"(a + b)"}, false},
        {"a)+ b", {"a)+", "b"}, false}, {"x) + y", {"x)", "y"}, true}, {"+)", {"+)"}, false},
        {"+1 '+' ++ (+) +(a)", {"+1", "'+'", "++", "(+)", "+(a)"}, false}, {"+ PM7\t+\r", {"PM7"}, true},
        {"\tA\vB\fC\rD\nE ", {"A", "B", "C", "D", "E"}, false}, {"   ", {}, false}, {"\v+", {}, true},
    };
    for (const auto& [line, tokens, continues] : cases) {
        EXPECT_EQ(with_lines({line}).keyword_tokens(), tokens) << line;
        EXPECT_EQ(keyword_line_continues(line), continues) << line;
    }
    EXPECT_EQ(with_lines({"PM7 + CHARGE=1 +", "", "A 'open +", "UHF"}).keyword_tokens(),
              (Lines{"PM7", "CHARGE=1", "A", "'open +", "UHF"}));  // nothing carries over from line to line
}

TEST(keyword_queries, answer_from_the_first_token_of_a_name) {
    const MopacInput input = with_lines({"CHARGE=1 charge=2 AUX(PRECISION=9,XP) Z(5) Y(5)x W(5 +",
                                         "T='a b' Q='1' K= F() V(a(b)) U(a)=b +", "PM7 A = 3"});
    const std::pair<std::string_view, std::optional<std::string>> rows[] = {
        {"CHARGE", "1"}, {" charge=5 ", "1"}, {"AUX", "9,XP)"}, {"Z", "5"}, {"Y", ""}, {"W", ""}, {"T", "'a b'"},
        {"Q", "'1'"}, {"K", ""}, {"F", ""}, {"V", "a(b)"}, {"U", "b"}, {"PM7", ""}, {"A", ""}, {"3", ""}, {"=", ""},
        {"", ""}, {"PM", std::nullopt}, {"AUXILIARY", std::nullopt}, {"+", std::nullopt},  // marks are no tokens
    };
    for (const auto& [name, value] : rows) {
        EXPECT_EQ(input.has_keyword(name), value.has_value()) << '[' << name << ']';
        EXPECT_EQ(input.keyword_value(name), value) << '[' << name << ']';
    }
    for (const auto& empty : {with_lines({}), with_lines({"", " \t "})}) EXPECT_FALSE(empty.has_keyword(""));
}

CoordinateRecord record(CoordinateKind kind, std::string element, double x, bool flags = false, int fx = 1) {
    CoordinateRecord r;
    r.kind = kind;
    r.element = std::move(element);
    r.x = x;
    r.has_optimization_flags = flags;
    r.optimize_x = fx;
    return r;
}

TEST(format_coordinate, writes_numbers_as_percent_12g_in_each_line_form) {
    std::mt19937_64 random(7);
    for (int i = 0; i < 100000; ++i) {
        const std::uint64_t bits = random();
        double value = 0.0;
        std::memcpy(&value, &bits, sizeof value);
        if (std::isnan(value)) continue;
        char expected[64];
        std::snprintf(expected, sizeof expected, "X %.12g 0 0", value);
        ASSERT_EQ(format_coordinate(record(CoordinateKind::Atom, "X", value)), expected);
    }
    using K = CoordinateKind;
    CoordinateRecord raw = record(K::Raw, "O", 1, true, 0);
    raw.raw_line = "  C 1.0 1 120.0 1 60.0 1 1 2 3  ";
    const std::pair<CoordinateRecord, std::string> cases[] = {
        {record(K::Atom, "X", -0.0), "X -0 0 0"}, {record(K::Atom, "C", 1, true, -1), "C 1 -1 0 1 0 1"},
        {record(K::Atom, "C", 1, false, 0), "C 1 0 0"}, {record(K::Atom, "", 1), " 1 0 0"},
        {record(K::Atom, "X", 0, true, INT_MIN), "X 0 -2147483648 0 1 0 1"},
        {record(K::TranslationVector, "tv", 10), "Tv 10 0 0"},
        {record(K::TranslationVector, "", 10, true), "Tv 10 1 0 1 0 1"}, {raw, raw.raw_line},
        {record(K::Raw, "", 0, true), ""},
    };
    for (const auto& [r, line] : cases) EXPECT_EQ(format_coordinate(r), line);
}

TEST(to_string, always_writes_the_three_head_lines_and_validates_nothing) {
    EXPECT_EQ(with_lines({}).to_string() + "|" + with_lines({""}).to_string() + "|" + with_lines({"", ""}).to_string(),
              "\n\n\n|\n\n\n|\n\n\n\n");
    MopacInput odd = with_lines({"A +"});  // a mark is written because it is in the line
    odd.title = "two\nlines";
    EXPECT_EQ(odd.to_string(), "A +\ntwo\nlines\n\n");
}

}  // namespace
}  // namespace vesk::input::mopac
