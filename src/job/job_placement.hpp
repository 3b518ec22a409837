// The atoms of a job read again from its lines, and the one way they are
// placed: symmetry data applied, ill-defined atoms and coincident reference
// atoms found, internal coordinates turned into positions. The reading and
// MopacJob's answers both place atoms through place_job_atoms.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "job/geometry_line.hpp"
#include "job/issues.hpp"
#include "job/placement.hpp"
#include "vesk/input/mopac/job.hpp"

namespace vesk::input::mopac::detail {

/// An atomic number as a placement keeps it: 1 to 107, anything else 0 (an
/// atom that geometry() leaves out either way).
constexpr std::uint8_t placed_number(int atomic_number) noexcept {
    return atomic_number >= 1 && atomic_number <= 107 ? static_cast<std::uint8_t>(atomic_number) : 0;
}

/// The factor from the lengths of a job to Å: 1, or the Bohr radius.
double length_factor(const Job& job);

/// A symmetry line that could not be applied: its line index and why.
struct SymmetryFault {
    std::size_t line_index;
    std::string reason;
};

/// The atoms of a job read again from its lines, with symmetry data applied
/// when `with_symmetry` (lines that cannot be applied go to `faults`).
/// `line_indices` gets the line of each atom, `described` each atom as a
/// JobAtom. Issues of the lines are not collected: the first reading
/// reported them.
void reread_atoms(const MopacJob& job, std::size_t job_index, bool with_symmetry, std::vector<ParsedAtom>& atoms,
                  std::vector<std::size_t>* line_indices, std::vector<JobAtom>* described,
                  std::vector<SymmetryFault>* faults = nullptr);

/// A finding that keeps MOPAC from placing the atoms, on one line.
struct PlacementFault {
    Issue issue;
    std::size_t line_index;
    std::string detail;
};

/// Where the atoms of a job stand, dummies and translation vectors included.
struct PlacedAtoms {
    std::vector<Position> positions;  // Å
    std::vector<std::uint8_t> atomic_numbers;
};

/// Places the atoms of a job as MOPAC does. `atoms` are the job's atoms when
/// the caller holds them (they are used up), else null: they are then read
/// again from the lines, and an all-Cartesian job without symmetry data is
/// placed in one pass without holding them. Symmetry lines that cannot be
/// applied, ill-defined atoms and coincident reference atoms go to `faults`
/// (when not null). False when the atoms cannot be placed: none, an
/// ill-defined or unknown atom, coincident reference atoms.
/// Streams the atoms of an all-Cartesian job without symmetry data, whose
/// every atom MOPAC knows, to `visit`, read from its lines one at a time.
/// False, with no call, for any other job: it must be placed whole.
bool visit_cartesian_atoms(const MopacJob& job, std::size_t job_index,
                           void (*visit)(void*, int, const std::array<double, 3>&), void* context);

bool place_job_atoms(const MopacJob& job, std::size_t job_index, std::vector<ParsedAtom>* atoms, PlacedAtoms& placed,
                     std::vector<PlacementFault>* faults);

}  // namespace vesk::input::mopac::detail
