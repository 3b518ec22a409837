// Reading and writing the plain XYZ geometry format.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include <vesk/core/geometry.hpp>

namespace vesk::tools {

/// An XYZ file: the atom count line, a comment line, one atom per line.
struct XyzFile {
    std::string comment;
    core::Geometry geometry;
};

/// A malformed XYZ file; what() names the line: "line 4: expected ...".
class XyzError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Parses XYZ text; extra columns behind the three coordinates are ignored.
XyzFile parse_xyz(std::string_view text);

/// Writes an XYZ text with coordinates at full precision: the shortest
/// decimal that reads back to the same double.
std::string format_xyz(const core::Geometry& geometry, std::string_view comment);

}  // namespace vesk::tools
