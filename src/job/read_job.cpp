// The reading of a data set as MOPAC reads it: lines, '*' comments, the .arc
// marker, then job after job (head, geometry, the data behind the geometry),
// each line given a role and each fault a line-numbered diagnostic.
#include <algorithm>
#include <array>
#include <cstddef>
#include <exception>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "text/bytes.hpp"
#include "job/elements.hpp"
#include "job/other_formats.hpp"
#include "job/placement.hpp"
#include "job/reader.hpp"
#include "job/text_lines.hpp"
#include "vesk/core/fs.hpp"
#include "vesk/input/mopac/document.hpp"

namespace vesk::input::mopac {
namespace {

using detail::Issue;

constexpr std::size_t listed_diagnostics = 1000;  // more are counted, not listed
constexpr std::array<std::string_view, 3> arc_markers = {
    "FINAL GEOMETRY OBTAINED", "GEOMETRY IN CARTESIAN COORDINATE", "GEOMETRY IN MOPAC Z-MATRIX"};

bool is_blank_view(std::string_view view) noexcept;
bool numbers_only(std::string_view view, bool whole) noexcept;
bool starts_upper(std::string_view view, std::string_view word) noexcept;
bool holds_arc_marker(std::string_view line) noexcept;
std::string keyword_value_text(const MopacJob& job, const Job& current, std::string_view name);

}  // namespace

MopacJob read_job(std::string_view text, const ReadOptions& options) { return read_job(std::string(text), options); }

MopacJob read_job(std::string&& text, const ReadOptions& options) {
    MopacJob job;
    JobReader reader(job);
    reader.read(std::move(text), options);
    return job;
}

MopacJob read_job_file(const std::string& path) {
    ReadOptions options;
    options.arc = detail::contains_upper(path, ".arc");
    std::string text;
    try {
        text = vesk::core::fs::read_text_file(path);
    } catch (const std::exception& error) {
        MopacJob failed;
        JobReader(failed).fail_read(error.what());
        return failed;
    }
    return read_job(std::move(text), options);
}

void JobReader::fail_read(std::string_view reason) {
    Diagnostic diagnostic;
    diagnostic.severity = Severity::error;
    diagnostic.code = "read-failed";
    diagnostic.message = "cannot read the file: ";
    diagnostic.message.append(reason);
    job.diagnostics_.push_back(std::move(diagnostic));
}

void JobReader::read(std::string&& text, const ReadOptions& options) {
    job.text_ = std::move(text);
    job.options_ = options;
    job.lines_ = detail::cut_mopac_lines(job.text_);
    std::vector<JobLine>& lines = job.lines_;
    if (lines.empty()) return;

    // A first line with DATA= (a comment line too) points to the real data set.
    if (detail::contains_upper(raw(0).substr(0, detail::mopac_line_limit), "DATA=")) {
        Job pointer;
        pointer.source = GeometrySource::data_pointer;
        pointer.first_keyword_line = 1;
        pointer.keyword_line_count = 1;
        const std::string_view first = raw(0);
        const std::size_t at = first.find('=', std::min(first.size(), static_cast<std::size_t>(0))) + 1;
        std::size_t end = at;
        while (end < first.size() && first[end] != ' ' && first[end] != '\t') ++end;
        pointer.source_name.assign(first.substr(at, end - at));
        for (JobLine& line : lines) line.role = LineRole::skipped;
        lines[0].role = LineRole::keywords;
        report_line(Issue::data_pointer, 0, pointer.source_name);
        job.jobs_.push_back(std::move(pointer));
        return;
    }

    std::size_t start = 0;
    if (options.arc) {
        std::size_t marker = lines.size();
        for (std::size_t i = 0; i < lines.size() && marker == lines.size(); ++i) {
            if (lines[i].role != LineRole::lost && holds_arc_marker(raw(i))) marker = i;
        }
        if (marker == lines.size()) {
            report_line(Issue::no_arc_marker, 0);
        } else {
            for (std::size_t i = 0; i <= marker; ++i) lines[i].role = LineRole::skipped;
            start = marker + 1;
        }
    }
    first_data = start;
    for (std::size_t i = start; i < lines.size(); ++i) {
        if (lines[i].role == LineRole::lost) continue;
        if (!raw(i).empty() && raw(i)[0] == '*') {
            lines[i].role = LineRole::comment;
            continue;
        }
        end_of_data = i + 1;
    }
    next = data_from(start);

    while (!at_end()) {
        bool only_blanks = true;
        for (std::size_t i = next; i < end_of_data && only_blanks; i = data_from(i + 1)) only_blanks = is_blank_view(view(i));
        if (only_blanks) break;
        // Blank lines between jobs are read over: a later job starts at a
        // line that holds something.
        // Numbers alone start no job: they are data of the job before, as
        // are the parameters between BEGIN EXTERNAL and END EXTERNAL. A
        // blank line does start one, with no keywords.
        while (!job.jobs_.empty() && !at_end()) {
            const std::string_view line = view(next);
            const std::size_t previous = job.jobs_.size() - 1;
            if (numbers_only(line, false)) {
                take(LineRole::data, previous);
            } else if (starts_upper(line, "BEGIN EXTERNAL")) {
                while (!at_end() && !starts_upper(view(next), "END EXTERNAL")) take(LineRole::data, previous);
                if (!at_end()) take(LineRole::data, previous);
            } else {
                break;
            }
        }
        if (at_end()) break;
        const std::size_t job_index = job.jobs_.size();
        job.jobs_.emplace_back();
        read_head(job.jobs_.back(), job_index);
        read_geometry(job.jobs_.back(), job_index);
    }
    // Blank lines behind the last job, and lines before it such as comments,
    // belong to the last job.
    const auto last_job = static_cast<std::uint32_t>(job.jobs_.empty() ? 0 : job.jobs_.size() - 1);
    for (std::size_t i = next; i < end_of_data; i = data_from(i + 1)) lines[i].job = last_job;
    for (std::size_t i = lines.size(); i-- > 0;) {
        if (lines[i].role == LineRole::trailing || lines[i].role == LineRole::comment || lines[i].role == LineRole::lost) {
            lines[i].job = i + 1 < lines.size() ? lines[i + 1].job : last_job;
        }
    }
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].length > detail::mopac_line_limit && lines[i].role != LineRole::lost) {
            report(Issue::line_too_long, i, detail::mopac_line_limit);
        }
        if (lines[i].role == LineRole::lost && (i == 0 || lines[i - 1].role != LineRole::lost)) {
            report_line(Issue::lines_lost, i);
        }
    }

    std::stable_sort(job.diagnostics_.begin(), job.diagnostics_.end(),
                     [](const Diagnostic& a, const Diagnostic& b) { return a.line < b.line; });
    if (unlisted > 0) {
        Diagnostic more;
        more.code = detail::issue_info(Issue::too_many_diagnostics).code;
        more.message = detail::issue_message(Issue::too_many_diagnostics, std::to_string(unlisted));
        job.diagnostics_.push_back(std::move(more));
    }
}

