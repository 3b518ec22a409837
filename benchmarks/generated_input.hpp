// The generated input of the benchmarks, shared by the Google Benchmark
// suite and the read_job timing that the Python package is compared with.
#pragma once

#include <cstddef>
#include <cstdio>
#include <random>
#include <string>

namespace vesk::bench {

// A MOPAC input of `atoms` Cartesian atom lines of 7 tokens with 8 to 12
// significant digits and flags, a continued keyword block and a trailing section.
inline std::string make_input(std::size_t atoms) {
    static const char* const elements[] = {"C", "H", "O", "N", "S", "Cl"};
    std::mt19937_64 random(atoms);
    std::uniform_real_distribution<double> coordinate(-60.0, 60.0);
    std::string text =
        "PM7 CHARGE=0 PRECISE GNORM=0.01 +\n"
        "AUX(PRECISION=9,XP,XS,XW) LET DUMP=3600 +\n"
        "SINGLET THREADS=2\n"
        "generated benchmark system\n"
        "flags and 8-12 significant digits\n";
    char line[160];
    for (std::size_t i = 0; i < atoms; ++i) {
        int digits = 8 + static_cast<int>(random() % 5);
        int n = std::snprintf(line, sizeof line, "%-2s %.*g %d %.*g %d %.*g %d\n", elements[random() % 6], digits,
                              coordinate(random), static_cast<int>(random() % 2), digits, coordinate(random),
                              static_cast<int>(random() % 2), digits, coordinate(random), static_cast<int>(random() % 2));
        text.append(line, static_cast<std::size_t>(n));
    }
    text += "\nOLDGEO restart section\n0 0 0 0\n";
    return text;
}

// The same head with `atoms` lines of a Z-matrix: each atom bonded to the
// one before, angle and dihedral against the two before that.
inline std::string make_zmatrix(std::size_t atoms) {
    static const char* const elements[] = {"C", "H", "O", "N", "S", "Cl"};
    std::mt19937_64 random(atoms);
    std::string text = "PM7 CHARGE=0 PRECISE GNORM=0.01\ngenerated Z-matrix\n\n";
    char line[160];
    for (std::size_t i = 0; i < atoms; ++i) {
        const double r = 1.0 + static_cast<double>(random() % 1000) / 1000.0;
        const double angle = 90.0 + static_cast<double>(random() % 600) / 10.0;
        const double dihedral = -180.0 + static_cast<double>(random() % 3600) / 10.0;
        const std::size_t na = i >= 1 ? i : 0, nb = i >= 2 ? i - 1 : 0, nc = i >= 3 ? i - 2 : 0;
        int n = std::snprintf(line, sizeof line, "%-2s %.10g 1 %.10g 1 %.10g 1 %zu %zu %zu\n", elements[random() % 6], r,
                              angle, dihedral, na, nb, nc);
        text.append(line, static_cast<std::size_t>(n));
    }
    return text;
}

}  // namespace vesk::bench
