// InputEditor: the keyword line layout, the keyword, charge, AUX, method and
// spin edits as tables of worked examples, and refusals.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "editing/keyword_layout.hpp"
#include "vesk/input/mopac/editor.hpp"

namespace vesk::input::mopac {
namespace {

using Lines = std::vector<std::string>;
using Edit = std::function<void(InputEditor&)>;

InputEditor editor_with(Lines keyword_lines) {
    MopacInput input;
    input.keyword_lines = std::move(keyword_lines);
    return InputEditor(std::move(input));
}

// Each row's edit runs on a fresh editor over `start`.
void check(const Lines& start, const std::vector<std::pair<Edit, Lines>>& rows) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
        InputEditor editor = editor_with(start);
        rows[i].first(editor);
        EXPECT_EQ(editor.input().keyword_lines, rows[i].second) << "row " << i;
    }
}

TEST(keyword_layout, packs_at_every_boundary_width_and_never_splits_a_token) {
    const Lines tokens = {"AAAA", "BBBB", "CCCC", "DDDD"};
    const Lines alone = {"AAAA +", "BBBB +", "CCCC +", "DDDD"}, last_pair = {"AAAA +", "BBBB +", "CCCC DDDD"};
    const Lines pairs = {"AAAA BBBB +", "CCCC DDDD"}, three = {"AAAA BBBB CCCC +", "DDDD"};
    const Lines one = {"AAAA BBBB CCCC DDDD"};
    const std::pair<unsigned long long, Lines> widths[] = {{0, alone}, {8, alone}, {9, last_pair}, {10, last_pair},
        {11, pairs}, {15, pairs}, {16, three}, {18, three}, {19, one}, {ULLONG_MAX, one}};
    for (const auto& [width, lines] : widths) EXPECT_EQ(detail::layout_keyword_lines(tokens, width), lines) << width;
    const std::pair<Lines, Lines> at_width_4[] = {
        {{}, {""}}, {{"", " ", "\t\r\n", "+", " + "}, {""}}, {{"LONGTOKEN", "X", "Y"}, {"LONGTOKEN +", "X Y"}},
        {{" a b ", "c +"}, {"a b +", "c +"}}, {{"pm7", "pm7"}, {"pm7 +", "pm7"}}, {{"\vX\f"}, {"\vX\f"}},
    };
    for (const auto& [in, lines] : at_width_4) EXPECT_EQ(detail::layout_keyword_lines(in, 4), lines);

    InputEditor editor = editor_with({"  pm7   uhf  +", "MS=1"});
    editor.set_title("  water \t");
    EXPECT_EQ(editor.to_string(), "  pm7   uhf  +\nMS=1\n  water \t\n\n");
    editor.set_keywords(tokens, 11);
    editor.set_keywords(editor.input().keyword_lines, 0);  // its own lines: each whole line is one token
    EXPECT_EQ(editor.input().keyword_lines, (Lines{"AAAA BBBB + +", "CCCC DDDD"}));
}

Edit set(std::string n, std::optional<std::string> v, unsigned long long w = 78) {
    return [=](InputEditor& e) { e.set_keyword(n, v, w); };
}
Edit remove(std::string n, bool removed, unsigned long long w = 78) {
    return [=](InputEditor& e) { EXPECT_EQ(e.remove_keyword(n, w), removed) << n; };
}
Edit add(std::string k, unsigned long long w = 78) { return [=](InputEditor& e) { e.add_keyword(k, w); }; }
Edit charge(int c) { return [=](InputEditor& e) { e.set_charge(c, 78); }; }
Edit aux(int p, bool x, unsigned long long w = 78) { return [=](InputEditor& e) { e.set_auxiliary_output(p, x, w); }; }
Edit method(std::string m, unsigned long long w = 78) { return [=](InputEditor& e) { e.set_method(m, w); }; }
Edit spin(unsigned int m) { return [=](InputEditor& e) { e.set_multiplicity(m, 78); }; }
Edit both(Edit a, Edit b) { return [=](InputEditor& e) { a(e), b(e); }; }

TEST(keyword_edits, remove_every_token_of_the_name_and_write_the_new_one_last) {
    check({"PM7 CHARGE=1 UHF AUX(PRECISION=9)"},
          {{set("charge", "-1"), {"PM7 UHF AUX(PRECISION=9) charge=-1"}},
           {set("UHF", std::nullopt), {"PM7 CHARGE=1 AUX(PRECISION=9) UHF"}},
           {remove("aux", true), {"PM7 CHARGE=1 UHF"}},
           {remove("AUXILIARY", false), {"PM7 CHARGE=1 UHF AUX(PRECISION=9)"}},
           {add("CHARGE=2"), {"PM7 CHARGE=1 UHF AUX(PRECISION=9) CHARGE=2"}},
           {add("", 14), {"PM7 CHARGE=1 +", "UHF +", "AUX(PRECISION=9)"}}});
    check({"PM7 CHARGE=1 +", "CHARGE=2 charge UHF"},
          {{remove("CHARGE", true), {"PM7 UHF"}},
           {remove("AUX", false, 0), {"PM7 +", "CHARGE=1 +", "CHARGE=2 +", "charge +", "UHF"}},
           {both(both(set("uhf", std::nullopt), set("uhf", std::nullopt)), both(add(" X=1\t", 12), add("X=1", 12))),
            {"PM7 +", "CHARGE=1 +", "CHARGE=2 +", "charge uhf +", "X=1 X=1"}}});
    check({"PM7 KEY=a b =x (y) +=1"},
          {{set("KEY=1", "2"), {"PM7 b =x (y) +=1 KEY=1=2"}}, {set("KEY", ""), {"PM7 b =x (y) +=1 KEY="}},
           {set("KEY", " 1 "), {"PM7 b =x (y) +=1 KEY= 1"}}, {set("", std::nullopt), {"PM7 KEY=a b +=1"}},
           {set("+", std::nullopt), {"PM7 KEY=a b =x (y)"}}, {remove("", true), {"PM7 KEY=a b +=1"}}});
}

