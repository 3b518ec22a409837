// The fixed head with the line cutting rule, the coordinate lines, number
// tokens against std::stod and std::stoi, and the same bytes whatever locale
// the host selected.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cfloat>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <locale>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "text/numbers.hpp"
#include "vesk/input/mopac/parser.hpp"

namespace vesk::input::mopac {
namespace {

using Lines = std::vector<std::string>;
using ::testing::ElementsAre;

TEST(parse_string, reads_or_refuses_the_fixed_head) {
    const std::string no_title = "MOPAC input is missing the title line";
    const std::string no_comment = "MOPAC input is missing the comment line";
    const std::string dangling = "MOPAC keyword continuation '+' has no following keyword line";
    struct Case {
        std::string text, error;
        Lines keyword_lines;
        std::string title, comment;
    };
    const Case cases[] = {
        {"", "MOPAC input is empty", {}, "", ""}, {"   ", no_title, {"   "}, "", ""}, {"\n", no_comment, {""}, "", ""},
        {"\n\n", "", {""}, "", ""}, {"\r\n", no_title, {""}, "", ""}, {"PM7\n", no_title, {"PM7"}, "", ""},
        {"PM7\nt\n", no_comment, {"PM7"}, "t", ""}, {"PM7\nt\n\n", "", {"PM7"}, "t", ""},
        {"PM7 +", dangling, {"PM7 +"}, "", ""},
        {"PM7 +\nUHF", no_title, {"PM7 +", "UHF"}, "", ""},
        {"a +\nb +\nc +\nd\nt\nc\n", "", {"a +", "b +", "c +", "d"}, "t", "c"},
        {"a +\n\nt\nc\n", "", {"a +", ""}, "t", "c"}, {"+\nx\ny", no_comment, {"+", "x"}, "y", ""},
        {"PM7\n+\n+\n", "", {"PM7"}, "+", "+"}, {" PM7 \r\n  t  \r\n c \r\n", "", {" PM7 "}, "  t  ", " c "},
        {"PM7\r\r\nt\nc\n", "", {"PM7\r"}, "t", "c"}, {"PM7 &\nt\nc\n", "", {"PM7 &"}, "t", "c"},
        {std::string("PM7\ry\nt\0\nc\r", 11), "", {"PM7\ry"}, std::string("t\0", 2), "c"},  // LF alone ends a line
    };
    for (const auto& c : cases) {
        const ParseResult r = parse_string(c.text);
        SCOPED_TRACE(testing::PrintToString(c.text));
        EXPECT_EQ(r.error, c.error);
        EXPECT_TRUE(r.ok == c.error.empty() && (r.ok || r.warnings.empty()));
        EXPECT_EQ(r.input.keyword_lines, c.keyword_lines);
        EXPECT_EQ(r.input.title + "|" + r.input.comment, c.title + "|" + c.comment);
    }
    EXPECT_THROW(parse_string(std::string_view(nullptr, 5)), std::logic_error);
    EXPECT_EQ(parse_string(std::string_view()).error, "MOPAC input is empty");
    const ParseResult unreadable = parse_file("/nonexistent-dir/none.mop");
    EXPECT_THAT(unreadable.error, testing::StartsWith("failed to read MOPAC input file: "));
    EXPECT_TRUE(unreadable.warnings.empty() && unreadable.input.keyword_lines.empty());
}

// Kind, flag mark and every field that recognition sets, as one text: "A+ O 1 7 2 -3 3 2".
std::string shape(CoordinateRecord r) {
    const std::string head = {"ATR"[static_cast<int>(r.kind)], r.has_optimization_flags ? '+' : ' ', ' '};
    r.kind = CoordinateKind::Atom;
    r.has_optimization_flags = true;
    return head + format_coordinate(r);
}

TEST(coordinate_line, recognises_atoms_and_translation_vectors_by_shape) {
    const std::pair<std::string, std::string> cases[] = {
        {"O 0.0 0.0 0.0", "A  O 0 1 0 1 0 1"}, {"O 1.0 1 2.0 0 3.0 1", "A+ O 1 1 2 0 3 1"},
        {" \tO\v1\f2\r3 \t ", "A  O 1 1 2 1 3 1"}, {"tv 5 0 0", "T  tv 5 1 0 1 0 1"},
        {"TV 5.0 1 0.0 0 0.0 0", "T+ TV 5 1 0 0 0 0"}, {"tV 1 2 3", "T  tV 1 1 2 1 3 1"},
        {"Tv1 1 2 3", "A  Tv1 1 1 2 1 3 1"}, {"1.0 2.0 3.0 4.0", "A  1.0 2 1 3 1 4 1"},
        {"O 1 7 2 -3 3 +2", "A+ O 1 7 2 -3 3 2"}, {"O 0x10 inf -5e-1", "A  O 16 1 inf 1 -0.5 1"},
        // Raw records keep what was read before the line was given up.
        {"O 1.5 1 120.0 1 60.0 1 1 2 3", "R   0 1 0 1 0 1"}, {"O 1.0 2.0", "R   0 1 0 1 0 1"},
        {"C(ATOM 1) 1 2 3", "R   0 1 0 1 0 1"}, {"\f", "R   0 1 0 1 0 1"}, {"O 1 2 z", "R  O 1 1 2 1 0 1"},
        {"O 1.0D+00 0 0", "R  O 1 1 0 1 0 1"}, {"O 1 T 2 T 3 T", "R+ O 1 1 0 1 0 1"},
        {"O 1 7.0 2 0 3 0", "R+ O 1 7 0 1 0 1"}, {"O 1e400 0 0", "R  O 0 1 0 1 0 1"},
        {"O 0x1p+-1 0 0", "R  O 1 1 0 1 0 1"}, {"O 1 99999999999 0 0 0 0", "R+ O 1 1 0 1 0 1"},
        {"O 1-2 3", "R   0 1 0 1 0 1"}, {"O 1 2 3 4 5 6.5", "R+ O 1 2 3 4 5 6"},
    };
    for (const auto& [line, expected] : cases) {
        const ParseResult r = parse_string("PM7\ntitle\ncomment\n" + line + "\n");
        ASSERT_EQ(r.input.coordinates.size(), 1u) << line;
        EXPECT_EQ(shape(r.input.coordinates[0]), expected) << line;
        EXPECT_EQ(r.input.coordinates[0].raw_line, expected[0] == 'R' ? line : "") << line;
    }
}

TEST(coordinate_section, ends_at_the_first_blank_line_and_counts_raw_records) {
    const std::string none =
        "MOPAC input contains no coordinate records; this is valid only for restart/OLDGEO-style jobs";
    ParseResult r = parse_string("PM7\nt\nc\nO 0 0 0\nbad line\r\r\nH 1 0 0\r\r\n \t \nN 0 0 0\n\n");
    ASSERT_EQ(r.input.coordinates.size(), 3u);
    EXPECT_EQ(r.input.coordinates[1].raw_line, "bad line\r");  // one of two CRs stays
    EXPECT_EQ(r.input.coordinates[2].kind, CoordinateKind::Atom);
    EXPECT_THAT(r.input.trailing_lines, ElementsAre(" \t ", "N 0 0 0", "", ""));
    EXPECT_THAT(r.warnings, ElementsAre("1 coordinate/auxiliary line(s) were preserved as raw MOPAC records"));
    EXPECT_THAT(parse_string("PM7\r\nt\r\nc\r\nO 0 0 0\r\n\r\n").input.trailing_lines, ElementsAre(""));
    EXPECT_THAT(parse_string("PM7\nt\nc\n").warnings, ElementsAre(none));
    r = parse_string("PM7\nt\nc\n\nO 0 0 0\n");
    EXPECT_TRUE(r.warnings == Lines{none} && r.input.trailing_lines == (Lines{"", "O 0 0 0"}));
    std::string many = "PM7\nt\nc\n";
    for (int i = 0; i < 12; ++i) many += "C 1 2 3 4 5 6 7 8\nH 0 0 0\n";
    EXPECT_THAT(parse_string(many).warnings,
                ElementsAre("12 coordinate/auxiliary line(s) were preserved as raw MOPAC records"));
}

// A host that selects a locale with a decimal comma for the whole process,
// as GUI programs do with setlocale(LC_ALL, "").
TEST(locale, a_decimal_comma_host_reads_and_writes_as_the_c_locale) {
    const char* selected = nullptr;
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "ru_RU.UTF-8"}) {
        if (selected == nullptr && std::setlocale(LC_ALL, name) != nullptr) selected = name;
    }
    if (selected == nullptr) GTEST_SKIP() << "no locale with a decimal comma (localedef -i de_DE -f UTF-8 de_DE.UTF-8)";
    std::locale::global(std::locale(selected));
    char probe[16];
    std::snprintf(probe, sizeof probe, "%.1f", 1.5);
    const std::string text = "PM7\nwater\n\nO 0 1 0 1 0 1\nH 0.96 0 0\nH -0.24 1 1234567.5 1 1e-05 0\nC 1,5 0 0\n";
    const ParseResult r = parse_string(text);
    const std::string rendered = r.input.to_string();
    std::locale::global(std::locale::classic());
    std::setlocale(LC_ALL, "C");

