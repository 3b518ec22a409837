// Writing files: the rendered text reads back, a failed write throws the fixed
// message, and a builder chain edits one document and goes on after it.
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

auto fails_with(const std::string& path) {
    return testing::ThrowsMessage<std::runtime_error>(testing::StrEq("failed to write MOPAC input file: " + path));
}

TEST(write_file, writes_what_parse_file_reads_back_or_throws_the_fixed_message) {
    vesk::test_support::TempDir dir;
    const MopacInput water = parse_string("PM7 CHARGE=1 +\nTRIPLET\nwater\n\nO 0 1 0 1 0 1\nH 0.96 0 0\nend\n").input;
    water.write_file(dir.path() + "/water.mop");
    EXPECT_EQ(parse_file(dir.path() + "/water.mop").input.to_string(), water.to_string());
    InputEditor editor(water);
    editor.add_coordinate(water.coordinates[1]);  // behind the raw record "end", the last of the block
    editor.write_file(dir.path() + "/water.mop");
    EXPECT_EQ(vesk::core::fs::read_text_file(dir.path() + "/water.mop"),
              "PM7 CHARGE=1 +\nTRIPLET\nwater\n\nO 0 1 0 1 0 1\nH 0.96 0 0\nend\nH 0.96 0 0\n");
    for (const std::string& path : {dir.path() + "/missing dir/water.mop", dir.path(), std::string()}) {
        EXPECT_THAT([&] { water.write_file(path); }, fails_with(path));
        EXPECT_THAT([&] { editor.write_file(path); }, fails_with(path));
    }
}

TEST(write_file, a_builder_chain_edits_one_document_and_goes_on_after_a_failed_write) {
    vesk::test_support::TempDir dir;
    const MopacInput parsed = parse_string("AM1\nt\nc\nC 0 0 0\nTv 3 0 0\n C 1.0 1 \n\nend\n").input;
    InputBuilder builder(parsed);
    vesk::core::Geometry geometry;
    geometry.atoms = {{"N", 1, 2, 3}, {"H", 0.5, 0, 0}};
    InputBuilder& end = builder.set_method("PM7").set_charge(0).set_multiplicity(1).set_auxiliary_output(9, false)
                            .set_title("title").set_comment("").set_geometry(geometry, true)  // all three records go
                            .add_translation_vector(5.5, 0, 0).add_atom({"He", 0, 0, 1}, false);
    EXPECT_EQ(&end, &builder);
    EXPECT_EQ(builder.to_string(), "PM7 CHARGE=0 MS=0 AUX(PRECISION=9)\ntitle\n\n"
                                   "N 1 1 2 1 3 1\nH 0.5 1 0 1 0 1\nTv 5.5 0 0\nHe 0 0 0 0 1 0\n\nend\n");
    EXPECT_EQ(builder.input().coordinates[2].element, "");
    const std::vector<vesk::core::Atom> atoms = builder.input().cartesian_geometry().atoms;  // no "Tv"
    EXPECT_TRUE(atoms.size() == 3 && atoms[0].element == "N" && atoms[0].z == 3 && atoms[2].element == "He");
    EXPECT_EQ(parsed.cartesian_geometry().atoms.size(), 1u);  // the raw line has no atom
    EXPECT_THAT([&] { builder.write_file(dir.path()); }, fails_with(dir.path()));
    builder.set_keywords({"AM1"}).add_keyword("X").set_keyword("Y", "").clear_auxiliary_output()
        .set_geometry(parsed.coordinates).write_file(dir.path() + "/good.mop");
    EXPECT_EQ(vesk::core::fs::read_text_file(dir.path() + "/good.mop"),
              "AM1 X Y=\ntitle\n\nC 0 0 0\nTv 3 0 0\n C 1.0 1 \n\nend\n");
    EXPECT_EQ(builder.set_geometry(vesk::core::Geometry{}, false).to_string(), "AM1 X Y=\ntitle\n\n\nend\n");
}

}  // namespace
}  // namespace vesk::input::mopac