TEST(charge_and_aux, replace_their_tokens_by_value) {
    check({"PM7 aux CHARGE=1 UHF"},
          {{charge(0), {"PM7 aux UHF CHARGE=0"}}, {charge(-2), {"PM7 aux UHF CHARGE=-2"}},
           {aux(9, false), {"PM7 CHARGE=1 UHF AUX(PRECISION=9)"}},
           {aux(18, true), {"PM7 CHARGE=1 UHF AUX(PRECISION=18,XP,XS,XW)"}},
           {[](InputEditor& e) { EXPECT_TRUE(e.clear_auxiliary_output(78)); }, {"PM7 CHARGE=1 UHF"}}});
    check({"charge=1 AUX(PRECISION=9, XP) AUXILIARY Aux=2 +", "CHARGE=3"},
          {{both(charge(INT_MIN), charge(INT_MAX)), {"AUX(PRECISION=9, XP) AUXILIARY Aux=2 CHARGE=2147483647"}},
           {aux(18, true, 10), {"charge=1 +", "AUXILIARY +", "CHARGE=3 +", "AUX(PRECISION=18,XP,XS,XW)"}}});
    // Refused arguments change nothing, not even lines wider than the width of the call.
    InputEditor editor = editor_with({"PM7   aux(precision=2)  CHARGE=1 UHF +", "  XYZ"});
    const std::string before = editor.to_string();
    const auto refuses = [](const char* why) {
        return testing::ThrowsMessage<std::invalid_argument>(testing::StrEq(why));
    };
    for (int precision : {-1, 19, INT_MIN, INT_MAX}) {
        EXPECT_THAT([&] { aux(precision, true, 5)(editor); }, refuses("MOPAC AUX precision must be between 0 and 18"));
    }
    EXPECT_THAT([&] { editor.set_multiplicity(0, 5); }, refuses("MOPAC multiplicity must be positive"));
    EXPECT_EQ(editor.to_string(), before);
}

TEST(set_method, removes_every_known_method_and_puts_the_new_name_first) {
    check({"CHARGE=1 pm3 UHF +", "AM1(X) AUX(PRECISION=9)"},
          {{method("rm1"), {"rm1 CHARGE=1 UHF AUX(PRECISION=9)"}},
           {both(method("rm1"), method("PM7")), {"PM7 CHARGE=1 UHF AUX(PRECISION=9)"}},
           {method("  PM6-D3H4  "), {"PM6-D3H4 CHARGE=1 UHF AUX(PRECISION=9)"}},
           {method(""), {"CHARGE=1 UHF AUX(PRECISION=9)"}},
           {both(method("XYZ"), method("PM7")), {"PM7 XYZ CHARGE=1 UHF AUX(PRECISION=9)"}},
           {both(method("XYZ"), method("XYZ")), {"XYZ XYZ CHARGE=1 UHF AUX(PRECISION=9)"}},
           {method("PM7", 20), {"PM7 CHARGE=1 UHF +", "AUX(PRECISION=9)"}}});
    check({"X am1 MINDO3=1 +", "mndod MNDO-D(2) pm6-dh+ PM6-D3H4X 'PM7' PM7-TSX +",
           "Pm6-Org pm7-ts INDO MNDO PM6 PM6-D3 PM6-DH2 PM6-DH2X PM6-D3H4 PM3 RM1 PM7 Y"},
          {{method("pm7"), {"pm7 X 'PM7' PM7-TSX Y"}}, {method(""), {"X 'PM7' PM7-TSX Y"}}});
    check({"PM7"}, {{method(""), {""}}});
}

TEST(set_multiplicity, replaces_every_spin_token_by_uhf_and_ms_at_the_end) {
    const std::pair<unsigned int, const char*> cases[] = {
        {1, "MS=0"}, {2, "UHF MS=0.5"}, {3, "UHF MS=1"}, {4, "UHF MS=1.5"}, {12, "UHF MS=5.5"}, {14, "UHF MS=6.5"},
        {2000000000, "UHF MS=999999999.5"}, {4294967294U, "UHF MS=2147483646.5"}, {4294967295U, "UHF MS=2147483647"},
    };
    for (const auto& [m, tail] : cases) {
        check({"PM7 TRIPLET CHARGE=1 +", "uhf MS=1.5 AUX(PRECISION=9)"},
              {{spin(m), {std::string("PM7 CHARGE=1 AUX(PRECISION=9) ") + tail}}});
    }
    check({"uhf Singlet(x) PM7 ms=2 DOUBLET quartet +",
           "QUINTET SEXTET SEPTET OCTET NONET MS = 1 HIGHSPIN UHFX CHARGE=1"},
          {{both(spin(1), spin(1)), {"PM7 = 1 HIGHSPIN UHFX CHARGE=1 MS=0"}},
           {both(spin(3), spin(3)), {"PM7 = 1 HIGHSPIN UHFX CHARGE=1 UHF MS=1"}}});
    check({}, {{spin(3), {"UHF MS=1"}}});
}

}  // namespace
}  // namespace vesk::input::mopac
