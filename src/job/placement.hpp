// Internal coordinates to Cartesian positions, as MOPAC places atoms, and
// the symmetry data that set dependent coordinates before that.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "job/geometry_line.hpp"

namespace vesk::input::mopac::detail {

using Position = std::array<double, 3>;

/// MOPAC's Bohr radius in Ångström, and the older one that OLDFPC selects.
inline constexpr double bohr_in_angstrom = 0.529177210903;
inline constexpr double old_bohr_in_angstrom = 0.529167;
/// MOPAC's factor from degrees to radians.
inline constexpr double degree = 1.7453292519943e-2;

/// Checks the connectivity of every internal atom: answers the 0-based index
/// of each ill-defined atom (references equal, zero where needed, or to an
/// atom that is not yet placed and not Cartesian, or to none).
std::vector<std::size_t> ill_defined_atoms(const std::vector<ParsedAtom>& atoms);

/// Places all atoms (dummies and translation vectors included) in Å, the
/// Cartesian ones first, then the internal ones in file order. `length_factor`
/// scales lengths (Bohr). On two coincident reference atoms, answers false
/// with the 0-based index of the atom being placed in `failed`.
bool place_atoms(const std::vector<ParsedAtom>& atoms, double length_factor, std::vector<Position>& positions,
                 std::size_t& failed);

/// One line of symmetry data: "ref function dep dep ... 0", or
/// "ref 19 multiplier dep ...". Fields are numbers separated by blanks or commas.
struct SymmetryLine {
    long long reference = 0;
    long long function = 0;
    double multiplier = 1.0;
    std::vector<long long> dependents;
};

/// Reads a symmetry line; false with a reason when it is no such line.
/// `ends_data` is true for a line whose third number is 0.
bool read_symmetry_line(std::string_view view, SymmetryLine& line, bool& ends_data, std::string& reason);

/// Sets the dependent values; false with a reason when the line names an
/// atom or a function that does not exist. Function 18 multiplies a bond
/// length by `depvar` (the keyword DEPVAR=, 1 without it).
bool apply_symmetry(const SymmetryLine& line, double depvar, std::vector<ParsedAtom>& atoms, std::string& reason);

}  // namespace vesk::input::mopac::detail
