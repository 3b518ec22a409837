// The XYZ format of mopac-input: atoms read, bad lines named.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "xyz.hpp"

namespace vesk::tools {
namespace {

TEST(parse_xyz, reads_atoms_and_names_the_bad_line) {
    XyzFile water = parse_xyz("3\nwater molecule\nO 0 0 0\nH 0.9572 0 0 extra\r\nH -0.24 +0.93 0\n\n");
    EXPECT_EQ(water.comment, "water molecule");
    ASSERT_EQ(water.geometry.atoms.size(), 3u);
    EXPECT_EQ(water.geometry.atoms[2].y, 0.93);

    const std::pair<std::string, std::string> bad[] = {
        {"", "line 1: expected the number of atoms"},
        {"two\nx\n", "line 1: expected the number of atoms"},
        {"2\nc\nO 0 0 0\n", "line 4: the file ends after 1 of 2 atoms"},
        {"2\nc\nO 0 0 0\nH 1,5 0 0\n", "line 4: expected an element and three coordinates, found \"H 1,5 0 0\""},
        {"1\nc\nO 0 0 0\nH 1 0 0\n", "line 4: more lines than the 1 atoms"},
        // counts that "2 + count" wrapped around to a small number
        {"18446744073709551615\nc\nO 0 0 0\n", "line 4: the file ends after 1 of 18446744073709551615 atoms"},
        {"18446744073709551614\nc\n", "line 3: the file ends after 0 of 18446744073709551614 atoms"},
        {"18446744073709551616\nc\n", "line 1: expected the number of atoms"},
    };
    for (const auto& [text, message] : bad) {
        try {
            parse_xyz(text);
            ADD_FAILURE() << "accepted: " << text;
        } catch (const XyzError& error) {
            EXPECT_EQ(error.what(), message);
        }
    }
}

}  // namespace
}  // namespace vesk::tools
