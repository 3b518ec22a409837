// The library reads and writes the same bytes whatever locale the host selected.
#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <locale>
#include <string>

#include "vesk/input/mopac/parser.hpp"

namespace vesk::input::mopac {
namespace {

// Selects a locale with a decimal comma for the whole process, as GUI hosts
// do with setlocale(LC_ALL, ""), and puts the defaults back afterwards.
class DecimalCommaLocale : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "ru_RU.UTF-8"}) {
            if (std::setlocale(LC_ALL, name) != nullptr) {
                selected_ = name;
                break;
            }
        }
        if (selected_.empty()) {
            GTEST_SKIP() << "\n*** SKIPPED: no locale with a decimal comma is installed "
                            "(generate one with: localedef -i de_DE -f UTF-8 de_DE.UTF-8) ***";
        }
        std::locale::global(std::locale(selected_.c_str()));
        char probe[16];
        std::snprintf(probe, sizeof probe, "%.1f", 1.5);
        ASSERT_EQ(std::string(probe), "1,5") << "the locale " << selected_ << " has no decimal comma";
    }
    void TearDown() override {
        std::locale::global(std::locale::classic());
        std::setlocale(LC_ALL, "C");
    }
    std::string selected_;
};

TEST_F(DecimalCommaLocale, parses_and_renders_as_in_the_c_locale) {
    const std::string text =
        "PM7 CHARGE=1 +\n"
        "TRIPLET\n"
        "water\n"
        "\n"
        "O 0 1 0 1 0 1\n"
        "H 0.96 0 0\n"
        "H -0.24 1 0.929 1 1e-05 0\n"
        "C 1,5 0 0\n";
    ParseResult r = parse_string(text);
    ASSERT_TRUE(r.ok);
    ASSERT_EQ(r.input.coordinates.size(), 4u);
    EXPECT_EQ(r.input.coordinates[1].kind, CoordinateKind::Atom);
    EXPECT_EQ(r.input.coordinates[1].x, 0.96);
    EXPECT_EQ(r.input.coordinates[2].z, 1e-05);
    EXPECT_EQ(r.input.coordinates[3].kind, CoordinateKind::Raw);  // a decimal comma is never a number
    EXPECT_EQ(r.input.to_string(), text);

    CoordinateRecord big;
    big.element = "Si";
    big.x = 1234567.5;
    big.y = -12.345678901234;
    big.z = 1e100;
    EXPECT_EQ(format_coordinate(big), "Si 1234567.5 -12.3456789012 1e+100");
}

}  // namespace
}  // namespace vesk::input::mopac
