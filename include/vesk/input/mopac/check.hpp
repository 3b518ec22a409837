// The preflight check: everything MOPAC would stop on or misread in an input.
#pragma once

#include <string>
#include <vector>

#include "vesk/input/mopac/export.hpp"
#include "vesk/input/mopac/job.hpp"

namespace vesk::input::mopac {

/// Checks an input as MOPAC reads it: the findings of the reading itself
/// (head, geometry lines, placement) and those that need the keywords as a
/// whole: words MOPAC does not know (with a suggestion), values of CHARGE
/// and MS, spin states against the number of electrons, RHF with UHF,
/// several methods, keywords that hold only with INDO, elements a method
/// has no parameters for, duplicate keywords, decimal commas, and lines
/// MOPAC reads otherwise than they look. Errors are where MOPAC stops, with
/// its own words; warnings where it reads the text, but probably not as meant.
/// In line order.
///
///     for (const Diagnostic& d : check_job(read_job_file("in.mop")))
///         std::cout << d.line << ':' << d.column << ": " << d.message << '\n';
VESK_MOPAC_API std::vector<Diagnostic> check_job(const MopacJob& job);

/// What the check may know of the input beside its text.
struct CheckOptions {
    /// The input file's path, or its folder with a trailing '/'. Files the
    /// input names (EXTERNAL=, GEO_DAT=, SETUP=, RESTART's .res, ...) are
    /// looked for as MOPAC looks for them: relative names from this folder.
    /// Empty: no file is looked for.
    std::string input_path;
};

/// The same, and the files the input names: a missing one is an error with
/// MOPAC's own words. A file that exists is not read.
VESK_MOPAC_API std::vector<Diagnostic> check_job(const MopacJob& job, const CheckOptions& options);

}  // namespace vesk::input::mopac
