// MopacInput::write_file: the whole text or nothing, and the fixed message.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "core/temp_dir.hpp"
#include "vesk/core/fs.hpp"
#include "vesk/input/mopac/mopac_input.hpp"

namespace vesk::input::mopac {
namespace {

using vesk::test_support::TempDir;

MopacInput water() {
    return parse_string("PM7 CHARGE=1 +\nTRIPLET\nwater\n\nO 0 1 0 1 0 1\nH 0.96 0 0\nend\n").input;
}

TEST(write_file, writes_the_rendered_text) {
    TempDir dir;
    const std::string path = dir.path() + "/water.mop";
    water().write_file(path);
    EXPECT_EQ(vesk::core::fs::read_text_file(path), water().to_string());
}

TEST(write_file, throws_the_fixed_message_and_keeps_what_was_there) {
    TempDir dir;
    const std::string old_path = dir.write("with blanks in name.mop", "old bytes\n");
    const std::string cases[] = {
        dir.path() + "/missing dir/water.mop",
        dir.path(),  // a directory
        "",
    };
    for (const auto& path : cases) {
        EXPECT_THAT([&] { water().write_file(path); },
                    ::testing::ThrowsMessage<std::runtime_error>(
                        ::testing::StrEq("failed to write MOPAC input file: " + path)));
    }
    EXPECT_EQ(vesk::core::fs::read_text_file(old_path), "old bytes\n");
    EXPECT_EQ(dir.entries(), std::vector<std::string>{"with blanks in name.mop"});
}

TEST(write_file, editor_and_builder_stay_usable_after_a_failed_write) {
    TempDir dir;
    InputEditor editor(water());
    const std::string bad = dir.path() + "/no such/dir.mop";
    EXPECT_THROW(editor.write_file(bad), std::runtime_error);
    InputBuilder builder(water());
    EXPECT_THAT([&] { builder.write_file(bad); },
                ::testing::ThrowsMessage<std::runtime_error>(
                    ::testing::StrEq("failed to write MOPAC input file: " + bad)));
    builder.set_charge(2);
    const std::string good = dir.path() + "/good.mop";
    builder.write_file(good);
    EXPECT_EQ(vesk::core::fs::read_text_file(good), builder.to_string());
}

}  // namespace
}  // namespace vesk::input::mopac
