// The findings of the MOPAC reading: one code, severity and message each.
#pragma once

#include <string>
#include <string_view>

#include "vesk/input/mopac/job.hpp"

namespace vesk::input::mopac::detail {

enum class Issue : unsigned char {
    // Lines
    line_too_long,
    geometry_line_too_long,
    lines_lost,
    no_arc_marker,
    data_pointer,
    // Head
    too_many_keyword_lines,
    setup_with_plus,
    setup_file,
    keywords_too_long,
    text_too_long,
    short_head,
    // Where the atoms come from
    geometry_from_file,
    oldgeo_in_first_job,
    no_atoms,
    // Geometry lines
    missing_parenthesis,
    label_too_long,
    label_length_changes,
    unknown_element,
    illegal_atomic_number,
    flag_out_of_range,
    geometry_faulty,
    short_line_in_zmatrix,
    atom_after_translation_vector,
    ill_defined_atom,
    coincident_atoms,
    dummies_with_irc_drc,
    undefined_symbol,
    too_many_gaussian_atoms,
    bad_symmetry_line,
    too_many_diagnostics,
};

struct IssueInfo {
    const char* code;
    Severity severity;
    const char* message;  // "{}" stands for the detail
};

/// The code, severity and message of an issue.
const IssueInfo& issue_info(Issue issue) noexcept;

/// The message of an issue with its detail put in place of "{}".
std::string issue_message(Issue issue, std::string_view detail);

}  // namespace vesk::input::mopac::detail
