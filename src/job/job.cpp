// MopacJob's answers: keyword queries, the atoms of a job and their positions,
// worked out afresh from the lines on each call.
#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "text/keyword_scan.hpp"
#include "job/elements.hpp"
#include "job/other_formats.hpp"
#include "job/placement.hpp"
#include "job/reader.hpp"
#include "job/text_lines.hpp"
#include "text/numbers.hpp"
#include "vesk/input/mopac/document.hpp"

namespace vesk::input::mopac {
namespace detail {

// Calls visit(atom, line_index, label, extra) for each atom line of a job.
template <class Visit>
void visit_atom_lines(const MopacJob& job, std::size_t job_index, Visit&& visit);

}  // namespace detail
namespace {

const JobKeyword* first_keyword_named(const Job& job, std::string_view name);
bool may_place(const MopacJob& job, std::size_t job_index);
bool has_symmetry_lines(const MopacJob& job, std::size_t job_index);

}  // namespace

std::string_view element_symbol(int atomic_number) noexcept { return detail::element_symbol(atomic_number); }

bool Job::has_keyword(std::string_view name) const { return first_keyword_named(*this, name) != nullptr; }

std::optional<std::string> Job::keyword_value(std::string_view name) const {
    const JobKeyword* keyword = first_keyword_named(*this, name);
    if (keyword == nullptr) return std::nullopt;
    return std::string(detail::keyword_value_part(keyword->text));
}

std::string_view MopacJob::line_text(std::size_t number) const noexcept {
    if (number == 0 || number > lines_.size()) return {};
    const JobLine& line = lines_[number - 1];
    return std::string_view(text_).substr(line.offset, line.length);
}

bool MopacJob::has_errors() const noexcept {
    for (const Diagnostic& diagnostic : diagnostics_) {
        if (diagnostic.severity == Severity::error) return true;
    }
    return false;
}

std::vector<JobAtom> MopacJob::atoms(std::size_t job) const {
    std::vector<JobAtom> described;
    if (job >= jobs_.size()) return described;
    std::vector<detail::ParsedAtom> parsed;
    detail::reread_atoms(*this, job, false, parsed, nullptr, &described);
    return described;
}

vesk::core::Geometry MopacJob::geometry(std::size_t job) const {
    vesk::core::Geometry geometry;
    Placed scratch;
    const Placed* placed = placement(job, scratch);
    if (placed == nullptr) return geometry;
    std::size_t kept = 0;
    for (const std::uint8_t number : placed->atomic_numbers) kept += detail::is_kept_atom(number);
    geometry.atoms.reserve(kept);
    for (std::size_t i = 0; i < placed->positions.size(); ++i) {
        const int number = placed->atomic_numbers[i];
        if (!detail::is_kept_atom(number)) continue;
        const std::array<double, 3>& position = placed->positions[i];
        geometry.atoms.emplace_back(std::string(detail::element_symbol(number)), position[0], position[1], position[2]);
    }
    return geometry;
}

std::vector<std::array<double, 3>> MopacJob::translation_vectors(std::size_t job) const {
    std::vector<std::array<double, 3>> vectors;
    if (job >= jobs_.size() || jobs_[job].counts.translation_vectors == 0) return vectors;
    Placed scratch;
    const Placed* placed = placement(job, scratch);
    if (placed == nullptr) return vectors;
    for (std::size_t i = 0; i < placed->positions.size(); ++i) {
        if (placed->atomic_numbers[i] == detail::translation_vector) vectors.push_back(placed->positions[i]);
    }
    return vectors;
}

const MopacJob::Placed* MopacJob::placement(std::size_t job, Placed& scratch) const {
    if (job < placed_.size() && !placed_[job].positions.empty()) return &placed_[job];
    if (!may_place(*this, job)) return nullptr;
    const Job& current = jobs_[job];
    const double factor = detail::length_factor(current);
    if (current.counts.internal == 0 && !(detail::uses_symmetry(current) && has_symmetry_lines(*this, job))) {
        // Cartesian atoms stand where their lines put them: one pass, without
        // holding the atoms of every line.
        bool unknown = false;
        scratch.positions.reserve(current.counts.cartesian);
        scratch.atomic_numbers.reserve(current.counts.cartesian);
        detail::visit_atom_lines(*this, job, [&](const detail::ParsedAtom& atom, std::size_t, std::string_view,
                                                  std::string_view) {
            unknown = unknown || atom.atomic_number == 0;
            scratch.positions.push_back({atom.values[0] * factor, atom.values[1] * factor, atom.values[2] * factor});
            scratch.atomic_numbers.push_back(detail::placed_number(atom.atomic_number));
        });
        return unknown || scratch.positions.empty() ? nullptr : &scratch;
    }
    std::vector<detail::ParsedAtom> atoms;
    detail::reread_atoms(*this, job, true, atoms, nullptr, nullptr);
    if (atoms.empty() || !detail::ill_defined_atoms(atoms).empty()) return nullptr;
    for (const detail::ParsedAtom& atom : atoms) {
        if (atom.atomic_number == 0) return nullptr;
    }
    std::size_t failed = 0;
    if (!detail::place_atoms(atoms, factor, scratch.positions, failed)) return nullptr;
    scratch.atomic_numbers.reserve(atoms.size());
    for (const detail::ParsedAtom& atom : atoms) scratch.atomic_numbers.push_back(detail::placed_number(atom.atomic_number));
    return &scratch;
}

namespace detail {

GeometrySettings geometry_settings(const Job& job) {
    GeometrySettings settings;
    settings.mini = job.has_keyword("MINI");
    settings.geo_ok = job.has_keyword("GEO-OK");
    settings.mopac = job.has_keyword("MOPAC");
    return settings;
}

double length_factor(const Job& job) {
    if (!job.bohr) return 1.0;
    return job.has_keyword("OLDFPC") ? old_bohr_in_angstrom : bohr_in_angstrom;
}

bool has_keyword_prefix(const Job& job, std::string_view prefix) noexcept {
    for (const JobKeyword& keyword : job.keywords) {
        if (keyword.text.compare(0, prefix.size(), prefix) == 0) return true;
    }
    return false;
}

template <class Visit>
void visit_atom_lines(const MopacJob& job, std::size_t job_index, Visit&& visit) {
    const Job& current = job.jobs()[job_index];
    const std::vector<JobLine>& lines = job.lines();
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

bool uses_symmetry(const Job& job) { return has_keyword_prefix(job, "SYMM") || job.has_keyword("SYM"); }

void apply_job_symmetry(const MopacJob& job, std::size_t job_index, std::vector<ParsedAtom>& atoms,
                        std::vector<SymmetryFault>* faults) {
    const Job& current = job.jobs()[job_index];
    if (!uses_symmetry(current)) return;
    const std::vector<JobLine>& lines = job.lines();
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

}  // namespace detail

namespace {

const JobKeyword* first_keyword_named(const Job& job, std::string_view name) {
    const std::string key = normalize_keyword_name(name);
    for (const JobKeyword& keyword : job.keywords) {
        if (detail::keyword_name_equals(keyword.text, key)) return &keyword;
    }
    return nullptr;
}

// False when MOPAC would not place the atoms of a job: they come from
// elsewhere, or the reading found an error in its geometry.
bool may_place(const MopacJob& job, std::size_t job_index) {
    if (job_index >= job.jobs().size()) return false;
    const Job& current = job.jobs()[job_index];
    const std::size_t first_line = current.geometry_begin + 1;
    const std::size_t last_line = current.geometry_end;
    for (const Diagnostic& diagnostic : job.diagnostics()) {
        const bool in_geometry = diagnostic.line >= first_line && diagnostic.line <= last_line;
        if (diagnostic.severity == Severity::error && (in_geometry || diagnostic.code == "no-atoms")) {
            if (in_geometry || diagnostic.line == current.first_keyword_line) return false;
        }
    }
    return true;
}

bool has_symmetry_lines(const MopacJob& job, std::size_t job_index) {
    const std::vector<JobLine>& lines = job.lines();
    for (std::size_t i = job.jobs()[job_index].geometry_end; i < lines.size() && lines[i].job == job_index; ++i) {
        if (lines[i].role == LineRole::symmetry) return true;
    }
    return false;
}

}  // namespace
}  // namespace vesk::input::mopac
