// Line splitting, the continuation test and the fixed head of the parse.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "parser/reader.hpp"
#include "vesk/input/mopac/parser.hpp"

namespace vesk::input::mopac {
namespace {

using Lines = std::vector<std::string>;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(split_lines, follows_lf_cr_and_final_empty_line_rules) {
    struct Case {
        std::string text;
        Lines lines;
    };
    const Case cases[] = {
        {"", {}},
        {"\n", {"", ""}},
        {"\r", {""}},
        {"\r\n", {""}},
        {"x", {"x"}},
        {"x\n", {"x"}},
        {"x\n\n", {"x", "", ""}},
        {"x\n\n\n", {"x", "", "", ""}},
        {"x\r\n\r\n", {"x", ""}},
        {"x\ry\n", {"x\ry"}},
        {"x\r\r\n", {"x\r"}},
        {"a\nb", {"a", "b"}},
        {"a\r\nb\r", {"a", "b"}},
        {std::string("a\0b\nc", 5), {std::string("a\0b", 3), "c"}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(detail::split_lines(c.text), c.lines) << "text: " << ::testing::PrintToString(c.text);
    }
}

TEST(keyword_line_continues, answers_for_lone_plus_tokens_only) {
    const std::pair<std::string, bool> cases[] = {
        {"", false},          {"   ", false},         {"+", true},           {"  +  ", true},
        {"PM7 +", true},      {"+ PM7", true},       {"PM7 + CHARGE=1", true}, {"PM7 +1", false},
        {"PM7 +(a)", false},  {"PM7 '+'", false},    {"PM7 (+)", false},    {"'a +", false},
        {"(a + b)", false},   {"+)", false},         {"PM7\t+\r", true},    {"a)+ b", false},
        {"x) + y", true},     {"\"q\" +", true},     {"+\v", true},         {"++", false},
    };
    for (const auto& [line, continues] : cases) {
        EXPECT_EQ(keyword_line_continues(line), continues) << "line: " << ::testing::PrintToString(line);
    }
}

struct HeadCase {
    const char* name;
    std::string text;
    bool ok;
    std::string error;
    Lines keyword_lines;
    std::string title;
    std::string comment;
};

TEST(parse_string, reads_or_refuses_the_fixed_head) {
    const std::string no_title = "MOPAC input is missing the title line";
    const std::string no_comment = "MOPAC input is missing the comment line";
    const std::string dangling = "MOPAC keyword continuation '+' has no following keyword line";
    const HeadCase cases[] = {
        {"empty", "", false, "MOPAC input is empty", {}, "", ""},
        {"blanks only", "   ", false, no_title, {"   "}, "", ""},
        {"one LF", "\n", false, no_comment, {""}, "", ""},
        {"two LF", "\n\n", true, "", {""}, "", ""},
        {"one CR", "\r", false, no_title, {""}, "", ""},
        {"CR LF", "\r\n", false, no_title, {""}, "", ""},
        {"keywords alone", "PM7", false, no_title, {"PM7"}, "", ""},
        {"keywords alone with LF", "PM7\n", false, no_title, {"PM7"}, "", ""},
        {"no comment", "PM7\nt\n", false, no_comment, {"PM7"}, "t", ""},
        {"empty comment", "PM7\nt\n\n", true, "", {"PM7"}, "t", ""},
        {"head only", "PM7\nt\nc", true, "", {"PM7"}, "t", "c"},
        {"dangling mark", "PM7 +", false, dangling, {"PM7 +"}, "", ""},
        {"mark then line", "PM7 +\nUHF", false, no_title, {"PM7 +", "UHF"}, "", ""},
        {"three continued", "a +\nb +\nc +\nd\nt\nc\n", true, "", {"a +", "b +", "c +", "d"}, "t", "c"},
        {"empty continued line", "a +\n\nt\nc\n", true, "", {"a +", ""}, "t", "c"},
        {"lone plus first", "+\nx\ny", false, no_comment, {"+", "x"}, "y", ""},
        {"plus in title is text", "PM7\n+\n+\n", true, "", {"PM7"}, "+", "+"},
        {"blanks kept", " PM7 \r\n  t  \r\n c \r\n", true, "", {" PM7 "}, "  t  ", " c "},
        {"one CR only goes", "PM7\r\r\nt\nc\n", true, "", {"PM7\r"}, "t", "c"},
        {"ampersand does not continue", "PM7 &\nt\nc\n", true, "", {"PM7 &"}, "t", "c"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ParseResult r = parse_string(c.text);
        EXPECT_EQ(r.ok, c.ok);
        EXPECT_EQ(r.error, c.error);
        EXPECT_EQ(r.input.keyword_lines, c.keyword_lines);
        EXPECT_EQ(r.input.title, c.title);
        EXPECT_EQ(r.input.comment, c.comment);
        if (!r.ok) {
            EXPECT_THAT(r.warnings, IsEmpty());
        }
    }
}

TEST(parse_string, warns_about_raw_records_or_missing_coordinates) {
    const std::string none =
        "MOPAC input contains no coordinate records; this is valid only for restart/OLDGEO-style jobs";
    EXPECT_THAT(parse_string("PM7\nt\nc\n").warnings, ElementsAre(none));
    EXPECT_THAT(parse_string("PM7\nt\nc\n\nO 0 0 0\n").warnings, ElementsAre(none));
    EXPECT_THAT(parse_string("PM7\nt\nc\nO 0 0 0\n").warnings, IsEmpty());
    EXPECT_THAT(parse_string("PM7\nt\nc\nO 0 0\n").warnings,
                ElementsAre("1 coordinate/auxiliary line(s) were preserved as raw MOPAC records"));
    std::string text = "PM7\nt\nc\n";
    for (int i = 0; i < 12; ++i) text += "C 1 2 3 4 5 6 7 8\nH 0 0 0\n";
    ParseResult r = parse_string(text);
    EXPECT_TRUE(r.ok);
    EXPECT_THAT(r.warnings, ElementsAre("12 coordinate/auxiliary line(s) were preserved as raw MOPAC records"));
}

TEST(parse_string, keeps_trailing_section_and_its_empty_lines) {
    ParseResult lf = parse_string("PM7\nt\nc\nO 0 0 0\n\n");
    EXPECT_THAT(lf.input.trailing_lines, ElementsAre("", ""));
    EXPECT_EQ(lf.input.to_string(), "PM7\nt\nc\nO 0 0 0\n\n\n");  // each round adds one LF

    ParseResult crlf = parse_string("PM7\r\nt\r\nc\r\nO 0 0 0\r\n\r\n");
    EXPECT_THAT(crlf.input.trailing_lines, ElementsAre(""));
    EXPECT_EQ(crlf.input.to_string(), "PM7\nt\nc\nO 0 0 0\n\n");

    ParseResult plain = parse_string("PM7\nt\nc\nO 0 0 0\n");
    EXPECT_THAT(plain.input.trailing_lines, IsEmpty());
    EXPECT_EQ(plain.input.to_string(), "PM7\nt\nc\nO 0 0 0\n");
}

TEST(parse_string, refuses_a_null_view_with_a_length_but_reads_an_empty_one) {
    EXPECT_THROW(parse_string(std::string_view(nullptr, 5)), std::logic_error);
    EXPECT_EQ(parse_string(std::string_view()).error, "MOPAC input is empty");
}

TEST(parse_file, reports_read_failures_with_the_reason) {
    ParseResult r = parse_file("/nonexistent-dir/none.mop");
    EXPECT_FALSE(r.ok);
    EXPECT_THAT(r.error, ::testing::StartsWith("failed to read MOPAC input file: "));
    EXPECT_THAT(r.error, ::testing::HasSubstr("No such file or directory"));
    EXPECT_THAT(r.warnings, IsEmpty());
    EXPECT_TRUE(r.input.keyword_lines.empty());
}

TEST(parse_file, reads_a_bundled_input) {
    ParseResult r = parse_file(VESK_TEST_DATA_DIR "/ethanol_flags.mop");
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_THAT(r.input.keyword_lines, ElementsAre("PM7 CHARGE=0 +", "AUX(PRECISION=9) SINGLET"));
    EXPECT_EQ(r.input.cartesian_geometry().atoms.size(), 9u);
    EXPECT_THAT(r.warnings, IsEmpty());
}

}  // namespace
}  // namespace vesk::input::mopac
