// Keyword tokens, names and the two queries, read straight from keyword lines.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/keyword_scan.hpp"
#include "vesk/input/mopac/document.hpp"

namespace vesk::input::mopac {
namespace {

using Tokens = std::vector<std::string>;

MopacInput with_lines(std::vector<std::string> lines) {
    MopacInput input;
    input.keyword_lines = std::move(lines);
    return input;
}

TEST(normalize_keyword_name, cuts_at_first_equals_or_paren_and_upper_cases) {
    const std::pair<std::string_view, std::string> cases[] = {
        {"charge=1", "CHARGE"}, {" aux(precision=9) ", "AUX"}, {"ms = 1", "MS"},   {"a (b)=c", "A"},
        {"X=Y(Z)", "X"},        {"pm6-dh+", "PM6-DH+"},        {"+", "+"},         {"+=1", "+"},
        {"=5", ""},             {"(a)", ""},                   {"   ", ""},       {"", ""},
        {"\"A=B\"", "\"A"},                          // quotes protect nothing here
        {"\v\fuhf\t\r\n", "UHF"},                    // all six whitespace bytes are trimmed
        {"\xc3\xa9t\xc3\xa9", "\xc3\xa9T\xc3\xa9"},  // only a-z change case
    };
    for (const auto& [text, name] : cases) EXPECT_EQ(normalize_keyword_name(text), name) << '[' << text << ']';
}

TEST(keyword_tokeniser, splits_outside_quotes_and_parentheses) {
    const std::pair<std::string_view, Tokens> cases[] = {
        {"PM7 CHARGE=1 +", {"PM7", "CHARGE=1", "+"}},
        {"AUX(PRECISION=9, XP) + T=1", {"AUX(PRECISION=9, XP)", "+", "T=1"}},
        {"X 'it''s' 'a b' (p(q) r) s) t", {"X", "'it''s'", "'a b'", "(p(q) r)", "s)", "t"}},
        {"X \"a b\" 'a b'x (c d)(e)", {"X", "\"a b\"", "'a b'x", "(c d)(e)"}},
        {"('a)' b) '(' x", {"('a)' b)", "'('", "x"}},  // quotes count inside parentheses, not the reverse
        {"A'b c", {"A'b c"}},
        {"(a b", {"(a b"}},
        {"(a + b)", {"(a + b)"}},
        {"a)+ b", {"a)+", "b"}},
        {"\tA\vB\fC\rD\nE ", {"A", "B", "C", "D", "E"}},
        {"   ", {}},
        {"", {}},
    };
    for (const auto& [line, tokens] : cases) {
        Tokens found;
        detail::for_each_keyword_token(line, [&found](std::string_view token) { found.emplace_back(token); });
        EXPECT_EQ(found, tokens) << '[' << line << ']';
    }
}

TEST(keyword_tokens, drop_lone_plus_marks_and_restart_each_line) {
    MopacInput input = with_lines({"PM7 + CHARGE=1 +", "+1 '+' ++ (+)", "", "A 'open +", "B (open +", "UHF"});
    EXPECT_EQ(input.keyword_tokens(),
              (Tokens{"PM7", "CHARGE=1", "+1", "'+'", "++", "(+)", "A", "'open +", "B", "(open +", "UHF"}));
    input.keyword_lines = {"AM1"};  // nothing is cached
    EXPECT_EQ(input.keyword_tokens(), Tokens{"AM1"});
    EXPECT_FALSE(input.has_keyword("PM7"));
}

TEST(keyword_queries, answer_from_the_first_token_of_a_name) {
    const MopacInput input = with_lines({"CHARGE=1 charge=2 AUX(PRECISION=9,XP) Z(5) Y(5)x W(5 +",
                                         "T='a b' Q='1' K= F() V(a(b)) U(a)=b +", "PM7 A = 3"});
    const std::pair<std::string_view, std::optional<std::string>> rows[] = {
        {"CHARGE", "1"}, {" charge=5 ", "1"}, {"AUX", "9,XP)"}, {"Z", "5"},        {"Y", ""},   {"W", ""},
        {"T", "'a b'"},  {"Q", "'1'"},        {"K", ""},        {"F", ""},         {"V", "a(b)"}, {"U", "b"},
        {"PM7", ""},     {"A", ""},           {"3", ""},        {"=", ""},         {"", ""},
        {"PM", std::nullopt}, {"AUXILIARY", std::nullopt}, {"+", std::nullopt},  // marks are no tokens
    };
    for (const auto& [name, value] : rows) {
        EXPECT_EQ(input.has_keyword(name), value.has_value()) << '[' << name << ']';
        EXPECT_EQ(input.keyword_value(name), value) << '[' << name << ']';
    }
    for (const auto& empty : {with_lines({}), with_lines({"", " \t "})}) {
        EXPECT_TRUE(empty.keyword_tokens().empty());
        EXPECT_FALSE(empty.has_keyword(""));
        EXPECT_EQ(empty.keyword_value(""), std::nullopt);
    }
}

}  // namespace
}  // namespace vesk::input::mopac
