// The compatibility checks of mopac-input, one row per kind of finding.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "check.hpp"
#include "xyz.hpp"

namespace vesk::tools {
namespace {

std::vector<std::string> codes(const std::string& text) {
    std::vector<std::string> result;
    for (const Finding& f : check_input(text, input::mopac::parse_string(text))) {
        result.push_back(std::to_string(f.line) + " " + f.code + (f.blocks_edit ? " blocks" : ""));
    }
    return result;
}

TEST(check_input, reports_each_misreading_with_its_line) {
    using Codes = std::vector<std::string>;
    const std::pair<std::string, Codes> cases[] = {
        {"PM7\nwater\n\nO 0 0 0\n", {}},
        {"* comment\nPM7\nwater\nO 0 0 0\n", {"1 star-comment blocks"}},
        {"PM7 &\nT=1\nwater\nO 0 0 0\n", {"1 ampersand blocks"}},
        {"PM7\ntitle &\ncomment\nO 0 0 0\n", {"2 ampersand blocks"}},
        {"PM7\ntitle\ncomment &\nO 0 0 0\n", {}},  // '&' on the comment line means nothing
        {"PM7 ++\nwater\n\n", {"1 double-plus"}},
        {"A +\nB +\nC +\nD\nt\nc\nO 0 0 0\n", {"1 too-many-keyword-lines"}},
        {"PM7\rt\rc\rO 0 0 0\r", {"1 cr-line-ends"}},
        {"PM7 AM1 pm6-d3\nt\nc\nO 0 0 0\n", {"1 several-methods"}},
        {"PM7 TRIPLET MS=1\nt\nc\nO 0 0 0\n", {}},  // both say 3
        {"PM7 TRIPLET MS=0.5\nt\nc\nO 0 0 0\n", {"1 conflicting-spin"}},
        {"PM7 SINGLET DOUBLET\nt\nc\nO 0 0 0\n", {"1 conflicting-spin"}},
        {"PM7\nt\nc\nO 0 1 0 2 0 1\nH inf 0 0\nC 0 -1 0 0 0 1\n", {"4 odd-flag", "5 non-finite"}},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(codes(text), expected) << text;
}

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
