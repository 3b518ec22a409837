// The document: keyword tokens and the continuation mark, names and queries,
// coordinate lines, the whole text, and writing it through a builder chain.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "core/temp_dir.hpp"
#include "vesk/core/fs.hpp"
#include "vesk/input/mopac/mopac_input.hpp"

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

TEST(write_file, writes_what_parse_file_reads_back_or_throws_the_fixed_message) {
    vesk::test_support::TempDir dir;
    const auto fails_with = [](const std::string& path) {
        return testing::ThrowsMessage<std::runtime_error>(testing::StrEq("failed to write MOPAC input file: " + path));
    };
    const MopacInput parsed = parse_string("AM1\nt\nc\nC 0 0 0\nTv 3 0 0\n C 1.0 1 \n\nend\n").input;
    EXPECT_EQ(parsed.cartesian_geometry().atoms.size(), 1u);  // no atom of the "Tv" and raw lines
    InputBuilder builder(parsed);
    vesk::core::Geometry geometry;
    geometry.atoms = {{"N", 1, 2, 3}, {"H", 0.5, 0, 0}};
    InputBuilder& end = builder.set_method("PM7").set_charge(0).set_multiplicity(1).set_auxiliary_output(9, false)
                            .set_title("title").set_comment("").set_geometry(geometry, true)  // all three records go
                            .add_translation_vector(5.5, 0, 0).add_atom({"He", 0, 0, 1}, false);
    EXPECT_EQ(&end, &builder);
    const std::string text = "PM7 CHARGE=0 MS=0 AUX(PRECISION=9)\ntitle\n\n"
                             "N 1 1 2 1 3 1\nH 0.5 1 0 1 0 1\nTv 5.5 0 0\nHe 0 0 0 0 1 0\n\nend\n";
    EXPECT_EQ(builder.to_string(), text);
    EXPECT_EQ(builder.input().coordinates[2].element, "");
    const std::vector<vesk::core::Atom> atoms = builder.input().cartesian_geometry().atoms;
    EXPECT_TRUE(atoms.size() == 3 && atoms[0].element == "N" && atoms[0].z == 3 && atoms[2].element == "He");

    for (const std::string& path : {dir.path() + "/missing dir/x.mop", dir.path(), std::string()}) {
        EXPECT_THAT([&] { builder.write_file(path); }, fails_with(path));
    }
    builder.write_file(dir.path() + "/x.mop");
    EXPECT_EQ(parse_file(dir.path() + "/x.mop").input.to_string(), text);
    InputEditor editor(parse_file(dir.path() + "/x.mop").input);
    editor.add_coordinate(parsed.coordinates[2]);  // behind the last record, in front of the trailing lines
    EXPECT_THAT([&] { editor.write_file(dir.path()); }, fails_with(dir.path()));
    EXPECT_THAT([&] { editor.input().write_file(dir.path()); }, fails_with(dir.path()));
    editor.write_file(dir.path() + "/x.mop");
    EXPECT_EQ(vesk::core::fs::read_text_file(dir.path() + "/x.mop"),
              "PM7 CHARGE=0 MS=0 AUX(PRECISION=9)\ntitle\n\n"
              "N 1 1 2 1 3 1\nH 0.5 1 0 1 0 1\nTv 5.5 0 0\nHe 0 0 0 0 1 0\n C 1.0 1 \n\nend\n");
    builder.set_keywords({"AM1"}).add_keyword("X").set_keyword("Y", "").clear_auxiliary_output();
    EXPECT_EQ(builder.set_geometry(parsed.coordinates).to_string(),
              "AM1 X Y=\ntitle\n\nC 0 0 0\nTv 3 0 0\n C 1.0 1 \n\nend\n");
}

}  // namespace
}  // namespace vesk::input::mopac
