// The reading of a data set as MOPAC reads it. One JobReader builds one
// MopacJob; its parts live in one source file each: the data set and the job
// loop (read_job.cpp), the head (head.cpp), MOPAC's own geometry lines
// (mopac_geometry.cpp), Gaussian Z-matrices and PDB records
// (foreign_geometry.cpp) and the data behind a geometry (geometry_data.cpp);
// the heads of an edited text read again in head_again.cpp.
// The placement of the atoms is job_placement.cpp, shared with MopacJob.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "job/geometry_line.hpp"
#include "job/issues.hpp"
#include "vesk/input/mopac/job.hpp"

namespace vesk::input::mopac {

/// Builds a MopacJob: line roles, jobs, diagnostics and kept placements.
class JobReader {
public:
    explicit JobReader(MopacJob& target) : job_(target) {}

    /// Reads `text` into the target, which must be empty.
    void read(std::string&& text, const ReadOptions& options);
    /// Leaves the target with the one error of a file that could not be read.
    void fail_read(std::string_view reason);
    /// Reads `text`, the text of `before` in which only the keyword, title
    /// and description lines `changed` (indices) were changed in place: the
    /// heads of their jobs are read again, the rest of the reading is taken
    /// from `before`. False, with the target empty and `text` untouched, where
    /// the change could make MOPAC read more than those heads otherwise (a
    /// line that becomes a comment, blank or over-long, a head that takes
    /// other lines, a keyword the reading of the geometry consults).
    bool reread_heads(const MopacJob& before, std::string& text, const std::vector<std::size_t>& changed);

private:
    // Lines and their roles (read_job.cpp).
    void read_jobs();
    void finish();
    bool at_end() const noexcept { return next_ >= end_of_data_; }
    bool is_data(std::size_t line_index) const noexcept;
    std::size_t data_from(std::size_t line_index) const noexcept;
    std::size_t position() const noexcept { return at_end() ? end_of_data_ : next_; }
    std::string_view raw(std::size_t line_index) const noexcept;
    std::string_view view(std::size_t line_index);
    std::size_t take(LineRole role, std::size_t job_index);
    std::size_t arc_marker_from(std::size_t line_index);
    void report(detail::Issue issue, std::size_t line_index, std::size_t view_offset, std::string_view detail = {});
    void report_line(detail::Issue issue, std::size_t line_index, std::string_view detail = {});
    void report_at_column(detail::Issue issue, std::size_t line_index, std::size_t column, std::string_view detail = {});

    // The head (head.cpp).
    void read_head(Job& current, std::size_t job_index);

    // MOPAC's own geometry lines (mopac_geometry.cpp).
    void read_geometry(Job& current, std::size_t job_index);
    void read_inline_geometry(Job& current, std::size_t job_index);
    bool skip_to_arc_geometry(Job& current, std::size_t job_index);
    void read_second_geometry(const Job& current, std::size_t job_index);
    void report_cut_geometry_line(std::size_t line_index, std::string_view line);
    void report_line_issues(const std::vector<detail::LineIssue>& issues, std::size_t line_index);
    void start_keeping();
    void keep_lines(const detail::GeometrySettings& settings, std::size_t from, std::size_t to);
    void keep(const detail::ParsedAtom& atom, std::size_t line_index);
    void check_geometry(Job& current, std::size_t job_index, std::size_t errors_before);

    // Gaussian Z-matrices and PDB records (foreign_geometry.cpp).
    void read_foreign_geometry(Job& current, std::size_t job_index, bool pdb);
    void read_gaussian_variables(const Job& current, std::size_t job_index);

    // Symmetry data, reaction path points, SETPI pairs, microstates (geometry_data.cpp).
    void read_data_behind_geometry(Job& current, std::size_t job_index, bool reaction_path);

    MopacJob& job_;
    // MOPAC reads the lines from `first_data_` on, less comments and the
    // part of an over-long line it skips; `next_` is the next of them to
    // read, `end_of_data_` one past the last (indices into job_.lines_).
    std::size_t first_data_ = 0;
    std::size_t end_of_data_ = 0;
    std::size_t next_ = 0;
    std::size_t last_filled_ = 0;    // one past the last data line that is not blank
    // The last answer of arc_marker_from: asked from marker_from_, it was marker_at_.
    std::size_t marker_from_ = static_cast<std::size_t>(-1);
    std::size_t marker_at_ = 0;
    std::string scratch_;
    bool plain_ = false;  // the text holds no byte that mopac_view changes: every view is the line itself
    std::size_t unlisted_ = 0;  // findings over the limit, counted only
    std::size_t errors_ = 0;    // error findings so far
    // The atoms of the geometry being read, kept for the checks and the
    // placement unless they would take much more memory than their lines.
    std::vector<detail::ParsedAtom> kept_;
    bool kept_all_ = true;
    std::size_t kept_bytes_ = 0;
};

namespace detail {

/// The keywords of a job that change how its geometry reads.
GeometrySettings geometry_settings(const Job& job);

/// Whether a job has a keyword whose text starts with `prefix` ("SYMM").
bool has_keyword_prefix(const Job& job, std::string_view prefix) noexcept;

/// Whether the lines behind a job's geometry are symmetry data that MOPAC
/// applies (SYMMETRY, SYMM, SYM); lines of numbers without it are read over.
bool uses_symmetry(const Job& job);

/// Counts an atom of a geometry by its kind and its coordinates.
void count_geometry_atom(GeometryCounts& counts, int atomic_number, bool internal);

/// Whether a view holds nothing but blanks.
bool is_blank_view(std::string_view view) noexcept;

/// A line of numbers and nothing else ("3 1 4", "4.4, 4.3 4.2"), whole
/// numbers only when `whole`.
bool numbers_only(std::string_view view, bool whole) noexcept;

/// Whether a line holds one of the markers in front of an .arc file's geometry.
bool holds_arc_marker(std::string_view line) noexcept;

}  // namespace detail
namespace detail {

/// Findings past this many are counted, not listed.
inline constexpr std::size_t listed_diagnostics = 1000;

/// Whether a line, blanks in front aside, starts with `word` in any case.
bool starts_upper(std::string_view view, std::string_view word) noexcept;

/// Whether a keyword (as MOPAC keeps it) is one the reading of a job's
/// geometry and of the data behind it consults: A0, GEO_DAT, OLDGEO, PDB,
/// SYMMETRY, ... Where none of them changes, the lines behind the head read
/// as they read before.
bool steers_reading(std::string_view word) noexcept;

}  // namespace detail
}  // namespace vesk::input::mopac
