// The atoms of a job read again from its lines, and their placement: the one
// path from atoms to positions, with symmetry data, ill-defined atoms and
// coincident reference atoms.
#include "job/job_placement.hpp"

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "job/elements.hpp"
#include "job/other_formats.hpp"
#include "job/reader.hpp"
#include "job/text_lines.hpp"
#include "text/numbers.hpp"

namespace vesk::input::mopac::detail {
namespace {

template <class Visit>
void visit_atom_lines(const MopacJob& job, std::size_t job_index, Visit&& visit);
bool has_symmetry_lines(const MopacJob& job, std::size_t job_index);
void apply_job_symmetry(const MopacJob& job, std::size_t job_index, std::vector<ParsedAtom>& atoms,
                        std::vector<SymmetryFault>* faults);
bool place_cartesian_lines(const MopacJob& job, std::size_t job_index, PlacedAtoms& placed);

}  // namespace

double length_factor(const Job& job) {
    if (!job.bohr) return 1.0;
    return job.has_keyword("OLDFPC") ? old_bohr_in_angstrom : bohr_in_angstrom;
}

void reread_atoms(const MopacJob& job, std::size_t job_index, bool with_symmetry, std::vector<ParsedAtom>& atoms,
                  std::vector<std::size_t>* line_indices, std::vector<JobAtom>* described,
                  std::vector<SymmetryFault>* faults) {
    atoms.clear();
    visit_atom_lines(job, job_index, [&](const ParsedAtom& atom, std::size_t i, std::string_view label,
                                         std::string_view extra) {
        atoms.push_back(atom);
        if (line_indices != nullptr) line_indices->push_back(i);
        if (described == nullptr) return;
        JobAtom& out = described->emplace_back();
        out.line = i + 1;
        out.atomic_number = atom.atomic_number;
        out.symbol.assign(element_symbol(atom.atomic_number));
        out.label.assign(label);
        out.extra.assign(extra);
        out.isotope_mass = atom.isotope_mass;
        out.form = atom.internal ? CoordinateForm::internal : CoordinateForm::cartesian;
        for (int k = 0; k < 3; ++k) {
            out.values[k] = atom.values[k];
            out.flags[k] = atom.flags[k];
            out.connectivity[k] = atom.connectivity[k] > 0 ? static_cast<std::size_t>(atom.connectivity[k]) : 0;
        }
    });
    if (with_symmetry) apply_job_symmetry(job, job_index, atoms, faults);
}

bool place_job_atoms(const MopacJob& job, std::size_t job_index, std::vector<ParsedAtom>* atoms, PlacedAtoms& placed,
                     std::vector<PlacementFault>* faults) {
    placed.positions.clear();
    placed.atomic_numbers.clear();
    if (job_index >= job.jobs().size()) return false;
    const Job& current = job.jobs()[job_index];
    const bool symmetry = uses_symmetry(current) && has_symmetry_lines(job, job_index);
    // Cartesian atoms stand where their lines put them and need no checks.
    if (atoms == nullptr && current.counts.internal == 0 && !symmetry) return place_cartesian_lines(job, job_index, placed);

    std::vector<ParsedAtom> reread;
    std::vector<std::size_t> lines;  // the line of each atom, found when a fault needs it
    if (atoms == nullptr) {
        atoms = &reread;
        reread_atoms(job, job_index, false, reread, faults != nullptr ? &lines : nullptr, nullptr);
    }
    const auto line_of = [&](std::size_t atom) {
        if (lines.empty()) {
            std::vector<ParsedAtom> again;
            reread_atoms(job, job_index, false, again, &lines, nullptr);
        }
        return lines[atom];
    };
    if (symmetry) {
        std::vector<SymmetryFault> symmetry_faults;
        apply_job_symmetry(job, job_index, *atoms, faults != nullptr ? &symmetry_faults : nullptr);
        for (SymmetryFault& fault : symmetry_faults) {
            faults->push_back({Issue::bad_symmetry_line, fault.line_index, std::move(fault.reason)});
        }
    }
    const std::vector<std::size_t> faulty = ill_defined_atoms(*atoms);
    if (faults != nullptr) {
        for (std::size_t index : faulty) faults->push_back({Issue::ill_defined_atom, line_of(index), std::to_string(index + 1)});
    }
    if (!faulty.empty() || atoms->empty()) return false;
    std::size_t failed = 0;
    if (!place_atoms(*atoms, length_factor(current), placed.positions, failed)) {
        if (faults != nullptr) faults->push_back({Issue::coincident_atoms, line_of(failed), std::to_string(failed + 1)});
        placed.positions.clear();
        return false;
    }
    bool unknown = false;
    placed.atomic_numbers.reserve(atoms->size());
    for (const ParsedAtom& atom : *atoms) {
        unknown = unknown || atom.atomic_number == 0;
        placed.atomic_numbers.push_back(placed_number(atom.atomic_number));
    }
    return !unknown;
}

namespace {

// Calls visit(atom, line_index, label, extra) for each atom line of a job.
template <class Visit>
void visit_atom_lines(const MopacJob& job, std::size_t job_index, Visit&& visit) {
    const Job& current = job.jobs()[job_index];
    const JobLines& lines = job.lines();
    const bool gaussian = current.source == GeometrySource::gaussian;
    const bool pdb = current.source == GeometrySource::pdb;
    if (!gaussian && !pdb && current.source != GeometrySource::inline_text) return;

    std::string scratch;
    ZMatrixVariables variables;
    if (gaussian) {
        for (std::size_t i = current.geometry_end; i < lines.size() && lines[i].job == job_index; ++i) {
            if (lines[i].role == LineRole::variables) variables.add_line(mopac_view(job.line_text(i + 1), scratch));
        }
    }
    GeometryLineReader reader(geometry_settings(current));
    PdbElementNames names;
    for (const JobKeyword& keyword : current.keywords) {
        if (names.empty()) names = pdb_element_names(keyword.text);
    }
    std::vector<LineIssue> issues;
    ParsedAtom atom;
    std::size_t count = 0;
    for (std::size_t i = current.geometry_begin; i < current.geometry_end; ++i) {
        if (lines[i].role != LineRole::geometry) continue;
        const std::string_view view = mopac_view(job.line_text(i + 1), scratch);
        std::string_view label;
        std::string_view extra;
        if (gaussian) {
            issues.clear();
            read_gaussian_line(view, count, &variables, atom, issues);
        } else if (pdb) {
            issues.clear();
            if (read_pdb_line(view, names, atom, issues) != LineKind::atom) continue;
        } else {
            if (reader.read(view, count, atom) != LineKind::atom) continue;
            label = reader.label();
            extra = reader.extra();
        }
        ++count;
        visit(atom, i, label, extra);
    }
}

bool has_symmetry_lines(const MopacJob& job, std::size_t job_index) {
    const JobLines& lines = job.lines();
    for (std::size_t i = job.jobs()[job_index].geometry_end; i < lines.size() && lines[i].job == job_index; ++i) {
        if (lines[i].role == LineRole::symmetry) return true;
    }
    return false;
}

void apply_job_symmetry(const MopacJob& job, std::size_t job_index, std::vector<ParsedAtom>& atoms,
                        std::vector<SymmetryFault>* faults) {
    const Job& current = job.jobs()[job_index];
    if (!uses_symmetry(current)) return;
    const JobLines& lines = job.lines();
    std::string scratch;
    double depvar = 1.0;
    if (const auto value = current.keyword_value("DEPVAR"); value && !value->empty()) {
        std::size_t end = 0;
        read_number_in_line(*value, 0, depvar, end);
    }
    SymmetryLine line;
    std::string reason;
    bool ends = false;
    for (std::size_t i = current.geometry_end; i < lines.size() && lines[i].job == job_index; ++i) {
        if (lines[i].role != LineRole::symmetry) continue;
        if (read_symmetry_line(mopac_view(job.line_text(i + 1), scratch), line, ends, reason) &&
            !apply_symmetry(line, depvar, atoms, reason) && faults != nullptr) {
            faults->push_back({i, reason});
        }
    }
}

// One pass over the lines, without holding the atoms of every line.
}  // namespace

bool visit_cartesian_atoms(const MopacJob& job, std::size_t job_index,
                           void (*visit)(void*, int, const std::array<double, 3>&), void* context) {
    if (job_index >= job.jobs().size()) return false;
    const Job& current = job.jobs()[job_index];
    const GeometryCounts& counts = current.counts;
    // The counts come from the same lines: an unknown atom shows before any is visited.
    if (counts.internal > 0 || counts.cartesian == 0 || counts.by_atomic_number[0] > 0 ||
        (uses_symmetry(current) && has_symmetry_lines(job, job_index)) ||
        current.source != GeometrySource::inline_text) {
        return false;
    }
    const double factor = length_factor(current);
    visit_atom_lines(job, job_index, [&](const ParsedAtom& atom, std::size_t, std::string_view, std::string_view) {
        const std::array<double, 3> position{atom.values[0] * factor, atom.values[1] * factor, atom.values[2] * factor};
        visit(context, placed_number(atom.atomic_number), position);
    });
    return true;
}

namespace {

bool place_cartesian_lines(const MopacJob& job, std::size_t job_index, PlacedAtoms& placed) {
    const Job& current = job.jobs()[job_index];
    const double factor = length_factor(current);
    bool unknown = false;
    placed.positions.reserve(current.counts.cartesian);
    placed.atomic_numbers.reserve(current.counts.cartesian);
    visit_atom_lines(job, job_index, [&](const ParsedAtom& atom, std::size_t, std::string_view, std::string_view) {
        unknown = unknown || atom.atomic_number == 0;
        placed.positions.push_back({atom.values[0] * factor, atom.values[1] * factor, atom.values[2] * factor});
        placed.atomic_numbers.push_back(placed_number(atom.atomic_number));
    });
    return !unknown && !placed.positions.empty();
}

}  // namespace
}  // namespace vesk::input::mopac::detail
