// Geometries that MOPAC hands to other readers: PDB records, and a Gaussian
// Z-matrix with the values of its symbols behind it.
#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "job/elements.hpp"
#include "job/other_formats.hpp"
#include "job/reader.hpp"

namespace vesk::input::mopac {

using detail::Issue;

void JobReader::read_foreign_geometry(Job& current, std::size_t job_index, bool pdb) {
    const std::size_t errors_before = errors_;
    start_keeping();
    kept_all_ = pdb;  // the values of a Z-matrix's symbols come later
    current.source = pdb ? GeometrySource::pdb : GeometrySource::gaussian;
    current.counts = GeometryCounts{};
    current.geometry_begin = position();
    detail::ParsedAtom atom;
    std::vector<detail::LineIssue> issues;
    detail::PdbElementNames names;
    for (const JobKeyword& keyword : current.keywords) {
        if (names.empty()) names = detail::pdb_element_names(keyword.text);
    }
    std::size_t atoms = 0;
    while (!at_end()) {
        const std::size_t index = next_;
        issues.clear();
        bool is_atom = false;
        if (pdb) {
            const detail::LineKind kind = detail::read_pdb_line(view(index), names, atom, issues);
            take(kind == detail::LineKind::end ? LineRole::geometry_end : LineRole::geometry, job_index);
            if (kind == detail::LineKind::end) break;
            is_atom = kind == detail::LineKind::atom;
        } else {
            if (!detail::read_gaussian_line(view(index), atoms, nullptr, atom, issues)) {
                take(LineRole::geometry_end, job_index);
                break;
            }
            take(LineRole::geometry, job_index);
            is_atom = true;
        }
        // Symbols without a value are known only once the values are read.
        for (const detail::LineIssue& issue : issues) {
            if (issue.issue != Issue::undefined_symbol) report(issue.issue, index, issue.offset, issue.detail);
        }
        if (!is_atom) continue;
        keep(atom, index);
        ++atoms;
        detail::count_geometry_atom(current.counts, atom.atomic_number, atom.internal);
    }
    current.geometry_end = std::max(current.geometry_begin, position());
    if (atoms == 0) report_line(Issue::no_atoms, current.first_keyword_line - 1);
    if (!pdb) {
        if (atoms > 900) report_line(Issue::too_many_gaussian_atoms, current.geometry_begin);
        read_gaussian_variables(current, job_index);
        read_data_behind_geometry(current, job_index, false);
    }
    check_geometry(current, job_index, errors_before);
}

// The values of the symbols, and after one more blank line the fixed values;
// then the symbols that have none.
void JobReader::read_gaussian_variables(const Job& current, std::size_t job_index) {
    detail::ZMatrixVariables variables;
    for (int block = 0; block < 2 && !at_end(); ++block) {
        if (block == 1 && !variables.add_line(view(next_))) break;
        if (block == 1) take(LineRole::variables, job_index);
        while (!at_end()) {
            const bool blank = detail::is_blank_view(view(next_));
            if (!blank && !variables.add_line(view(next_))) break;
            take(LineRole::variables, job_index);
            if (blank) break;
        }
    }
    std::vector<detail::LineIssue> issues;
    detail::ParsedAtom atom;
    std::size_t before = 0;
    for (std::size_t i = current.geometry_begin; i < current.geometry_end; ++i) {
        if (job_.lines_.role(i) != LineRole::geometry) continue;
        issues.clear();
        detail::read_gaussian_line(view(i), before++, &variables, atom, issues);
        for (const detail::LineIssue& issue : issues) {
            if (issue.issue == Issue::undefined_symbol) report(issue.issue, i, issue.offset, issue.detail);
        }
    }
}

}  // namespace vesk::input::mopac
