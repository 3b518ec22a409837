// Method selection and spin state: which tokens go, where the new ones land,
// the MS= number form, refusals, and concurrent first use of the name sets.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "editing/edit_helpers.hpp"

namespace vesk::input::mopac {
namespace {

using test_support::Lines;
using test_support::lines_after;

auto method(std::string name, unsigned long long width = 78) {
    return [name, width](InputEditor& e) { e.set_method(name, width); };
}

TEST(set_method, worked_example) {
    const Lines start = {"CHARGE=1 pm3 UHF +", "AM1(X) AUX(PRECISION=9)"};
    const std::pair<test_support::Edit, Lines> cases[] = {
        {method("PM7"), {"PM7 CHARGE=1 UHF AUX(PRECISION=9)"}},
        {method("rm1"), {"rm1 CHARGE=1 UHF AUX(PRECISION=9)"}},
        {method("  PM6-D3H4  "), {"PM6-D3H4 CHARGE=1 UHF AUX(PRECISION=9)"}},
        {method(""), {"CHARGE=1 UHF AUX(PRECISION=9)"}},
        {method(" \t+\n"), {"CHARGE=1 UHF AUX(PRECISION=9)"}},
        {method("XYZ"), {"XYZ CHARGE=1 UHF AUX(PRECISION=9)"}},
        {[](InputEditor& e) { method("XYZ")(e); method("PM7")(e); }, {"PM7 XYZ CHARGE=1 UHF AUX(PRECISION=9)"}},
        {[](InputEditor& e) { method("XYZ")(e); method("XYZ")(e); }, {"XYZ XYZ CHARGE=1 UHF AUX(PRECISION=9)"}},
        {[](InputEditor& e) { method("PM7")(e); method("PM7")(e); }, {"PM7 CHARGE=1 UHF AUX(PRECISION=9)"}},
        {method("PM7", 20), {"PM7 CHARGE=1 UHF +", "AUX(PRECISION=9)"}},
    };
    for (const auto& [edit, lines] : cases) EXPECT_EQ(lines_after(start, edit), lines);
}

TEST(set_method, removes_all_eighteen_methods_in_any_case_and_nothing_else) {
    const Lines start = {"X am1 MINDO3=1 +", "mndod MNDO-D(2) pm6-dh+ PM6-D3H4X 'PM7' PM7-TSX +",
                         "Pm6-Org pm7-ts INDO MNDO PM6 PM6-D3 PM6-DH2 PM6-DH2X PM6-D3H4 PM3 RM1 PM7 Y"};
    EXPECT_EQ(lines_after(start, method("pm7")), Lines{"pm7 X 'PM7' PM7-TSX Y"});
    EXPECT_EQ(lines_after({"PM7"}, method("")), Lines{""});
}

TEST(set_multiplicity, worked_example_and_number_forms) {
    const Lines start = {"PM7 TRIPLET CHARGE=1 +", "uhf MS=1.5 AUX(PRECISION=9)"};
    const std::pair<unsigned int, const char*> cases[] = {
        {1, "MS=0"},         {2, "UHF MS=0.5"},   {3, "UHF MS=1"},          {4, "UHF MS=1.5"},
        {12, "UHF MS=5.5"},  {14, "UHF MS=6.5"},  {2000000000, "UHF MS=999999999.5"},
        {4294967294U, "UHF MS=2147483646.5"},     {4294967295U, "UHF MS=2147483647"},
    };
    for (const auto& [m, tail] : cases) {
        EXPECT_EQ(lines_after(start, [m = m](InputEditor& e) { e.set_multiplicity(m, 78); }),
                  Lines{std::string("PM7 CHARGE=1 AUX(PRECISION=9) ") + tail})
            << m;
    }
}

TEST(set_multiplicity, removes_spin_tokens_anywhere_and_appends_at_the_end) {
    const Lines start = {"uhf Singlet(x) PM7 ms=2 DOUBLET quartet +",
                         "QUINTET SEXTET SEPTET OCTET NONET MS = 1 HIGHSPIN UHFX CHARGE=1"};
    const auto twice = [](unsigned int m) {
        return [m](InputEditor& e) { e.set_multiplicity(m, 78); e.set_multiplicity(m, 78); };
    };
    EXPECT_EQ(lines_after(start, twice(1)), Lines{"PM7 = 1 HIGHSPIN UHFX CHARGE=1 MS=0"});
    EXPECT_EQ(lines_after(start, twice(3)), Lines{"PM7 = 1 HIGHSPIN UHFX CHARGE=1 UHF MS=1"});
    EXPECT_EQ(lines_after({}, twice(3)), Lines{"UHF MS=1"});
}

TEST(set_multiplicity, zero_is_refused_and_changes_nothing) {
    for (const Lines& start : {Lines{}, Lines{"PM7  TRIPLET +", " CHARGE=1   UHF"}}) {
        InputEditor editor = test_support::editor_with(start);
        const std::string before = editor.to_string();
        EXPECT_THAT([&] { editor.set_multiplicity(0, 1); },
                    ::testing::ThrowsMessage<std::invalid_argument>(
                        ::testing::StrEq("MOPAC multiplicity must be positive")));
        EXPECT_EQ(editor.to_string(), before);
    }
}

// Many threads make the first use of both name sets at once, each on its own
// editor; CI runs it under ThreadSanitizer. CTest starts every test in a
// process of its own, so the sets are still unbuilt when the threads start.
TEST(method_and_spin, ConcurrentEditsOnSeparateEditors) {
    constexpr int thread_count = 16;
    std::atomic<int> ready{0};
    std::vector<std::string> results(thread_count);
    std::vector<std::thread> threads;
    for (int t = 0; t < thread_count; ++t) {
        threads.emplace_back([t, &ready, &results] {
            InputEditor editor = test_support::editor_with({"am1 TRIPLET CHARGE=1 +", "UHF MS=1 PM6"});
            ready.fetch_add(1);
            while (ready.load() < thread_count) std::this_thread::yield();
            for (int round = 0; round < 50; ++round) {
                editor.set_method(t % 2 == 0 ? "PM7" : "rm1", 78);
                editor.set_multiplicity(static_cast<unsigned int>(t % 4) + 1, 78);
            }
            results[static_cast<std::size_t>(t)] = editor.input().keyword_lines.at(0);
        });
    }
    for (auto& thread : threads) thread.join();
    const char* expected[] = {"PM7 CHARGE=1 MS=0", "rm1 CHARGE=1 UHF MS=0.5", "PM7 CHARGE=1 UHF MS=1",
                              "rm1 CHARGE=1 UHF MS=1.5"};
    for (int t = 0; t < thread_count; ++t) EXPECT_EQ(results[static_cast<std::size_t>(t)], expected[t % 4]) << t;
}

}  // namespace
}  // namespace vesk::input::mopac
