// Recognition of coordinate lines and the split into coordinates and trailing lines.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "vesk/input/mopac/parser.hpp"

namespace vesk::input::mopac {
namespace {

using ::testing::ElementsAre;
using Kind = CoordinateKind;

CoordinateRecord parse_one(const std::string& line) {
    ParseResult r = parse_string("PM7\ntitle\ncomment\n" + line + "\n");
    EXPECT_TRUE(r.ok);
    EXPECT_EQ(r.input.coordinates.size(), 1u) << line;
    return r.input.coordinates.empty() ? CoordinateRecord{} : r.input.coordinates.front();
}

struct LineCase {
    std::string line;
    Kind kind;
    std::string element;
    double x, y, z;
    bool flags;
    int fx, fy, fz;
};

TEST(coordinate_line, recognises_atoms_and_translation_vectors_by_shape) {
    const LineCase cases[] = {
        {"O 0.0 0.0 0.0", Kind::Atom, "O", 0, 0, 0, false, 1, 1, 1},
        {"O 1.0 1 2.0 0 3.0 1", Kind::Atom, "O", 1, 2, 3, true, 1, 0, 1},
        {"  \tO 0 0 0 \t ", Kind::Atom, "O", 0, 0, 0, false, 1, 1, 1},
        {"tv 5 0 0", Kind::TranslationVector, "tv", 5, 0, 0, false, 1, 1, 1},
        {"TV 5.0 1 0.0 0 0.0 0", Kind::TranslationVector, "TV", 5, 0, 0, true, 1, 0, 0},
        {"tV 1 2 3", Kind::TranslationVector, "tV", 1, 2, 3, false, 1, 1, 1},
        {"Tv1 1 2 3", Kind::Atom, "Tv1", 1, 2, 3, false, 1, 1, 1},
        {"6 0 0 0", Kind::Atom, "6", 0, 0, 0, false, 1, 1, 1},
        {"1.0 2.0 3.0 4.0", Kind::Atom, "1.0", 2, 3, 4, false, 1, 1, 1},
        {"* 1 2 3", Kind::Atom, "*", 1, 2, 3, false, 1, 1, 1},
        {"O 1 7 2 -3 3 +2", Kind::Atom, "O", 1, 2, 3, true, 7, -3, 2},
        {"O 1. .5 +2e1", Kind::Atom, "O", 1, 0.5, 20, false, 1, 1, 1},
        {"O 0x10 0 0", Kind::Atom, "O", 16, 0, 0, false, 1, 1, 1},
        {"O 1.5 1 120.0 1 60.0 1", Kind::Atom, "O", 1.5, 120, 60, true, 1, 1, 1},
        {"C(ATOM 1) 1 2 3", Kind::Raw, "", 0, 0, 0, false, 1, 1, 1},  // 5 tokens
        {"O\v1\f2\r3", Kind::Atom, "O", 1, 2, 3, false, 1, 1, 1},
        // Raw records keep what was read before the line was given up.
        {"O 1.5 1 120.0 1 60.0 1 1 2 3", Kind::Raw, "", 0, 0, 0, false, 1, 1, 1},
        {"O 1.0 2.0", Kind::Raw, "", 0, 0, 0, false, 1, 1, 1},
        {"O 1.0 2.0 3.0 extra", Kind::Raw, "", 0, 0, 0, false, 1, 1, 1},
        {"O 1 2 z", Kind::Raw, "O", 1, 2, 0, false, 1, 1, 1},
        {"O 1.0D+00 0 0", Kind::Raw, "O", 1, 0, 0, false, 1, 1, 1},
        {"O 1 T 2 T 3 T", Kind::Raw, "O", 1, 0, 0, true, 1, 1, 1},
        {"O 1 1.0 2 0 3 0", Kind::Raw, "O", 1, 0, 0, true, 1, 1, 1},
        {"O 1e400 0 0", Kind::Raw, "O", 0, 0, 0, false, 1, 1, 1},
        {"O 1e-400 0 0", Kind::Raw, "O", 0, 0, 0, false, 1, 1, 1},
        {"O 1 99999999999 0 0 0 0", Kind::Raw, "O", 1, 0, 0, true, 1, 1, 1},
        {"O 1,5 0 0", Kind::Raw, "O", 1, 0, 0, false, 1, 1, 1},
        {"O 0x1p+-1 0 0", Kind::Raw, "O", 1, 0, 0, false, 1, 1, 1},
        {"\f", Kind::Raw, "", 0, 0, 0, false, 1, 1, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        CoordinateRecord r = parse_one(c.line);
        EXPECT_EQ(r.kind, c.kind);
        EXPECT_EQ(r.element, c.element);
        EXPECT_EQ(r.x, c.x);
        EXPECT_EQ(r.y, c.y);
        EXPECT_EQ(r.z, c.z);
        EXPECT_EQ(r.has_optimization_flags, c.flags);
        EXPECT_EQ(r.optimize_x, c.fx);
        EXPECT_EQ(r.optimize_y, c.fy);
        EXPECT_EQ(r.optimize_z, c.fz);
        EXPECT_EQ(r.raw_line, c.kind == Kind::Raw ? c.line : "");
    }
}

TEST(coordinate_line, reads_infinity_and_nan) {
    CoordinateRecord r = parse_one("O inf nan 0");
    EXPECT_EQ(r.kind, Kind::Atom);
    EXPECT_TRUE(std::isinf(r.x));
    EXPECT_TRUE(std::isnan(r.y));
}

TEST(coordinate_section, ends_at_the_first_blank_line) {
    ParseResult r = parse_string(
        "PM7\nt\nc\n"
        "O 0 0 0\n"
        "bad line here\n"
        "H 1 0 0\n"
        " \t \n"
        "N 0 0 0\n"
        "Tv 5 0 0\n");
    ASSERT_TRUE(r.ok);
    ASSERT_EQ(r.input.coordinates.size(), 3u);
    EXPECT_EQ(r.input.coordinates[0].element, "O");
    EXPECT_EQ(r.input.coordinates[1].kind, Kind::Raw);
    EXPECT_EQ(r.input.coordinates[1].raw_line, "bad line here");
    EXPECT_EQ(r.input.coordinates[2].element, "H");
    EXPECT_THAT(r.input.trailing_lines, ElementsAre(" \t ", "N 0 0 0", "Tv 5 0 0"));
    EXPECT_THAT(r.warnings, ElementsAre("1 coordinate/auxiliary line(s) were preserved as raw MOPAC records"));
}

TEST(coordinate_section, a_line_with_two_cr_keeps_one_in_raw_records) {
    ParseResult r = parse_string("PM7\nt\nc\nO 0 0 0\r\r\nbad\r\r\n");
    ASSERT_EQ(r.input.coordinates.size(), 2u);
    EXPECT_EQ(r.input.coordinates[0].kind, Kind::Atom);
    EXPECT_EQ(r.input.coordinates[1].raw_line, "bad\r");
}

TEST(coordinate_section, a_leading_blank_line_leaves_no_coordinates) {
    ParseResult r = parse_string("PM7\nt\nc\n\nO 0 0 0\n");
    EXPECT_TRUE(r.input.coordinates.empty());
    EXPECT_THAT(r.input.trailing_lines, ElementsAre("", "O 0 0 0"));
}

}  // namespace
}  // namespace vesk::input::mopac
