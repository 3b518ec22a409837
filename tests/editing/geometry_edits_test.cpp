// Geometry edits: only the coordinate block changes, records land in call order.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "vesk/core/geometry.hpp"
#include "vesk/input/mopac/editor.hpp"

namespace vesk::input::mopac {
namespace {

MopacInput parsed_like() {
    MopacInput input;
    input.keyword_lines = {"PM7 CHARGE=1 +", "UHF"};
    input.title = "title";
    input.coordinates.resize(3);
    input.coordinates[0].element = "C";
    input.coordinates[1].kind = CoordinateKind::TranslationVector;
    input.coordinates[1].x = 3;
    input.coordinates[2].kind = CoordinateKind::Raw;
    input.coordinates[2].raw_line = " C 1.0 1 120.0 1 ";
    input.trailing_lines = {"", "end"};
    return input;
}

constexpr const char* head = "PM7 CHARGE=1 +\nUHF\ntitle\n\n";

TEST(geometry_edits, replace_and_append_in_call_order) {
    InputEditor editor(parsed_like());
    vesk::core::Geometry geometry;
    geometry.atoms = {{"N", 1, 2, 3}, {"H", 0.5, 0, 0}};
    editor.set_geometry(geometry, true);
    editor.add_translation_vector(5.5, 0, 0);
    editor.add_atom({"He", 0, 0, 1}, false);
    EXPECT_EQ(editor.to_string(),
              std::string(head) + "N 1 1 2 1 3 1\nH 0.5 1 0 1 0 1\nTv 5.5 0 0\nHe 0 0 0 0 1 0\n\nend\n");
    EXPECT_EQ(editor.input().coordinates[2].element, "");

    editor.set_geometry(vesk::core::Geometry{}, true);
    EXPECT_EQ(editor.to_string(), std::string(head) + "\nend\n");
    CoordinateRecord odd;
    odd.kind = CoordinateKind::Raw;  // an empty raw line is stored as it is
    editor.set_geometry(parsed_like().coordinates);
    editor.add_coordinate(odd);
    EXPECT_EQ(editor.to_string(), std::string(head) + "C 0 0 0\nTv 3 0 0\n C 1.0 1 120.0 1 \n\n\nend\n");
}

}  // namespace
}  // namespace vesk::input::mopac
