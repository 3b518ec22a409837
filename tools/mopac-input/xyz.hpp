// Reading and writing the XYZ geometry format, extended XYZ included: a
// comment line of key=value pairs that carries the cell (Lattice=), the
// charge and the multiplicity, which ASE and other chemistry tools read.
#pragma once

#include <array>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <vesk/core/geometry.hpp>

namespace vesk::tools {

/// An XYZ file: the atom count line, a comment line, one atom per line.
struct XyzFile {
    std::string comment;  ///< the comment line, or its title= value in extended XYZ
    core::Geometry geometry;
    std::vector<std::array<double, 3>> lattice;  ///< Lattice= vectors with pbc true (at most 3)
    std::optional<int> charge;                   ///< charge=
    std::optional<unsigned int> multiplicity;    ///< multiplicity=
};

/// A malformed XYZ file; what() names the line: "line 4: expected ...".
class XyzError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Parses XYZ text; extra columns behind the three coordinates are ignored.
/// An extended comment line gives the lattice (vectors whose pbc is T, all
/// three without pbc=), charge=, multiplicity= and title=.
XyzFile parse_xyz(std::string_view text);

/// Writes one extended-XYZ frame: coordinates at full precision (the
/// shortest decimal that reads back to the same double); the comment line
/// holds Lattice= and pbc= when there are lattice vectors, charge=,
/// multiplicity= when known, and the title, all as valid UTF-8 (bytes that
/// are not UTF-8 are taken as Latin-1).
std::string format_xyz(const XyzFile& frame);

/// The same frame in parts, for a writer that streams its atoms: the count
/// and comment lines of a frame of `atoms` atoms (frame.geometry unused),
/// then one line per atom.
void append_xyz_head(std::string& out, std::size_t atoms, const XyzFile& frame);
void append_xyz_atom(std::string& out, std::string_view element, double x, double y, double z);

/// `text` as valid UTF-8: well-formed sequences stay, any other byte is
/// taken as Latin-1 ("\xE9" -> "é").
std::string as_utf8(std::string_view text);

}  // namespace vesk::tools
