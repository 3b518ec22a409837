// InputBuilder: the same document as the editor at width 78, one object through a chain.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "vesk/input/mopac/builder.hpp"

namespace vesk::input::mopac {
namespace {

using ::testing::StrEq;
using ::testing::ThrowsMessage;

MopacInput start() {
    MopacInput input;
    input.keyword_lines = {"XYZ-LONG-KEYWORD-ONE XYZ-LONG-KEYWORD-TWO XYZ-LONG-KEYWORD-THREE +",
                           "am1 TRIPLET aux CHARGE=1 PRECISE"};
    return input;
}

TEST(input_builder, lays_out_keywords_as_the_editor_at_width_78) {
    InputBuilder builder(start());
    InputEditor editor(start());
    builder.set_method("PM7").set_multiplicity(2).set_charge(-1).set_auxiliary_output(6, true);
    editor.set_method("PM7", 78);
    editor.set_multiplicity(2, 78);
    editor.set_charge(-1, 78);
    editor.set_auxiliary_output(6, true, 78);
    EXPECT_EQ(builder.input().keyword_lines, editor.input().keyword_lines);
    builder.add_keyword(" GNORM=0.1 ").set_keyword("precise", std::nullopt).clear_auxiliary_output();
    editor.add_keyword(" GNORM=0.1 ", 78);
    editor.set_keyword("precise", std::nullopt, 78);
    editor.clear_auxiliary_output(78);
    EXPECT_EQ(builder.input().keyword_lines, editor.input().keyword_lines);
    EXPECT_EQ(builder.input().keyword_lines.size(), 2U);
    builder.set_keywords(editor.keywords());
    EXPECT_EQ(builder.to_string(), editor.to_string());
}

TEST(input_builder, keeps_an_empty_value_apart_from_no_value) {
    InputBuilder builder;
    builder.set_keyword("A", std::nullopt).set_keyword("B", std::string()).set_keyword("C", std::string("1"));
    EXPECT_EQ(builder.input().keyword_lines, std::vector<std::string>{"A B= C=1"});
}

TEST(input_builder, every_call_of_a_chain_acts_on_the_same_object) {
    InputBuilder builder;
    vesk::core::Geometry geometry;
    geometry.atoms = {{"C", 0, 0, 0}, {"O", 1.2, 0, 0}};
    InputBuilder& end = builder.set_method("PM7")
                            .set_charge(0)
                            .set_multiplicity(1)
                            .set_auxiliary_output(9, false)
                            .set_title("carbon monoxide")
                            .set_comment("built")
                            .set_geometry(geometry, true)
                            .add_translation_vector(4, 0, 0)
                            .add_atom({"H", 0, 1, 0}, false);
    EXPECT_EQ(&end, &builder);
    EXPECT_EQ(builder.to_string(),
              "PM7 CHARGE=0 MS=0 AUX(PRECISION=9)\ncarbon monoxide\nbuilt\n"
              "C 0 1 0 1 0 1\nO 1.2 1 0 1 0 1\nTv 4 0 0\nH 0 0 1 0 0 0\n");
    std::vector<CoordinateRecord> records(1);
    records[0].element = "N";
    EXPECT_EQ(&builder.set_geometry(records).set_keywords({"AM1"}), &builder);
    EXPECT_EQ(builder.to_string(), "AM1\ncarbon monoxide\nbuilt\nN 0 0 0\n");
}

TEST(input_builder, a_refused_call_stops_the_chain_and_changes_nothing) {
    InputBuilder builder(start());
    EXPECT_THAT([&] { builder.set_title("before").set_multiplicity(0).set_title("after"); },
                ThrowsMessage<std::invalid_argument>(StrEq("MOPAC multiplicity must be positive")));
    EXPECT_EQ(builder.input().title, "before");
    EXPECT_EQ(builder.input().keyword_lines, start().keyword_lines);
    EXPECT_THAT([&] { builder.set_auxiliary_output(-1, false); },
                ThrowsMessage<std::invalid_argument>(StrEq("MOPAC AUX precision must be between 0 and 18")));
    EXPECT_EQ(builder.input().keyword_lines, start().keyword_lines);
}

TEST(input_builder, survives_a_failed_write) {
    InputBuilder builder;
    const std::string bad = "/nonexistent dir/out.mop";
    EXPECT_THAT([&] { builder.set_method("PM7").write_file(bad); },
                ThrowsMessage<std::runtime_error>(StrEq("failed to write MOPAC input file: " + bad)));
    EXPECT_EQ(builder.set_title("x").to_string(), "PM7\nx\n\n");
}

}  // namespace
}  // namespace vesk::input::mopac
