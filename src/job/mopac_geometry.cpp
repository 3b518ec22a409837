// Where the atoms of a job come from, and MOPAC's own geometry lines: up to a
// blank line, atomic number 0 or " NEXT", with the checks that need the
// whole geometry and the placement kept when it is cheap to keep.
#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "job/elements.hpp"
#include "job/job_placement.hpp"
#include "job/reader.hpp"
#include "job/text_lines.hpp"
#include "vesk/input/mopac/document.hpp"

namespace vesk::input::mopac {
namespace {

using detail::Issue;

std::string keyword_value_text(const MopacJob& job, const Job& current, std::string_view name);

}  // namespace

// Where the atoms of a job come from, and the lines behind its head.
void JobReader::read_geometry(Job& current, std::size_t job_index) {
    const std::size_t keyword_line = current.first_keyword_line - 1;
    current.bohr = current.has_keyword("A0");
    if (current.has_keyword("GEO_DAT")) {
        current.source = GeometrySource::geo_dat;
        current.source_name = keyword_value_text(job_, current, "GEO_DAT");
        report_line(Issue::geometry_from_file, keyword_line, "GEO_DAT=" + current.source_name);
        // The inline lines, if any, are replaced: read over up to the blank line.
        current.geometry_begin = position();
        while (!at_end()) {
            const bool blank = detail::is_blank_view(view(next_));
            take(blank ? LineRole::geometry_end : LineRole::unread, job_index);
            if (blank) break;
        }
        current.geometry_end = std::max(current.geometry_begin, position());
        return;
    }
    if (current.has_keyword("OLDGEO")) {
        current.source = GeometrySource::previous_job;
        if (job_index == 0) report_line(Issue::oldgeo_in_first_job, keyword_line);
        current.geometry_begin = current.geometry_end = position();
        read_data_behind_geometry(current, job_index, false);
        return;
    }
    if (current.has_keyword("SETUP")) {
        const std::string file = keyword_value_text(job_, current, "SETUP");
        report_line(Issue::setup_file, keyword_line, file.empty() ? "SETUP" : file);
    }
    bool pdb = false;
    for (const JobKeyword& keyword : current.keywords) {
        pdb = pdb || keyword.text == "PDB" || keyword.text.compare(0, 4, "PDB(") == 0;
    }
    if (pdb || current.has_keyword("AIGIN")) {
        read_foreign_geometry(current, job_index, pdb);
        return;
    }
    current.source = GeometrySource::inline_text;
    read_inline_geometry(current, job_index);
}

void JobReader::read_inline_geometry(Job& current, std::size_t job_index) {
    current.geometry_begin = position();
    current.geometry_end = current.geometry_begin;
    if ((at_end() || detail::is_blank_view(view(next_))) && !skip_to_arc_geometry(current, job_index)) return;

    const std::size_t errors_before = errors_;
    start_keeping();
    detail::GeometryLineReader reader(detail::geometry_settings(current));
    detail::ParsedAtom atom;
    std::size_t atoms = 0;
    bool translation_seen = false;
    bool reaction_path = false;
    std::vector<std::pair<std::size_t, std::size_t>> short_lines;  // lines written short (ParsedAtom), by line
    const std::size_t geometry_start = next_;
    // Cartesian atoms stand where their lines put them: their positions are
    // kept as they are read, within a few times the bytes of their lines (a
    // geometry of tiny lines is read again when asked). Atoms are kept only
    // from the first line in internal coordinates on, which needs the lines
    // before it too.
    bool all_cartesian = true;
    MopacJob::Placed cartesian;
    bool cartesian_kept = true;
    std::size_t cartesian_bytes = 0;
    if (!at_end()) {
        // Room for every line left at once, within that budget.
        const std::size_t bytes_left = job_.text_.size() - job_.lines_.offset(next_);
        const std::size_t room = std::min(end_of_data_ - next_, (4 * bytes_left + 4096) / (sizeof(double) * 3 + 1));
        cartesian.positions.reserve(room);
        cartesian.atomic_numbers.reserve(room);
    }
    while (!at_end()) {
        const std::size_t index = next_;
        const std::string_view line = view(index);
        const detail::LineKind kind = reader.read(line, atoms, atom);
        if (kind == detail::LineKind::pdb || kind == detail::LineKind::gaussian) {
            next_ = geometry_start;
            read_foreign_geometry(current, job_index, kind == detail::LineKind::pdb);
            return;
        }
        take(kind == detail::LineKind::end ? LineRole::geometry_end : LineRole::geometry, job_index);
        report_cut_geometry_line(index, line);
        if (kind == detail::LineKind::end) break;
        if (kind == detail::LineKind::skip) continue;
        report_line_issues(reader.issues(), index);
        if (all_cartesian && atom.internal) {
            all_cartesian = false;
            keep_lines(detail::geometry_settings(current), geometry_start, index);
        }
        if (!all_cartesian) keep(atom, index);
        if (all_cartesian && cartesian_kept) {
            cartesian_bytes += job_.lines_.length(index) + 1;
            cartesian_kept = atom.atomic_number != 0 &&
                             (cartesian.positions.size() + 1) * (sizeof(double) * 3 + 1) <= 4 * cartesian_bytes + 4096;
            if (cartesian_kept) {
                cartesian.positions.push_back({atom.values[0], atom.values[1], atom.values[2]});
                cartesian.atomic_numbers.push_back(detail::placed_number(atom.atomic_number));
            }
        }
        ++atoms;
        const int number = atom.atomic_number;
        detail::count_geometry_atom(current.counts, number, atom.internal);
        if (number == detail::translation_vector) {
            translation_seen = true;
        } else if (translation_seen && number != 0 && number < detail::dummy_atom) {
            report_line(Issue::atom_after_translation_vector, index);
        }
        if (atom.xyz_element) current.bohr = true;
        if (atom.written_short) {
            short_lines.emplace_back(index, atom.field_count);
        }
        for (int flag : atom.flags) reaction_path = reaction_path || flag == -1;
    }
    // A flag of -1 marks the reaction coordinate: its points follow the
    // geometry unless STEP and POINTS give them.
    reaction_path = reaction_path && !current.has_keyword("STEP") && !current.has_keyword("POINTS");
    current.geometry_end = std::max(current.geometry_begin, position());
    if (all_cartesian) kept_all_ = false;
    if (atoms == 0) report_line(Issue::no_atoms, current.geometry_begin < job_.lines_.size() ? current.geometry_begin : 0);
    // SADDLE: the second geometry, the other end of the reaction, follows.
    if (current.has_keyword("SADDLE")) read_second_geometry(current, job_index);
    if (current.counts.internal > 0) {
        for (const auto& [index, fields] : short_lines) report_line(Issue::short_line_in_zmatrix, index, std::to_string(fields));
    }
    read_data_behind_geometry(current, job_index, reaction_path);
    check_geometry(current, job_index, errors_before);
    // Kept where a placement would give them as they stand: no fault in the
    // job's geometry, no symmetry data to apply, lengths scaled as placed.
    if (all_cartesian && cartesian_kept && atoms > 0 && errors_ == errors_before && !detail::uses_symmetry(current)) {
        const double factor = detail::length_factor(current);
        if (factor != 1.0) {
            for (auto& position : cartesian.positions) {
                for (double& value : position) value *= factor;
            }
        }
        job_.placed_[job_index] = std::move(cartesian);
    }
}

// A blank first geometry line: the geometry may follow an .arc marker further
// on, behind the head that follows the marker. False when there is none: the
// job has no atoms.
bool JobReader::skip_to_arc_geometry(Job& current, std::size_t job_index) {
    const std::size_t marker = arc_marker_from(next_);
    if (marker >= end_of_data_) {
        report_line(Issue::no_atoms, at_end() ? current.first_keyword_line - 1 : next_);
        if (!at_end()) take(LineRole::geometry_end, job_index);
        current.geometry_end = std::max(current.geometry_begin, position());
        return false;
    }
    while (next_ <= marker) take(LineRole::skipped, job_index);
    const std::size_t head_start = next_;
    Job arc_head;
    if (!at_end()) read_head(arc_head, job_index);
    for (std::size_t i = head_start; i < next_; i = data_from(i + 1)) job_.lines_.set_role(i, LineRole::skipped);
    current.geometry_begin = position();
    return true;
}

// SADDLE's second geometry: read for its findings, its atoms not kept.
void JobReader::read_second_geometry(const Job& current, std::size_t job_index) {
    detail::GeometryLineReader reader(detail::geometry_settings(current));
    detail::ParsedAtom atom;
    std::size_t atoms = 0;
    while (!at_end()) {
        const std::size_t index = next_;
        const std::string_view line = view(index);
        const detail::LineKind kind = reader.read(line, atoms, atom);
        take(kind == detail::LineKind::end ? LineRole::geometry_end : LineRole::geometry, job_index);
        report_cut_geometry_line(index, line);
        if (kind == detail::LineKind::end) break;
        if (kind != detail::LineKind::atom) continue;
        report_line_issues(reader.issues(), index);
        ++atoms;
    }
}

// MOPAC reads a geometry line again 241 bytes wide: what stands behind is lost.
void JobReader::report_cut_geometry_line(std::size_t line_index, std::string_view line) {
    if (line.size() > detail::geometry_line_limit && !detail::is_blank_view(line.substr(detail::geometry_line_limit))) {
        report(Issue::geometry_line_too_long, line_index, detail::geometry_line_limit);
    }
}

void JobReader::report_line_issues(const std::vector<detail::LineIssue>& issues, std::size_t line_index) {
    for (const detail::LineIssue& issue : issues) report(issue.issue, line_index, issue.offset, issue.detail);
}

void JobReader::start_keeping() {
    kept_.clear();
    kept_all_ = true;
    kept_bytes_ = 0;
}

// Keeps the atoms of the geometry lines from `from` up to `to`, read again.
void JobReader::keep_lines(const detail::GeometrySettings& settings, std::size_t from, std::size_t to) {
    // Room for every line left at once, within the budget keep() allows: a
    // large Z-matrix is not copied over and over as the vectors grow.
    const std::size_t bytes_left = job_.text_.size() - job_.lines_.offset(from);
    kept_.reserve(std::min(end_of_data_ - from, (4 * bytes_left + 4096) / sizeof(detail::ParsedAtom)));
    detail::GeometryLineReader reader(settings);
    detail::ParsedAtom atom;
    std::size_t atoms = 0;
    for (std::size_t i = from; i < to && kept_all_; i = data_from(i + 1)) {
        if (reader.read(view(i), atoms, atom) != detail::LineKind::atom) continue;
        keep(atom, i);
        ++atoms;
    }
}

// Keeps an atom while the kept atoms take at most a few times the bytes of
// their lines: a geometry of tiny lines is read again when it is needed.
void JobReader::keep(const detail::ParsedAtom& atom, std::size_t line_index) {
    if (!kept_all_) return;
    kept_bytes_ += job_.lines_.length(line_index) + 1;
    if ((kept_.size() + 1) * sizeof(detail::ParsedAtom) > 4 * kept_bytes_ + 4096) {
        kept_all_ = false;
        std::vector<detail::ParsedAtom>().swap(kept_);
        return;
    }
    kept_.push_back(atom);
}

// Faults that need the whole geometry: references to atoms that are not
// placed yet, coincident reference atoms, symmetry lines naming no atom,
// dummies with IRC or DRC. A geometry without faults keeps its placement.
void JobReader::check_geometry(Job& current, std::size_t job_index, std::size_t errors_before) {
    const GeometryCounts& counts = current.counts;
    if (counts.dummies > 0 && !current.has_keyword("0SCF")) {
        for (const char* name : {"IRC", "DRC"}) {
            if (current.has_keyword(name)) report_line(Issue::dummies_with_irc_drc, current.first_keyword_line - 1);
        }
    }
    if (job_.placed_.size() <= job_index) job_.placed_.resize(job_index + 1);
    // Cartesian atoms without symmetry data hold no such faults, and are
    // placed from their lines when asked.
    if (!kept_all_ && counts.internal == 0 && !detail::uses_symmetry(current)) return;
    detail::PlacedAtoms placed;
    std::vector<detail::PlacementFault> faults;
    const bool keep_placement = kept_all_;
    const bool ok = detail::place_job_atoms(job_, job_index, kept_all_ ? &kept_ : nullptr, placed, &faults);
    kept_.clear();
    for (const detail::PlacementFault& fault : faults) report_line(fault.issue, fault.line_index, fault.detail);
    if (!ok || errors_ != errors_before || !keep_placement) return;
    MopacJob::Placed& kept = job_.placed_[job_index];
    kept.positions = std::move(placed.positions);
    kept.atomic_numbers = std::move(placed.atomic_numbers);
}

namespace {

// The value of a keyword as written in the file, quotes taken off:
// GEO_DAT="a b.mop" -> a b.mop, in the case of the file.
std::string keyword_value_text(const MopacJob& job, const Job& current, std::string_view name) {
    const std::string key = normalize_keyword_name(name);
    for (const JobKeyword& keyword : current.keywords) {
        if (normalize_keyword_name(keyword.text) != key || keyword.line == 0) continue;
        std::string_view written = job.line_text(keyword.line).substr(keyword.column - 1, keyword.length);
        const std::size_t equals = written.find('=');
        if (equals == std::string_view::npos) return {};
        written.remove_prefix(equals + 1);
        while (!written.empty() && written.front() == ' ') written.remove_prefix(1);
        if (written.size() >= 2 && (written.front() == '"' || written.front() == '\'') && written.back() == written.front()) {
            written = written.substr(1, written.size() - 2);
        }
        return std::string(written);
    }
    return {};
}

}  // namespace

namespace detail {

void count_geometry_atom(GeometryCounts& counts, int atomic_number, bool internal) {
    if (atomic_number >= 0 && atomic_number < static_cast<int>(counts.by_atomic_number.size())) {
        ++counts.by_atomic_number[static_cast<std::size_t>(atomic_number)];
    }
    if (atomic_number == translation_vector) {
        ++counts.translation_vectors;
    } else if (atomic_number == dummy_atom) {
        ++counts.dummies;
    } else if (atomic_number != 0) {
        ++counts.atoms;
    }
    ++(internal ? counts.internal : counts.cartesian);
}

}  // namespace detail
}  // namespace vesk::input::mopac
