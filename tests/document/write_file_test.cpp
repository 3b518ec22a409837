// Writing files, and a builder chain over a parsed document: the geometry
// worked example, the atom list, a failed write with its fixed message.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "core/temp_dir.hpp"
#include "vesk/core/fs.hpp"
#include "vesk/input/mopac/mopac_input.hpp"

namespace vesk::input::mopac {
namespace {

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