    EXPECT_EQ(std::string(probe), "1,5") << selected << " has no decimal comma";
    ASSERT_EQ(r.input.coordinates.size(), 4u);
    EXPECT_EQ(r.input.coordinates[2].z, 1e-05);
    EXPECT_EQ(r.input.coordinates[3].kind, CoordinateKind::Raw);  // a decimal comma is never a number
    EXPECT_EQ(rendered, text);
}

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
        "1.0D+00", "1,5", "0x1p+-1", "0x1.8P-+2", "infinit", "nan(a b", "-0xg", "1e-400", "0x1p99999", "4.9e-324", "1e-310x",
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
        } else if (i % 6 == 0) {  // plain decimals around the limits of the exact fast conversion
            token = (pick(3) == 0 ? "-" : "") + std::to_string(random() >> pick(64));
            token.insert(token.size() - pick(token.size()), ".");
            if (pick(2) == 0) token += "e" + std::to_string(static_cast<int>(pick(60)) - 30);
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
        ASSERT_EQ(detail::parse_double_token(token, mine), reference(token, theirs, stod)) << token;
        ASSERT_TRUE(std::memcmp(&mine, &theirs, sizeof mine) == 0 || (std::isnan(mine) && std::isnan(theirs))) << token;
        if (i >= tokens.size() && i % 6 == 0) {  // MOPAC's own reading of the same number, with a Fortran exponent
            std::string fortran = token;
            for (char& c : fortran) c = c == 'e' ? 'D' : c;
            std::size_t end = 0;
            ASSERT_TRUE(detail::read_number_in_line(fortran, 0, mine, end) && end == fortran.size()) << fortran;
            ASSERT_TRUE(std::memcmp(&mine, &theirs, sizeof mine) == 0) << fortran;
            if (detail::read_plain_number(token, 0, mine, end)) {  // the inline path, where it takes the number
                ASSERT_TRUE(end == token.size() && std::memcmp(&mine, &theirs, sizeof mine) == 0) << token;
            }
        }
        int mine_int = -7, their_int = -7;
        ASSERT_EQ(detail::parse_int_token(token, mine_int), reference(token, their_int, stoi)) << token;
        ASSERT_EQ(mine_int, their_int) << token;
    }
    // The one difference: a value that rounds up to the smallest normal double
    // is no subnormal result and so no range error, though glibc reports one.
    double value = 0.0;
    EXPECT_TRUE(detail::parse_double_token("2.2250738585072012e-308", value) && value == DBL_MIN);
}

}  // namespace
}  // namespace vesk::input::mopac
