// Keyword line layout: packing at the widths where the result changes, and set_keywords.
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "editing/edit_helpers.hpp"
#include "editing/keyword_layout.hpp"

namespace vesk::input::mopac {
namespace {

using test_support::Lines;

TEST(keyword_layout, worked_example_at_every_boundary_width) {
    const Lines tokens = {"AAAA", "BBBB", "CCCC", "DDDD"};
    const Lines alone = {"AAAA +", "BBBB +", "CCCC +", "DDDD"};
    const Lines last_pair = {"AAAA +", "BBBB +", "CCCC DDDD"};
    const Lines two_pairs = {"AAAA BBBB +", "CCCC DDDD"};
    const Lines three_one = {"AAAA BBBB CCCC +", "DDDD"};
    const Lines one_line = {"AAAA BBBB CCCC DDDD"};
    const std::pair<unsigned long long, Lines> cases[] = {
        {0, alone},      {1, alone},      {5, alone},      {8, alone},      {9, last_pair},
        {10, last_pair}, {11, two_pairs}, {15, two_pairs}, {16, three_one}, {18, three_one},
        {19, one_line},  {std::numeric_limits<unsigned long long>::max(), one_line},
    };
    for (const auto& [width, lines] : cases) {
        EXPECT_EQ(detail::layout_keyword_lines(tokens, width), lines) << "width " << width;
    }
}

TEST(keyword_layout, cleans_tokens_but_never_splits_them) {
    const std::pair<Lines, Lines> at_width_4[] = {
        {{}, {""}},
        {{"", " ", "\t\r\n", "+", " + "}, {""}},
        {{"LONGTOKEN", "X", "Y"}, {"LONGTOKEN +", "X Y"}},
        {{"ONE-VERY-LONG-TOKEN"}, {"ONE-VERY-LONG-TOKEN"}},
        {{" a b ", "c +"}, {"a b +", "c +"}},  // inner blanks and a glued "+" stay
        {{"pm7", "pm7"}, {"pm7 +", "pm7"}},
        {{"\vX\f"}, {"\vX\f"}},  // vertical tab and form feed are no blanks here
    };
    for (const auto& [tokens, lines] : at_width_4) EXPECT_EQ(detail::layout_keyword_lines(tokens, 4), lines);
    EXPECT_EQ(detail::layout_keyword_lines({"AAAA", "BBBB"}, 9), Lines{"AAAA BBBB"});
    EXPECT_EQ(detail::layout_keyword_lines({"AAAA", "BBBB"}, 8), (Lines{"AAAA +", "BBBB"}));
}

TEST(editor_set_keywords, replaces_the_whole_block_at_the_width_of_each_call) {
    InputEditor editor = test_support::editor_with({"  pm7   uhf  +", "MS=1"});
    editor.set_title("  water \t");  // verbatim, blanks kept
    EXPECT_EQ(editor.to_string(), "  pm7   uhf  +\nMS=1\n  water \t\n\n");
    editor.set_keywords({"AAAA", "BBBB", "CCCC", "DDDD"}, 11);
    EXPECT_EQ(editor.input().keyword_lines, (Lines{"AAAA BBBB +", "CCCC DDDD"}));
    // Its own lines as the argument: each whole line is one token here.
    editor.set_keywords(editor.input().keyword_lines, 0);
    EXPECT_EQ(editor.input().keyword_lines, (Lines{"AAAA BBBB + +", "CCCC DDDD"}));
    editor.set_keywords(editor.keywords(), 78);
    EXPECT_EQ(editor.input().keyword_lines, Lines{"AAAA BBBB CCCC DDDD"});
    editor.set_keywords({" + "}, 78);
    EXPECT_EQ(editor.to_string(), "\n  water \t\n\n");
}

}  // namespace
}  // namespace vesk::input::mopac
