// Keyword edits by name, CHARGE and AUX: what goes, where the new token lands, refusals.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "editing/edit_helpers.hpp"

namespace vesk::input::mopac {
namespace {

using test_support::Edit;
using test_support::Lines;
using test_support::lines_after;

void check(const Lines& start, const std::vector<std::pair<Edit, Lines>>& rows) {
    for (std::size_t i = 0; i < rows.size(); ++i) EXPECT_EQ(lines_after(start, rows[i].first), rows[i].second) << i;
}

Edit set(const char* name, std::optional<std::string_view> value, unsigned long long width = 78) {
    return [=](InputEditor& e) { e.set_keyword(name, value, width); };
}

Edit remove(const char* name, bool removed, unsigned long long width = 78) {
    return [=](InputEditor& e) { EXPECT_EQ(e.remove_keyword(name, width), removed) << name; };
}

TEST(keyword_edits, worked_example) {
    check({"PM7 CHARGE=1 UHF AUX(PRECISION=9)"},
          {
              {set("charge", "-1"), {"PM7 UHF AUX(PRECISION=9) charge=-1"}},
              {set("UHF", std::nullopt), {"PM7 CHARGE=1 AUX(PRECISION=9) UHF"}},
              {set("AUX(PRECISION=3)", std::nullopt), {"PM7 CHARGE=1 UHF AUX(PRECISION=3)"}},
              {remove("aux", true), {"PM7 CHARGE=1 UHF"}},
              {remove("CHARGE=7", true), {"PM7 UHF AUX(PRECISION=9)"}},
              {remove("AUXILIARY", false), {"PM7 CHARGE=1 UHF AUX(PRECISION=9)"}},
              {[](InputEditor& e) { e.add_keyword("CHARGE=2", 78); }, {"PM7 CHARGE=1 UHF AUX(PRECISION=9) CHARGE=2"}},
              {[](InputEditor& e) { e.add_keyword("", 14); }, {"PM7 CHARGE=1 +", "UHF +", "AUX(PRECISION=9)"}},
          });
}

TEST(keyword_edits, every_token_of_the_name_goes_across_lines) {
    check({"PM7 CHARGE=1 +", "CHARGE=2 charge UHF"},
          {
              {remove("CHARGE", true), {"PM7 UHF"}},
              {set(" Charge ", "0"), {"PM7 UHF Charge=0"}},
              {remove("AUX", false, 0), {"PM7 +", "CHARGE=1 +", "CHARGE=2 +", "charge +", "UHF"}},
          });
}

TEST(keyword_edits, name_and_value_are_written_as_given) {
    check({"PM7 KEY=a b =x (y) +=1"},
          {
              {set("KEY=1", "2"), {"PM7 b =x (y) +=1 KEY=1=2"}},
              {set("KEY", ""), {"PM7 b =x (y) +=1 KEY="}},
              {set("KEY", " 1 "), {"PM7 b =x (y) +=1 KEY= 1"}},
              {set("", std::nullopt), {"PM7 KEY=a b +=1"}},
              {set("", "5"), {"PM7 KEY=a b +=1 =5"}},
              {set("+", std::nullopt), {"PM7 KEY=a b =x (y)"}},
              {remove("", true), {"PM7 KEY=a b +=1"}},
          });
}

TEST(keyword_edits, repeats_set_once_and_add_twice) {
    InputEditor editor = test_support::editor_with({"UHF PM7 CHARGE=1"});
    for (int i = 0; i < 2; ++i) editor.set_keyword("uhf", std::nullopt, 78);
    for (const char* text : {"  X=1\t", "X=1", "", "\t+\n"}) editor.add_keyword(text, 12);
    EXPECT_EQ(editor.input().keyword_lines, (Lines{"PM7 +", "CHARGE=1 +", "uhf X=1 X=1"}));
}

TEST(charge_and_aux, worked_example_and_repeats) {
    const auto charge = [](int value) { return [value](InputEditor& e) { e.set_charge(value, 78); }; };
    const auto aux = [](int precision, bool all, unsigned long long width = 78) {
        return [=](InputEditor& e) { e.set_auxiliary_output(precision, all, width); };
    };
    check({"PM7 aux CHARGE=1 UHF"},
          {
              {charge(0), {"PM7 aux UHF CHARGE=0"}},
              {charge(-2), {"PM7 aux UHF CHARGE=-2"}},
              {aux(9, false), {"PM7 CHARGE=1 UHF AUX(PRECISION=9)"}},
              {aux(18, true), {"PM7 CHARGE=1 UHF AUX(PRECISION=18,XP,XS,XW)"}},
              {[](InputEditor& e) { EXPECT_TRUE(e.clear_auxiliary_output(78)); }, {"PM7 CHARGE=1 UHF"}},
          });
    check({"charge=1 AUX(PRECISION=9, XP) AUXILIARY Aux=2 +", "CHARGE=3"},
          {
              {[](InputEditor& e) {
                   e.set_charge(std::numeric_limits<int>::min(), 78);
                   e.set_charge(std::numeric_limits<int>::max(), 78);
               },
               {"AUX(PRECISION=9, XP) AUXILIARY Aux=2 CHARGE=2147483647"}},
              {[](InputEditor& e) {
                   e.set_auxiliary_output(0, true, 78);
                   e.set_auxiliary_output(3, false, 78);
               },
               {"charge=1 AUXILIARY CHARGE=3 AUX(PRECISION=3)"}},
              {aux(18, true, 10), {"charge=1 +", "AUXILIARY +", "CHARGE=3 +", "AUX(PRECISION=18,XP,XS,XW)"}},
          });
}

TEST(charge_and_aux, refused_precision_changes_nothing) {
    // Lines wider than the width of the refused call: a rewrap would show.
    InputEditor editor = test_support::editor_with({"PM7   aux(precision=2)  CHARGE=1 UHF +", "  XYZ"});
    const std::string before = editor.to_string();
    for (int precision : {-1, 19, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        EXPECT_THAT([&] { editor.set_auxiliary_output(precision, true, 5); },
                    ::testing::ThrowsMessage<std::invalid_argument>(
                        ::testing::StrEq("MOPAC AUX precision must be between 0 and 18")))
            << precision;
        EXPECT_EQ(editor.to_string(), before) << precision;
    }
}

}  // namespace
}  // namespace vesk::input::mopac