std::string_view JobReader::raw(std::size_t line_index) const noexcept {
    const JobLine& line = job.lines_[line_index];
    return std::string_view(job.text_).substr(line.offset, line.length);
}

std::size_t JobReader::position() const noexcept { return at_end() ? end_of_data : next; }

bool JobReader::is_data(std::size_t line_index) const noexcept {
    // take() never gives a line the role of a comment or a lost line, so a
    // line read already still counts.
    const LineRole role = job.lines_[line_index].role;
    return line_index >= first_data && role != LineRole::comment && role != LineRole::lost;
}

std::size_t JobReader::data_from(std::size_t line_index) const noexcept {
    while (line_index < end_of_data && !is_data(line_index)) ++line_index;
    return std::min(line_index, end_of_data);
}

std::string_view JobReader::view(std::size_t line_index) { return detail::mopac_view(raw(line_index), scratch); }

std::size_t JobReader::take(LineRole role, std::size_t job_index) {
    const std::size_t index = next;
    next = data_from(next + 1);
    job.lines_[index].role = role;
    job.lines_[index].job = static_cast<std::uint32_t>(job_index);
    return index;
}

void JobReader::report(Issue issue, std::size_t line_index, std::size_t view_offset, std::string_view detail) {
    if (detail::issue_info(issue).severity == Severity::error) ++errors;
    if (job.diagnostics_.size() >= listed_diagnostics) {
        ++unlisted;
        return;
    }
    const detail::IssueInfo& info = detail::issue_info(issue);
    Diagnostic diagnostic;
    diagnostic.severity = info.severity;
    diagnostic.code = info.code;
    diagnostic.line = line_index + 1;
    diagnostic.column = detail::file_column(raw(line_index), view_offset);
    diagnostic.message = detail::issue_message(issue, detail);
    job.diagnostics_.push_back(std::move(diagnostic));
}

