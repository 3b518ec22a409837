// Geometries that MOPAC hands to other readers: a Gaussian Z-matrix of
// symbols with their values behind it, and PDB records.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "job/geometry_line.hpp"

namespace vesk::input::mopac::detail {

/// The values of the symbols of a Gaussian Z-matrix, from "name value" lines.
class ZMatrixVariables {
public:
    /// Reads "name value" (or "name=value"); false when the line is no such pair.
    bool add_line(std::string_view view);
    /// The value of a symbol, any case; false when it has none.
    bool find(std::string_view name, double& value) const;

private:
    // By name upper-cased; the first value of a name counts.
    std::unordered_map<std::string, double> values_;
};

/// Reads one line of a Gaussian Z-matrix, "El na v nb v nc v", where each v
/// is a number or a symbol (with '-' in front of a dihedral symbol). With
/// `variables` null only the shape is read; symbols then count as 0. Issues
/// go to `issues`. False for a blank line, which ends the Z-matrix.
bool read_gaussian_line(std::string_view view, std::size_t atoms_before, const ZMatrixVariables* variables,
                        ParsedAtom& atom, std::vector<LineIssue>& issues, std::vector<std::string>* symbols = nullptr);

/// Atom names that stand for elements, from "PDB(Q:7,ME:6)": q is nitrogen.
using PdbElementNames = std::vector<std::pair<std::string, int>>;

/// The names of the keyword PDB(...) of a job's keyword text, if any.
PdbElementNames pdb_element_names(std::string_view keyword);

/// Reads one PDB line: ATOM and HETATM records are atoms (element from
/// `names`, else columns 77-78, else the atom name), other records none.
/// Answers LineKind::atom, LineKind::skip, or LineKind::end for a blank line or END.
LineKind read_pdb_line(std::string_view view, const PdbElementNames& names, ParsedAtom& atom,
                       std::vector<LineIssue>& issues);

}  // namespace vesk::input::mopac::detail
