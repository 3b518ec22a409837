// Rendering of coordinate lines and whole documents, and the atom list.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "vesk/input/mopac/document.hpp"

namespace vesk::input::mopac {
namespace {

CoordinateRecord atom(std::string element, double x, double y, double z) {
    CoordinateRecord r;
    r.element = std::move(element);
    r.x = x;
    r.y = y;
    r.z = z;
    return r;
}

CoordinateRecord flagged(CoordinateRecord r, int fx, int fy, int fz) {
    r.has_optimization_flags = true;
    r.optimize_x = fx;
    r.optimize_y = fy;
    r.optimize_z = fz;
    return r;
}

TEST(format_coordinate, writes_numbers_as_percent_12g) {
    const std::pair<double, const char*> cases[] = {
        {1.5, "1.5"},         {0.0, "0"},          {-0.0, "-0"},          {1.0, "1"},
        {100000.0, "100000"}, {0.0001, "0.0001"},  {0.00001, "1e-05"},    {0.0000001, "1e-07"},
        {-12.345678901234, "-12.3456789012"},      {0.1 + 0.2, "0.3"},    {123456789012.0, "123456789012"},
        {1234567890123.0, "1.23456789012e+12"},    {1e100, "1e+100"},     {-1e-300, "-1e-300"},
        {std::numeric_limits<double>::denorm_min(), "4.94065645841e-324"},
        {INFINITY, "inf"},    {-INFINITY, "-inf"},
    };
    for (const auto& [value, text] : cases) {
        EXPECT_EQ(format_coordinate(atom("X", value, 0, 0)), std::string("X ") + text + " 0 0") << text;
    }
}

TEST(format_coordinate, matches_printf_on_random_doubles) {
    std::mt19937_64 random(7);
    for (int i = 0; i < 100000; ++i) {
        std::uint64_t bits = random();
        double value = 0.0;
        std::memcpy(&value, &bits, sizeof value);
        if (std::isnan(value)) continue;
        char expected[64];
        std::snprintf(expected, sizeof expected, "X %.12g 0 0", value);
        ASSERT_EQ(format_coordinate(atom("X", value, 0, 0)), expected);
    }
}

TEST(format_coordinate, writes_each_kind_in_its_line_form) {
    CoordinateRecord tv = atom("TV", 10, 0, 0);
    tv.kind = CoordinateKind::TranslationVector;
    CoordinateRecord tv_fresh = atom("", 5.5, 0, 0);
    tv_fresh.kind = CoordinateKind::TranslationVector;
    CoordinateRecord raw = flagged(atom("O", 1, 2, 3), 0, 0, 0);
    raw.kind = CoordinateKind::Raw;
    raw.raw_line = "  C 1.0 1 120.0 1 60.0 1 1 2 3  ";
    CoordinateRecord empty_raw;
    empty_raw.kind = CoordinateKind::Raw;
    CoordinateRecord unflagged = atom("C", 1, 2, 3);
    unflagged.optimize_x = 0;  // not written without has_optimization_flags

    const std::pair<CoordinateRecord, std::string> cases[] = {
        {flagged(atom("O", 0, 0, 0), 1, 1, 1), "O 0 1 0 1 0 1"},
        {atom("H", 0.96, 0, 0), "H 0.96 0 0"},
        {flagged(atom("C", 1, 2, 3), 0, -1, 7), "C 1 0 2 -1 3 7"},
        {unflagged, "C 1 2 3"},
        {tv, "Tv 10 0 0"},
        {flagged(tv, 1, 0, 0), "Tv 10 1 0 0 0 0"},
        {tv_fresh, "Tv 5.5 0 0"},
        {raw, "  C 1.0 1 120.0 1 60.0 1 1 2 3  "},
        {empty_raw, ""},
        {atom("", 1, 2, 3), " 1 2 3"},
        {flagged(atom("X", 0, 0, 0), std::numeric_limits<int>::min(), 0, std::numeric_limits<int>::max()),
         "X 0 -2147483648 0 0 0 2147483647"},
    };
    for (const auto& [record, line] : cases) EXPECT_EQ(format_coordinate(record), line);
}

TEST(to_string, writes_head_coordinates_and_trailing_lines) {
    MopacInput doc;
    doc.keyword_lines = {"PM7 CHARGE=1 +", "TRIPLET"};
    doc.title = "water";
    doc.coordinates = {flagged(atom("O", 0, 0, 0), 1, 1, 1), atom("H", 0.96, 0, 0)};
    doc.trailing_lines = {"end"};
    EXPECT_EQ(doc.to_string(), "PM7 CHARGE=1 +\nTRIPLET\nwater\n\nO 0 1 0 1 0 1\nH 0.96 0 0\nend\n");
}

TEST(to_string, always_writes_the_three_head_lines) {
    MopacInput empty;
    EXPECT_EQ(empty.to_string(), "\n\n\n");
    MopacInput one_empty;
    one_empty.keyword_lines = {""};
    EXPECT_EQ(one_empty.to_string(), "\n\n\n");
    MopacInput two_empty;
    two_empty.keyword_lines = {"", ""};
    EXPECT_EQ(two_empty.to_string(), "\n\n\n\n");
    MopacInput odd;
    odd.keyword_lines = {"A +"};  // a mark is written because it is in the line
    odd.title = "two\nlines";     // nothing is validated on output
    EXPECT_EQ(odd.to_string(), "A +\ntwo\nlines\n\n");
}

TEST(cartesian_geometry, keeps_atoms_only_in_order_and_as_written) {
    MopacInput doc;
    CoordinateRecord tv = atom("Tv", 5, 0, 0);
    tv.kind = CoordinateKind::TranslationVector;
    CoordinateRecord raw;
    raw.kind = CoordinateKind::Raw;
    raw.raw_line = "C 1 2";
    doc.coordinates = {flagged(atom("Si", 1, 2, 3), 0, 0, 0), tv, raw, atom("h", -1, -2, -3)};
    vesk::core::Geometry g = doc.cartesian_geometry();
    ASSERT_EQ(g.atoms.size(), 2u);
    EXPECT_EQ(g.atoms[0].element, "Si");
    EXPECT_EQ(g.atoms[0].z, 3.0);
    EXPECT_EQ(g.atoms[1].element, "h");
    EXPECT_EQ(g.atoms[1].x, -1.0);
    EXPECT_TRUE(MopacInput{}.cartesian_geometry().atoms.empty());
}

}  // namespace
}  // namespace vesk::input::mopac