void JobReader::report_line(Issue issue, std::size_t line_index, std::string_view detail) {
    report(issue, line_index, 0, detail);
    if (unlisted == 0) job.diagnostics_.back().column = 0;
}

// Where the atoms of a job come from, and the lines behind its head.
void JobReader::read_geometry(Job& current, std::size_t job_index) {
    const std::size_t keyword_line = current.first_keyword_line - 1;
    current.bohr = current.has_keyword("A0");
    if (current.has_keyword("GEO_DAT")) {
        current.source = GeometrySource::geo_dat;
        current.source_name = keyword_value_text(job, current, "GEO_DAT");
        report_line(Issue::geometry_from_file, keyword_line, "GEO_DAT=" + current.source_name);
        // The inline lines, if any, are replaced: read over up to the blank line.
        current.geometry_begin = position();
        while (!at_end()) {
            const bool blank = is_blank_view(view(next));
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
        const std::string file = keyword_value_text(job, current, "SETUP");
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

// MOPAC's own geometry lines, up to a blank line, atomic number 0 or " NEXT".
void JobReader::read_inline_geometry(Job& current, std::size_t job_index) {
    current.geometry_begin = position();
    current.geometry_end = current.geometry_begin;
    if (at_end() || is_blank_view(view(next))) {
        // A blank first line: the geometry may follow an .arc marker further
        // on, behind the head that follows the marker.
        std::size_t marker = next;
        while (marker < end_of_data && !holds_arc_marker(raw(marker))) marker = data_from(marker + 1);
        if (marker >= end_of_data) {
            report_line(Issue::no_atoms, at_end() ? current.first_keyword_line - 1 : next);
            if (!at_end()) take(LineRole::geometry_end, job_index);
            current.geometry_end = std::max(current.geometry_begin, position());
            return;
        }
        while (next <= marker) take(LineRole::skipped, job_index);
        const std::size_t head_start = next;
        Job arc_head;
        if (!at_end()) read_head(arc_head, job_index);
        for (std::size_t i = head_start; i < next; i = data_from(i + 1)) job.lines_[i].role = LineRole::skipped;
        current.geometry_begin = position();
    }

    const std::size_t errors_before = errors;
    start_keeping();
    detail::GeometryLineReader reader(detail::geometry_settings(current));
    detail::ParsedAtom atom;
    std::size_t atoms = 0;
    bool translation_seen = false;
    bool reaction_path = false;
    std::vector<std::pair<std::size_t, std::size_t>> short_lines;  // lines written short (ParsedAtom), by line
    const std::size_t geometry_start = next;
    // Cartesian atoms stand where their lines put them and are placed from
    // the lines when asked: atoms are kept only from the first line in
    // internal coordinates on, which needs the lines before it too.
    bool all_cartesian = true;
    while (!at_end()) {
        const std::size_t index = next;
        const detail::LineKind kind = reader.read(view(index), atoms, atom);
        if (kind == detail::LineKind::pdb || kind == detail::LineKind::gaussian) {
            next = geometry_start;
            read_foreign_geometry(current, job_index, kind == detail::LineKind::pdb);
            return;
        }
        take(kind == detail::LineKind::end ? LineRole::geometry_end : LineRole::geometry, job_index);
        if (kind == detail::LineKind::end) break;
        if (kind == detail::LineKind::skip) continue;
        for (const detail::LineIssue& issue : reader.issues()) report(issue.issue, index, issue.offset, issue.detail);
        if (all_cartesian && atom.internal) {
            all_cartesian = false;
            keep_lines(detail::geometry_settings(current), geometry_start, index);
        }
        if (!all_cartesian) keep(atom, index);
        ++atoms;
        GeometryCounts& counts = current.counts;
        const int number = atom.atomic_number;
        if (number >= 0 && number < static_cast<int>(counts.by_atomic_number.size())) ++counts.by_atomic_number[number];
        if (number == detail::translation_vector) {
            ++counts.translation_vectors;
            translation_seen = true;
        } else if (number == detail::dummy_atom) {
            ++counts.dummies;
        } else if (number != 0) {
            ++counts.atoms;
            if (translation_seen && number < detail::dummy_atom) report_line(Issue::atom_after_translation_vector, index);
        }
        ++(atom.internal ? counts.internal : counts.cartesian);
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
    if (all_cartesian) kept_all = false;
    if (atoms == 0) report_line(Issue::no_atoms, current.geometry_begin < job.lines_.size() ? current.geometry_begin : 0);
    // SADDLE: the second geometry, the other end of the reaction, follows.
    if (current.has_keyword("SADDLE")) {
        detail::GeometryLineReader second(detail::geometry_settings(current));
        std::size_t second_atoms = 0;
        while (!at_end()) {
            const std::size_t index = next;
            const detail::LineKind kind = second.read(view(index), second_atoms, atom);
            take(kind == detail::LineKind::end ? LineRole::geometry_end : LineRole::geometry, job_index);
            if (kind == detail::LineKind::end) break;
            if (kind != detail::LineKind::atom) continue;
            for (const detail::LineIssue& issue : second.issues()) report(issue.issue, index, issue.offset, issue.detail);
            ++second_atoms;
        }
    }
    if (current.counts.internal > 0) {
        for (const auto& [index, fields] : short_lines) report_line(Issue::short_line_in_zmatrix, index, std::to_string(fields));
    }
    read_data_behind_geometry(current, job_index, reaction_path);
    check_geometry(current, job_index, errors_before);
}

// PDB records, or a Gaussian Z-matrix with the values of its symbols behind it.
void JobReader::read_foreign_geometry(Job& current, std::size_t job_index, bool pdb) {
    const std::size_t errors_before = errors;
    start_keeping();
    kept_all = pdb;  // the values of a Z-matrix's symbols come later
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
        const std::size_t index = next;
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
        for (const detail::LineIssue& issue : issues) {
            if (issue.issue != Issue::undefined_symbol) report(issue.issue, index, issue.offset, issue.detail);
        }
        if (!is_atom) continue;
        keep(atom, index);
        ++atoms;
        GeometryCounts& counts = current.counts;
        const int number = atom.atomic_number;
        ++counts.by_atomic_number[static_cast<std::size_t>(number)];
        if (number == detail::dummy_atom) {
            ++counts.dummies;
        } else if (number == detail::translation_vector) {
            ++counts.translation_vectors;
        } else if (number != 0) {
            ++counts.atoms;
        }
        ++(atom.internal ? counts.internal : counts.cartesian);
    }
    current.geometry_end = std::max(current.geometry_begin, position());
    if (atoms == 0) report_line(Issue::no_atoms, current.first_keyword_line - 1);
    if (!pdb) {
        if (atoms > 900) report_line(Issue::too_many_gaussian_atoms, current.geometry_begin);
        // The values of the symbols, and after one more blank line the fixed values.
        detail::ZMatrixVariables variables;
        for (int block = 0; block < 2 && !at_end(); ++block) {
            if (block == 1 && !variables.add_line(view(next))) break;
            if (block == 1) take(LineRole::variables, job_index);
            while (!at_end()) {
                const bool blank = is_blank_view(view(next));
                if (!blank && !variables.add_line(view(next))) break;
                take(LineRole::variables, job_index);
                if (blank) break;
            }
        }
        // Symbols without a value, now that the values are known.
        std::size_t before = 0;
        for (std::size_t i = current.geometry_begin; i < current.geometry_end; ++i) {
            if (job.lines_[i].role != LineRole::geometry) continue;
            issues.clear();
            detail::read_gaussian_line(view(i), before++, &variables, atom, issues);
            for (const detail::LineIssue& issue : issues) {
                if (issue.issue == Issue::undefined_symbol) report(issue.issue, i, issue.offset, issue.detail);
            }
        }
        read_data_behind_geometry(current, job_index, false);
    }
    check_geometry(current, job_index, errors_before);
}

// Symmetry data (SYMMETRY) up to a blank line or a line whose third number is
// 0, then the points of a reaction path (a flag of -1) up to a blank line. A
// line of numbers alone can start no job, so such lines are read as this
// job's data even without the keyword that asks for them.
void JobReader::read_data_behind_geometry(Job& current, std::size_t job_index, bool reaction_path) {
    const bool symmetry = detail::uses_symmetry(current);
    if (symmetry || (!at_end() && numbers_only(view(next), true))) {
        detail::SymmetryLine line;
        std::string reason;
        while (!at_end()) {
            const std::size_t index = take(LineRole::symmetry, job_index);
            const std::string_view text = view(index);
            if (is_blank_view(text)) break;
            bool ends = false;
            if (!detail::read_symmetry_line(text, line, ends, reason)) report_line(Issue::bad_symmetry_line, index, reason);
            if (ends) break;
        }
    }
    if (reaction_path || current.has_keyword("SETPI") || (!at_end() && numbers_only(view(next), false))) {
        while (!at_end()) {
            const bool blank = is_blank_view(view(next));
            take(LineRole::data, job_index);
            if (blank) break;
        }
    }
    // MICROS=n: n microstates, behind a line "MICROS".
    const std::string microstates = current.keyword_value("MICROS").value_or("");
    if (!microstates.empty() && detail::is_digit(microstates[0])) {
        std::size_t count = 0;
        for (char c : microstates) {
            if (!detail::is_digit(c) || count > job.lines_.size()) break;
            count = count * 10 + static_cast<std::size_t>(c - '0');
        }
        if (!at_end() && detail::contains_upper(view(next), "MICROS")) take(LineRole::data, job_index);
        for (std::size_t k = 0; k < count && !at_end(); ++k) take(LineRole::data, job_index);
    }
}

void JobReader::start_keeping() {
    kept.clear();
    kept_all = true;
    kept_bytes = 0;
}

// Keeps the atoms of the geometry lines from `from` up to `to`, read again.
void JobReader::keep_lines(const detail::GeometrySettings& settings, std::size_t from, std::size_t to) {
    // Room for every line left at once, within the budget keep() allows: a
    // large Z-matrix is not copied over and over as the vectors grow.
    const std::size_t bytes_left = job.text_.size() - job.lines_[from].offset;
    kept.reserve(std::min(end_of_data - from, (4 * bytes_left + 4096) / sizeof(detail::ParsedAtom)));
    detail::GeometryLineReader reader(settings);
    detail::ParsedAtom atom;
    std::size_t atoms = 0;
    for (std::size_t i = from; i < to && kept_all; i = data_from(i + 1)) {
        if (reader.read(view(i), atoms, atom) != detail::LineKind::atom) continue;
        keep(atom, i);
        ++atoms;
    }
}

// Keeps an atom while the kept atoms take at most a few times the bytes of
// their lines: a geometry of tiny lines is read again when it is needed.
void JobReader::keep(const detail::ParsedAtom& atom, std::size_t line_index) {
    if (!kept_all) return;
    kept_bytes += job.lines_[line_index].length + 1;
    if ((kept.size() + 1) * sizeof(detail::ParsedAtom) > 4 * kept_bytes + 4096) {
        kept_all = false;
        std::vector<detail::ParsedAtom>().swap(kept);
        return;
    }
    kept.push_back(atom);
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
    if (job.placed_.size() <= job_index) job.placed_.resize(job_index + 1);
    const bool symmetry = detail::uses_symmetry(current);
    if (!kept_all && counts.internal == 0 && !symmetry) return;
    std::vector<detail::ParsedAtom> atoms;
    std::vector<std::size_t> atom_lines;  // the line of each atom, found when a fault needs it
    if (kept_all) {
        atoms.swap(kept);
    } else {
        detail::reread_atoms(job, job_index, false, atoms, &atom_lines, nullptr);
    }
    const auto line_of = [&](std::size_t atom) {
        if (atom_lines.empty()) {
            std::vector<detail::ParsedAtom> again;
            detail::reread_atoms(job, job_index, false, again, &atom_lines, nullptr);
        }
        return atom_lines[atom];
    };
    if (symmetry) {
        std::vector<detail::SymmetryFault> faults;
        detail::apply_job_symmetry(job, job_index, atoms, &faults);
        for (const detail::SymmetryFault& fault : faults) report_line(Issue::bad_symmetry_line, fault.line_index, fault.reason);
    }
    const std::vector<std::size_t> faulty = detail::ill_defined_atoms(atoms);
    for (std::size_t index : faulty) report_line(Issue::ill_defined_atom, line_of(index), std::to_string(index + 1));
    if (!faulty.empty() || atoms.empty()) return;
    std::vector<detail::Position> positions;
    std::size_t failed = 0;
    if (!detail::place_atoms(atoms, detail::length_factor(current), positions, failed)) {
        report_line(Issue::coincident_atoms, line_of(failed), std::to_string(failed + 1));
        return;
    }
    if (errors != errors_before || !kept_all) return;
    MopacJob::Placed& placed = job.placed_[job_index];
    placed.positions = std::move(positions);
    placed.atomic_numbers.reserve(atoms.size());
    for (const detail::ParsedAtom& atom : atoms) placed.atomic_numbers.push_back(detail::placed_number(atom.atomic_number));
}

namespace {

bool is_blank_view(std::string_view view) noexcept {
    for (char c : view) {
        if (c != ' ') return false;
    }
    return true;
}

// A line of numbers and nothing else ("3 1 4", "4.4, 4.3 4.2"), whole
// numbers only when `whole`.
bool numbers_only(std::string_view view, bool whole) noexcept {
    bool any = false;
    std::size_t i = 0;
    while (i < view.size()) {
        while (i < view.size() && (view[i] == ' ' || view[i] == ',')) ++i;
        if (i == view.size()) break;
        std::size_t end = i;
        while (end < view.size() && view[end] != ' ' && view[end] != ',') ++end;
        std::string_view field = view.substr(i, end - i);
        if (field[0] == '+' || field[0] == '-') field.remove_prefix(1);
        std::size_t digits = 0;
        std::size_t points = 0;
        for (char c : field) {
            digits += detail::is_digit(c);
            points += c == '.';
        }
        if (digits == 0 || digits + points != field.size() || points > (whole ? 0U : 1U)) return false;
        any = true;
        i = end;
    }
    return any;
}

// Whether a line, blanks in front aside, starts with `word` in any case.
bool starts_upper(std::string_view view, std::string_view word) noexcept {
    const std::size_t first = view.find_first_not_of(' ');
    return first != std::string_view::npos && view.size() - first >= word.size() &&
           detail::contains_upper(view.substr(first, word.size()), word);
}

bool holds_arc_marker(std::string_view line) noexcept {
    for (std::string_view marker : arc_markers) {
        if (line.find(marker) != std::string_view::npos) return true;
    }
    return false;
}

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
}  // namespace vesk::input::mopac
