// The reading of a data set as MOPAC reads it, shared by its source files:
// the driver (read_job.cpp), the head (head.cpp) and the geometry passes that
// MopacJob repeats on demand (job_geometry.cpp).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "job/geometry_line.hpp"
#include "job/issues.hpp"
#include "vesk/input/mopac/job.hpp"

namespace vesk::input::mopac {

/// Builds a MopacJob: line roles, jobs and diagnostics.
struct JobReader {
    explicit JobReader(MopacJob& target) : job(target) {}

    void read(std::string&& text, const ReadOptions& options);
    void fail_read(std::string_view reason);

    // MOPAC reads the lines from `first_data` on, less comments and the part
    // of an over-long line it skips; `next` is the next of them to read,
    // `end_of_data` one past the last (both indices into job.lines_).
    MopacJob& job;
    std::size_t first_data = 0;
    std::size_t end_of_data = 0;
    std::size_t next = 0;
    std::string scratch;
    std::size_t unlisted = 0;  // findings over the limit, counted only
    std::size_t errors = 0;    // error findings so far
    // The atoms of the geometry being read, kept for the checks and the
    // placement unless they would take much more memory than their lines.
    std::vector<detail::ParsedAtom> kept;
    bool kept_all = true;
    std::size_t kept_bytes = 0;

    bool at_end() const noexcept { return next >= end_of_data; }
    bool is_data(std::size_t line_index) const noexcept;
    /// The first line MOPAC reads at or after `line_index`, else end_of_data.
    std::size_t data_from(std::size_t line_index) const noexcept;
    /// The index of the next line MOPAC reads, or one past the last line read.
    std::size_t position() const noexcept;
    std::string_view raw(std::size_t line_index) const noexcept;
    /// The line as MOPAC holds it; valid until the next call.
    std::string_view view(std::size_t line_index);
    /// Takes the next data line for `role` in job `job_index`; answers its index.
    std::size_t take(LineRole role, std::size_t job_index);
    void report(detail::Issue issue, std::size_t line_index, std::size_t view_offset, std::string_view detail = {});
    void report_line(detail::Issue issue, std::size_t line_index, std::string_view detail = {});

    void read_head(Job& current, std::size_t job_index);
    void read_geometry(Job& current, std::size_t job_index);
    void read_inline_geometry(Job& current, std::size_t job_index);
    void read_foreign_geometry(Job& current, std::size_t job_index, bool pdb);
    void read_data_behind_geometry(Job& current, std::size_t job_index, bool reaction_path);
    void start_keeping();
    void keep_lines(const detail::GeometrySettings& settings, std::size_t from, std::size_t to);
    void keep(const detail::ParsedAtom& atom, std::size_t line_index);
    void check_geometry(Job& current, std::size_t job_index, std::size_t errors_before);
};

namespace detail {

/// The keywords of a job that change how its geometry reads.
GeometrySettings geometry_settings(const Job& job);

/// Whether a job has a keyword whose text starts with `prefix` ("SYMM").
bool has_keyword_prefix(const Job& job, std::string_view prefix) noexcept;

/// An atomic number as a placement keeps it: 1 to 107, anything else 0 (an
/// atom that geometry() leaves out either way).
constexpr std::uint8_t placed_number(int atomic_number) noexcept {
    return atomic_number >= 1 && atomic_number <= 107 ? static_cast<std::uint8_t>(atomic_number) : 0;
}

/// Whether the lines behind a job's geometry are symmetry data that MOPAC
/// applies (SYMMETRY, SYMM, SYM); lines of numbers without it are read over.
bool uses_symmetry(const Job& job);

/// A symmetry line that could not be applied: its line index and why.
struct SymmetryFault {
    std::size_t line_index;
    std::string reason;
};

/// The atoms of a job read again from its lines, with symmetry data applied
/// when `with_symmetry` (lines that cannot be applied go to `faults`).
/// `line_indices` gets the line of each atom. Issues of the lines are not
/// collected: the first reading reported them.
void reread_atoms(const MopacJob& job, std::size_t job_index, bool with_symmetry, std::vector<ParsedAtom>& atoms,
                  std::vector<std::size_t>* line_indices, std::vector<JobAtom>* described,
                  std::vector<SymmetryFault>* faults = nullptr);

/// Applies the symmetry lines of a job to its atoms, when it uses them.
void apply_job_symmetry(const MopacJob& job, std::size_t job_index, std::vector<ParsedAtom>& atoms,
                        std::vector<SymmetryFault>* faults);

/// The factor from the lengths of a job to Å: 1, or the Bohr radius.
double length_factor(const Job& job);

}  // namespace detail
}  // namespace vesk::input::mopac
